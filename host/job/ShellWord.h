// Words for a shell.
#ifndef VELNOR_HOST_JOB_SHELLWORD_H
#define VELNOR_HOST_JOB_SHELLWORD_H

#include <string>

namespace velnor::host {

// The text as one word of a command that a person may copy; quoted only where it must be.
std::string shellWord(const std::string& text);

} // namespace velnor::host

#endif

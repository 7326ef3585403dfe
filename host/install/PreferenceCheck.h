// Whether a preference file can be used.
#ifndef VELNOR_HOST_INSTALL_PREFERENCECHECK_H
#define VELNOR_HOST_INSTALL_PREFERENCECHECK_H

#include <string>

namespace velnor::host {

// Empty when the file is sound or not there; else what is wrong: such a file reads as if nothing
// were set.
std::string checkPreferenceFile(const std::string& path);

} // namespace velnor::host

#endif

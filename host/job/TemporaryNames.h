// The names of the temporary files that exist now, where a signal handler finds them.
#ifndef VELNOR_HOST_JOB_TEMPORARYNAMES_H
#define VELNOR_HOST_JOB_TEMPORARYNAMES_H

#include <string>

namespace velnor::host {

// A slot that holds the name until it is given back, or -1 when 64 names are held or the name is
// longer than a path may be: the file is then not removed when a signal ends the process. Thread
// main.
int takeTemporaryName(const std::string& name);
// -1 is passed over. Thread main.
void giveTemporaryName(int slot);

// Removes every file whose name is held. Async-signal-safe.
void removeTemporaryFiles();

} // namespace velnor::host

#endif

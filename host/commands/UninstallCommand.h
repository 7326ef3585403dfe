// velnor-host uninstall.
#ifndef VELNOR_HOST_COMMANDS_UNINSTALLCOMMAND_H
#define VELNOR_HOST_COMMANDS_UNINSTALLCOMMAND_H

#include <string>

namespace velnor::host {

// Takes back what install wrote down of the component that a word names: a registered name, a
// subtype code, the bundle's path or its name; empty: the only one. With the last component go the
// engines. Nothing else is removed, nothing of a bundle without a receipt, and the data directory,
// the log and the registry of installations stay. Throws JobError.
void uninstallCommand(const std::string& word);

} // namespace velnor::host

#endif

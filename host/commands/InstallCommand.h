// velnor-host install.
#ifndef VELNOR_HOST_COMMANDS_INSTALLCOMMAND_H
#define VELNOR_HOST_COMMANDS_INSTALLCOMMAND_H

#include <string>

namespace velnor::host {

struct InstallOptions {
    std::string component;   // a component bundle
    std::string engine;      // an engine bundle
    std::string data;        // the engine's data directory; stays where it is
    bool writeSetup = false; // put an OrmoSetup.xml into it where there is none
};

// Checks everything first; then copies both bundles into the user's folders, with a receipt of what
// was copied, and writes the two preferences. A bundle that lies there already, or where bundles
// for all users lie, stays as it is. A repeat brings an installation up to date. Throws JobError.
void installCommand(const InstallOptions& options);

} // namespace velnor::host

#endif

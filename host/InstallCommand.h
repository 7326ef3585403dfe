/* velnor-host install and uninstall. */
#ifndef VELNOR_HOST_INSTALLCOMMAND_H
#define VELNOR_HOST_INSTALLCOMMAND_H

#include <string>

namespace velnor::host {

struct InstallOptions {
    std::string component;   /* a component bundle */
    std::string engine;      /* an engine bundle */
    std::string data;        /* the engine's data directory; stays where it is */
    bool writeSetup = false; /* put an OrmoSetup.xml into it where there is none */
};

/* Checks everything first; then copies both bundles into the user's folders and writes the two
 * preferences. A repeat brings an installation up to date. Throws JobError. */
void installCommand(const InstallOptions& options);

/* Takes back what install did for the installed component that a word names (see findInstrument; a
 * damaged one by its bundle's path or name). With the last one go all engines that install copied.
 * The data directory, the log and the registry of installations stay. Throws JobError. */
void uninstallCommand(const std::string& word);

} // namespace velnor::host

#endif

// What must hold before an installation changes anything.
#ifndef VELNOR_HOST_INSTALL_INSTALLCHECKS_H
#define VELNOR_HOST_INSTALL_INSTALLCHECKS_H

#include "host/install/ProductFile.h"

#include <string>

namespace velnor::host {

// Each throws JobError that names the path and what is wrong.

// Preferences hold paths as UTF-8, receipts as lines.
void requirePreferencePath(const std::string& path);
void requireUtf8Home();
// It loads and has an entry point.
void requireEngine(const std::string& path);
void requireDataFolder(const std::string& path);
// The user's file of the domain can be written.
void requireWritablePreferences(const std::string& domain);
// Both folders of bundles and both preference files can be written; neither folder is a link, which
// could lead elsewhere when it comes to uninstalling.
void requireWritableTargets(const ProductNames& names);

// Prints a notice when another installed bundle has the codes of this one's instrument.
void warnOfSameCodes(const std::string& component);

// Prints a notice when other installed products lose their engine for this one: all share the
// preference that names it. path is where it will lie.
void warnOfOthersWithEngine(const std::string& component, const std::string& engine,
                            const std::string& path);

} // namespace velnor::host

#endif

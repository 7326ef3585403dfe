/* What must hold before an installation changes anything. */
#ifndef VELNOR_HOST_INSTALLCHECKS_H
#define VELNOR_HOST_INSTALLCHECKS_H

#include "host/ProductFile.h"

#include <string>

namespace velnor::host {

/* Each throws JobError that names the path and what is wrong. */

/* Preferences hold paths as UTF-8. */
void requireUtf8(const std::string& path);
void requireUtf8Home();
/* It loads and has an entry point. */
void requireEngine(const std::string& path);
void requireDataFolder(const std::string& path);
/* Both folders of bundles and both preference files can be written. */
void requireWritableTargets(const ProductNames& names);

/* Prints a notice when another installed bundle has the codes of this one's instrument. */
void warnOfSameCodes(const std::string& component);

} // namespace velnor::host

#endif

// Taking a bundle away again that install copied.
#ifndef VELNOR_HOST_INSTALL_BUNDLEREMOVAL_H
#define VELNOR_HOST_INSTALL_BUNDLEREMOVAL_H

#include "host/install/BundleEntries.h"

#include <string>
#include <vector>

namespace velnor::host {

// Removes these entries of the bundle in the folder, and the bundle's folder when nothing else is
// in it. No link is followed, neither the folder nor the bundle may be one, and an entry that has
// become something of another kind stays. False when the bundle is still there, for what else it
// holds. Throws JobError when something cannot be removed.
bool removeBundle(const std::string& folder, const std::string& bundleName,
                  const std::vector<BundleEntry>& entries);

} // namespace velnor::host

#endif

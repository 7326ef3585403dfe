// Taking a bundle away again that install copied.
#ifndef VELNOR_HOST_INSTALL_BUNDLEREMOVAL_H
#define VELNOR_HOST_INSTALL_BUNDLEREMOVAL_H

#include "host/install/BundleEntries.h"

#include <string>
#include <vector>

namespace velnor::host {

enum class Removal {
    kDone,     // it is gone now
    kGone,     // it was not there
    kHoldsMore // it is still there, for what else it holds
};

// Throws JobError when removeBundle would: the folder or the bundle has become a link or file, or
// the folder may not be changed.
void requireRemovable(const std::string& folder, const std::string& bundleName);

// Removes these entries of the bundle in the folder, and the bundle's folder when nothing else is
// in it. No link is followed, and an entry that has become something of another kind stays. Throws
// JobError when something cannot be removed.
Removal removeBundle(const std::string& folder, const std::string& bundleName,
                     const std::vector<BundleEntry>& entries);

} // namespace velnor::host

#endif

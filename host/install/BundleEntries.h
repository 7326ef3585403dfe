// What a bundle's folder holds, as install copies it and uninstall finds it again.
#ifndef VELNOR_HOST_INSTALL_BUNDLEENTRIES_H
#define VELNOR_HOST_INSTALL_BUNDLEENTRIES_H

#include <compare>
#include <string>
#include <vector>

namespace velnor::host {

enum class EntryKind : char { kFolder = 'd', kFile = 'f', kLink = 'l' };

struct BundleEntry {
    EntryKind kind;
    std::string path; // below the bundle

    auto operator<=>(const BundleEntry&) const = default;
};

// Everything below the folder, a folder before what it holds. Throws JobError.
std::vector<BundleEntry> entriesBelow(const std::string& folder);
// The same of a bundle that is to be copied. Throws JobError, too, that names what no copy could
// hold: links that lead out of the bundle, by whatever way, or to nowhere, anything that is no
// file, folder or link, and names with a line feed.
std::vector<BundleEntry> entriesOfBundle(const std::string& bundle);

} // namespace velnor::host

#endif

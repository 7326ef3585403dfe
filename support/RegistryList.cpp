// Reading the installation registry.
#include "support/ConfigTree.h"
#include "support/InstallationRegistry.h"
#include "support/ProductDomain.h"

namespace {

using velnor::PluginInfo;
namespace config = velnor::config;

// The entries are read out of one tree instead of by a store operation each: a store operation asks
// the file system whether the domain changed.
struct EntryReader {
    config::Text pathKey = config::makeText(velnor::kRegistryPathKey);
    config::Text versionKey = config::makeText(velnor::kRegistryVersionKey);

    // False, with some fields changed, when the entry is not complete.
    bool read(CFTypeRef entries, CFStringRef slot, PluginInfo& info) const {
        const CFTypeRef entry = config::child(entries, slot);
        return config::readText(slot, info.slot) &&
               config::readText(config::child(entry, pathKey.Get()), info.path) &&
               config::readText(config::child(entry, versionKey.Get()), info.version);
    }
};

} // namespace

// The slots are the user's own; their fields come from the search list, like every setting that is
// read by key path.
bool listPluginPathVersion(const std::string& vendor, const std::string& product,
                           std::vector<PluginInfo>& out, const std::string& type) {
    const config::Address address(velnor::productDomain(vendor, product), velnor::kRegistryKey);
    const std::span format(&type, 1);
    const config::Value own = config::copyOwn(address);
    const std::vector<CFStringRef> slots = config::keysOf(config::find(own.Get(), format));
    if (slots.empty()) {
        return false;
    }
    const config::Value searched = config::copySearched(address);
    const CFTypeRef entries = config::find(searched.Get(), format);
    const EntryReader reader;
    const std::size_t before = out.size();
    PluginInfo info;
    for (const CFStringRef slot : slots) {
        if (reader.read(entries, slot, info)) {
            out.push_back(info);
        }
    }
    return out.size() > before;
}

namespace velnor {

bool listVSTPathVersion(const std::string& vendor, const std::string& product,
                        std::vector<PluginInfo>& out) {
    return listPluginPathVersion(vendor, product, out, "VST");
}

bool listAUPathVersion(const std::string& vendor, const std::string& product,
                       std::vector<PluginInfo>& out) {
    return listPluginPathVersion(vendor, product, out, "AU");
}

} // namespace velnor

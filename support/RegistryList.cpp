// Reading the installation registry.
#include "support/ConfigTree.h"
#include "support/InstallationRegistry.h"
#include "support/RegistryDomain.h"

namespace {

using velnor::PluginInfo;
namespace config = velnor::config;

// The entries are read out of one tree instead of by a store operation each: a store operation asks
// the file system whether the domain changed.
struct EntryReader {
    config::Text pathKey = config::makeText(velnor::kRegistryPathKey);
    config::Text versionKey = config::makeText(velnor::kRegistryVersionKey);

    // False, with a field or two changed, when the entry is not complete.
    bool read(CFTypeRef entries, PluginInfo& info) const {
        const config::Text slot = config::makeText(info.slot);
        const CFTypeRef entry = slot ? config::child(entries, slot.Get()) : nullptr;
        return config::readText(config::child(entry, pathKey.Get()), info.path) &&
               config::readText(config::child(entry, versionKey.Get()), info.version);
    }
};

} // namespace

// The slots are the user's own; their fields come from the search list, like every setting that is
// read by key path.
bool listPluginPathVersion(const std::string& vendor, const std::string& product,
                           std::vector<PluginInfo>& out, const std::string& type) {
    const config::Address address(velnor::registryDomain(vendor, product), velnor::kRegistryKey);
    const std::vector<std::string> format = {type};
    const config::Value own = config::copyOwn(address);
    std::vector<std::string> slots;
    if (!config::appendKeys(config::find(own.Get(), format), slots))
        return false;
    const config::Value searched = config::copySearched(address);
    const CFTypeRef entries = config::find(searched.Get(), format);
    const EntryReader reader;
    const std::size_t before = out.size();
    for (std::string& slot : slots) {
        PluginInfo info{std::move(slot), "", ""};
        if (reader.read(entries, info))
            out.push_back(std::move(info));
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

#include "support/InstallationRegistry.h"

#include "support/BundleVersion.h"
#include "support/CallingBundle.h"
#include "support/ConfigStore.h"
#include "support/JoinedText.h"
#include "support/LogLine.h"
#include "support/ProductDomain.h"
#include "support/Text.h"

#include <algorithm>
#include <iomanip>
#include <limits>

namespace velnor {

namespace {

constexpr const char* kFirstSlot = "000";
constexpr int kSlotDigits = 3;

// One format's list of one product.
struct Registry {
    std::string domain;
    std::string type;

    bool write(const std::string& slot, const char* field, const std::string& value) const {
        const std::vector<std::string> path = {kRegistryKey, type, slot, field};
        return writeConfigStringValue(domain, path, value, CONFIG_LEVEL_SEARCH);
    }

    bool writePath(const std::string& slot, const std::string& path) const {
        return write(slot, kRegistryPathKey, path) || reportFailure(", " + path);
    }

    bool writeVersion(const std::string& slot, const std::string& version) const {
        return write(slot, kRegistryVersionKey, version) || reportFailure("," + version);
    }

    // Always false. value comes with the separator in front of it.
    bool reportFailure(const std::string& value) const {
        LogLine(LogSeverity::kError, joined(" writeConfigStringValue(", domain, ", ", kRegistryKey,
                                            value, ", ", int{CONFIG_LEVEL_SEARCH}, ") failed!"));
        return false;
    }
};

std::string slotText(uint64_t index) {
    return joined(std::setfill('0'), std::setw(kSlotDigits), index);
}

// The value of the leading digits; numbers past all use stop growing.
uint64_t slotIndex(const std::string& slot) {
    constexpr uint64_t kEnough = std::numeric_limits<uint64_t>::max() / 100;
    uint64_t index = 0;
    for (const char c : slot) {
        if (c < '0' || c > '9' || index > kEnough) {
            break;
        }
        index = index * 10 + static_cast<uint64_t>(c - '0');
    }
    return index;
}

// Slots past "999" are listed before it: keys come in the order of their text.
uint64_t highestSlot(const std::vector<PluginInfo>& entries) {
    uint64_t highest = 0;
    for (const PluginInfo& entry : entries) {
        highest = std::max(highest, slotIndex(entry.slot));
    }
    return highest;
}

void updateVersion(const Registry& registry, const PluginInfo& entry, const std::string& version) {
    LogLine(LogSeverity::kInformation, " version updated from " + entry.version + " to " + version);
    if (!registry.write(entry.slot, kRegistryVersionKey, version)) {
        LogLine(LogSeverity::kError, " Error writing Module version");
    }
}

bool addEntry(const Registry& registry, const std::string& slot, const std::string& path,
              const std::string& version) {
    if (!registry.writePath(slot, path)) {
        return false;
    }
    registry.writeVersion(slot, version);
    return true;
}

bool addFirstEntry(const Registry& registry, const std::string& path, const std::string& version) {
    return registry.writePath(kFirstSlot, path) && registry.writeVersion(kFirstSlot, version);
}

bool record(const Registry& registry, const std::vector<PluginInfo>& entries,
            const std::string& path, const std::string& version) {
    const auto known = std::find_if(entries.begin(), entries.end(),
                                    [&](const PluginInfo& entry) { return entry.path == path; });
    if (known == entries.end()) {
        return addEntry(registry, slotText(highestSlot(entries) + 1), path, version);
    }
    if (known->version != version) {
        updateVersion(registry, *known, version);
    }
    return true;
}

} // namespace

bool registerOrmoPlugin(const std::string& vendor, const std::string& product,
                        const std::string& type) {
    const std::optional<std::string> path = callingBundlePath();
    if (!path) {
        return false;
    }
    const std::string version = MacGetBundleVersion(*path);
    LogLine(LogSeverity::kInformation, " " + VLNSConv(*path) + "(" + version + ")");
    const Registry registry = {productDomain(vendor, product), type};
    std::vector<PluginInfo> entries;
    const bool listed = type == "VST" ? listVSTPathVersion(vendor, product, entries)
                                      : listAUPathVersion(vendor, product, entries);
    return listed ? record(registry, entries, *path, version)
                  : addFirstEntry(registry, *path, version);
}

} // namespace velnor

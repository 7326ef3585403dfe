#include "support/ConfigStore.h"

#include "platform/CFNumber.h"
#include "support/ConfigTree.h"

namespace velnor {

namespace {

constexpr const char* kRootKey = "Root"; // what an empty key lists

bool storeValue(const std::string& domain, const std::string& key, CFPropertyListRef value) {
    const config::Address address(domain, key);
    if (value == nullptr || !address) {
        return false;
    }
    config::storeOwn(address, value);
    return true;
}

} // namespace

bool readConfigIntValue(const std::string& domain, const std::string& key, int& out, CONFIG_LEVEL) {
    const config::Value value = config::copySearched({domain, key});
    if (!value || CFGetTypeID(value.Get()) != CFNumberGetTypeID()) {
        return false;
    }
    SInt32 number = 0;
    if (!CFNumberGetValue(static_cast<CFNumberRef>(value.Get()), kCFNumberSInt32Type, &number)) {
        return false;
    }
    out = number;
    return true;
}

bool writeConfigIntValue(const std::string& domain, const std::string& key, int value,
                         CONFIG_LEVEL) {
    const SInt32 number = value;
    const CFRef<CFNumberRef> object(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &number));
    return storeValue(domain, key, object.Get());
}

bool readConfigStringValue(const std::string& domain, const std::string& key, std::string& out,
                           CONFIG_LEVEL) {
    return config::readText(config::copySearched({domain, key}).Get(), out);
}

bool writeConfigStringValue(const std::string& domain, const std::string& key,
                            const std::string& value, CONFIG_LEVEL) {
    return storeValue(domain, key, config::makeText(value).Get());
}

bool deleteConfigValue(const std::string& domain, const std::string& key, CONFIG_LEVEL) {
    if (const config::Address address(domain, key); address) {
        config::storeOwn(address, nullptr);
    }
    return true;
}

bool deleteConfigKey(const std::string&, const std::string&, CONFIG_LEVEL) {
    return false;
}

bool listConfigKeys(const std::string& domain, const std::string& key,
                    std::vector<std::string>& out, CONFIG_LEVEL) {
    const config::Value value = config::copySearched({domain, key.empty() ? kRootKey : key});
    return config::appendKeys(value.Get(), out);
}

bool listConfigStringKeys(const std::string&, const std::string&, std::vector<std::string>&,
                          CONFIG_LEVEL) {
    return false;
}

} // namespace velnor

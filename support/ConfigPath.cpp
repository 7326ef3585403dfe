// The configuration store's operations by key path.
#include "platform/CFArray.h"
#include "platform/CFDictionary.h"
#include "platform/CFPreferences.h"
#include "platform/CFPropertyList.h"
#include "support/ConfigStore.h"
#include "support/ConfigTree.h"

namespace velnor {

namespace {

// The domain's dictionary and those on the path: what a property list can nest.
constexpr std::size_t kMostElements = 256;

using Elements = std::span<const std::string>;
using MutableDictionary = CFRef<CFMutableDictionaryRef>;

Elements belowTop(const std::vector<std::string>& path) {
    return Elements(path).subspan(1);
}

MutableDictionary makeDictionary() {
    return MutableDictionary(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

CFMutableDictionaryRef mutableDictionary(CFTypeRef node) {
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(node));
}

// The dictionary at the key, made where there is nothing. Null when node is no dictionary.
CFTypeRef enter(CFTypeRef node, CFStringRef key) {
    if (!config::isDictionary(node)) {
        return nullptr;
    }
    if (const CFTypeRef present = config::child(node, key)) {
        return present;
    }
    const MutableDictionary made = makeDictionary();
    CFDictionaryAddValue(mutableDictionary(node), key, made.Get());
    return made.Get();
}

// Writes the leaf that the elements lead to from root, which is mutable with all that it holds.
// False when something stands in the way.
bool setLeaf(CFTypeRef root, Elements elements, CFStringRef value) {
    CFTypeRef node = root;
    for (; elements.size() > 1; elements = elements.subspan(1)) {
        const config::Text key = config::makeText(elements.front());
        node = key ? enter(node, key.Get()) : nullptr;
    }
    const config::Text key = elements.empty() ? config::Text() : config::makeText(elements.front());
    if (!key || !config::isDictionary(node)) {
        return false;
    }
    const CFTypeRef leaf = config::child(node, key.Get());
    if (leaf != nullptr && CFGetTypeID(leaf) != CFStringGetTypeID()) {
        return false;
    }
    CFDictionarySetValue(mutableDictionary(node), key.Get(), value);
    return true;
}

// What the tree is changed in: a deep, mutable copy of the stored value, or a new dictionary where
// nothing is stored. Null when there is a value that cannot be copied.
config::Value makeWorkingCopy(const config::Address& address) {
    const config::Value stored = config::copyOwn(address);
    if (!stored) {
        return config::Value(makeDictionary().Detach());
    }
    return config::Value(CFPropertyListCreateDeepCopy(kCFAllocatorDefault, stored.Get(),
                                                      kCFPropertyListMutableContainersAndLeaves));
}

bool listDomain(const std::string& domain, std::vector<std::string>& out) {
    const config::Text name = config::makeText(domain);
    if (!name) {
        return false;
    }
    const CFRef<CFArrayRef> keys(
        CFPreferencesCopyKeyList(name.Get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    if (!keys) {
        return false;
    }
    std::string text;
    for (CFIndex i = 0; i < CFArrayGetCount(keys.Get()); ++i) {
        if (config::readText(CFArrayGetValueAtIndex(keys.Get(), i), text)) {
            out.push_back(text);
        }
    }
    return true;
}

} // namespace

bool readConfigStringValue(const std::string& domain, const std::vector<std::string>& path,
                           std::string& out, CONFIG_LEVEL level) {
    if (path.empty()) {
        return false;
    }
    if (path.size() == 1) {
        return readConfigStringValue(domain, path.front(), out, level);
    }
    const config::Address address(domain, path.front());
    const config::Value tree =
        level == CONFIG_LEVEL_SEARCH ? config::copySearched(address) : config::copyOwn(address);
    return config::readText(config::find(tree.Get(), belowTop(path)), out);
}

bool writeConfigStringValue(const std::string& domain, const std::vector<std::string>& path,
                            const std::string& value, CONFIG_LEVEL) {
    if (path.empty() || path.size() > kMostElements) {
        return false;
    }
    const config::Address address(domain, path.front());
    const config::Text text = config::makeText(value);
    if (!address || !text) {
        return false;
    }
    const config::Value tree = makeWorkingCopy(address);
    config::synchroniseOwn(address);
    if (!setLeaf(tree.Get(), belowTop(path), text.Get())) {
        return false;
    }
    config::storeOwn(address, tree.Get());
    return true;
}

bool listConfigKeys(const std::string& domain, const std::vector<std::string>& path,
                    std::vector<std::string>& out, CONFIG_LEVEL level) {
    if (path.empty()) {
        return listDomain(domain, out);
    }
    if (path.size() == 1) {
        return listConfigKeys(domain, path.front(), out, level);
    }
    const config::Value tree = config::copyOwn({domain, path.front()});
    return config::appendKeys(config::find(tree.Get(), belowTop(path)), out);
}

} // namespace velnor

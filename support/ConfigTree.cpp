#include "support/ConfigTree.h"

#include "platform/CFDictionary.h"
#include "platform/CFPreferences.h"

namespace velnor::config {

namespace {

constexpr CFIndex kTextBufferSize = 2048; // terminator included

} // namespace

Text makeText(const std::string& utf8) {
    return Text(
        CFStringCreateWithCString(kCFAllocatorDefault, utf8.c_str(), kCFStringEncodingUTF8));
}

bool readText(CFTypeRef value, std::string& out) {
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) {
        return false;
    }
    char buffer[kTextBufferSize];
    if (!CFStringGetCString(static_cast<CFStringRef>(value), buffer, kTextBufferSize,
                            kCFStringEncodingUTF8)) {
        return false;
    }
    out = buffer;
    return true;
}

Address::Address(const std::string& domainName, const std::string& keyName)
    : domain(makeText(domainName)), key(makeText(keyName)) {}

Value copyOwn(const Address& address) {
    if (!address) {
        return Value();
    }
    return Value(CFPreferencesCopyValue(address.key.Get(), address.domain.Get(),
                                        kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

Value copySearched(const Address& address) {
    if (!address) {
        return Value();
    }
    Value found(CFPreferencesCopyAppValue(address.key.Get(), address.domain.Get()));
    return found ? std::move(found) : copyOwn(address);
}

void storeOwn(const Address& address, CFPropertyListRef value) {
    CFPreferencesSetValue(address.key.Get(), value, address.domain.Get(), kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
    synchroniseOwn(address);
}

void synchroniseOwn(const Address& address) {
    CFPreferencesSynchronize(address.domain.Get(), kCFPreferencesCurrentUser,
                             kCFPreferencesAnyHost);
}

bool isDictionary(CFTypeRef value) {
    return value != nullptr && CFGetTypeID(value) == CFDictionaryGetTypeID();
}

CFTypeRef child(CFTypeRef node, CFStringRef key) {
    return isDictionary(node) ? CFDictionaryGetValue(static_cast<CFDictionaryRef>(node), key)
                              : nullptr;
}

CFTypeRef find(CFTypeRef root, std::span<const std::string> elements) {
    CFTypeRef node = root;
    for (const std::string& element : elements) {
        const Text key = makeText(element);
        node = key ? child(node, key.Get()) : nullptr;
    }
    return node;
}

std::vector<CFStringRef> keysOf(CFTypeRef dictionary) {
    if (!isDictionary(dictionary)) {
        return {};
    }
    const auto node = static_cast<CFDictionaryRef>(dictionary);
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(node)));
    CFDictionaryGetKeysAndValues(node, keys.data(), nullptr);
    std::vector<CFStringRef> texts;
    texts.reserve(keys.size());
    for (const void* key : keys) {
        texts.push_back(static_cast<CFStringRef>(key));
    }
    return texts;
}

bool appendKeys(CFTypeRef dictionary, std::vector<std::string>& out) {
    const std::size_t before = out.size();
    std::string text;
    for (const CFStringRef key : keysOf(dictionary)) {
        if (readText(key, text)) {
            out.push_back(text);
        }
    }
    return out.size() > before;
}

} // namespace velnor::config

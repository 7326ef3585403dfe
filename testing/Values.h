// Platform values made and read in short form.
#ifndef VELNOR_TESTING_VALUES_H
#define VELNOR_TESTING_VALUES_H

#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFNumber.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/CFURL.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velnor::testing {

// Empty when the text is not UTF-8.
inline CFRef<CFStringRef> String(std::string_view text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

inline CFRef<CFTypeRef> Value(std::string_view text) {
    return CFRef<CFTypeRef>(String(text).Detach());
}
inline CFRef<CFTypeRef> Value(SInt32 number) {
    return CFRef<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberSInt32Type, &number));
}
inline CFRef<CFTypeRef> Value(SInt64 number) {
    return CFRef<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberSInt64Type, &number));
}
inline CFRef<CFTypeRef> Value(double number) {
    return CFRef<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberFloat64Type, &number));
}

inline CFRef<CFMutableDictionaryRef> Dictionary() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}
inline CFRef<CFMutableArrayRef> Array() {
    return CFRef<CFMutableArrayRef>(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
}
inline CFRef<CFDataRef> Data(std::string_view bytes) {
    return CFRef<CFDataRef>(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
}

inline void Set(CFMutableDictionaryRef dictionary, std::string_view key, CFTypeRef value) {
    CFDictionarySetValue(dictionary, String(key).Get(), value);
}
// Borrowed.
inline CFTypeRef Get(CFTypeRef dictionary, std::string_view key) {
    return CFDictionaryGetValue(static_cast<CFDictionaryRef>(dictionary), String(key).Get());
}

// "<none>" for null, "<not text>" for another type.
inline std::string Text(CFTypeRef value) {
    if (value == nullptr) {
        return "<none>";
    }
    if (CFGetTypeID(value) != CFStringGetTypeID()) {
        return "<not text>";
    }
    const auto string = static_cast<CFStringRef>(value);
    std::vector<char> buffer(static_cast<std::size_t>(
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1));
    const bool fits = CFStringGetCString(string, buffer.data(), static_cast<CFIndex>(buffer.size()),
                                         kCFStringEncodingUTF8);
    return fits ? buffer.data() : "<does not fit>";
}

inline std::string Bytes(CFDataRef data) {
    return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<std::size_t>(CFDataGetLength(data))};
}

// Empty when the text is no URL.
inline CFRef<CFURLRef> Url(std::string_view text) {
    return CFRef<CFURLRef>(
        CFURLCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                             static_cast<CFIndex>(text.size()), kCFStringEncodingASCII, nullptr));
}
inline CFRef<CFURLRef> FileUrl(std::string_view path, bool isDirectory = false) {
    return CFRef<CFURLRef>(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        isDirectory));
}

// An XML property list with that dictionary.
inline std::string PlistFile(std::string_view entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" +
           std::string(entries) + "</dict></plist>\n";
}

constexpr OSType Code(const char (&text)[5]) {
    return VELNOR_FOUR_CHAR_CODE(text[0], text[1], text[2], text[3]);
}

inline std::vector<std::string> Keys(CFDictionaryRef dictionary) {
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    std::vector<std::string> texts;
    for (const void* key : keys) {
        texts.push_back(Text(key));
    }
    return texts;
}

} // namespace velnor::testing

#endif

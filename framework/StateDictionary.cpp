#include "framework/StateDictionary.h"

#include "platform/CFNumber.h"

namespace velnor {

namespace {

void AddNumber(CFMutableDictionaryRef ioDictionary, const char* inKey, CFNumberType inType,
               const void* inValue) {
    const CFRef<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, inType, inValue));
    AddToDictionary(ioDictionary, inKey, number.Get());
}

/// Null when there is no such key or its value is not of the type.
CFTypeRef GetTyped(CFDictionaryRef inDictionary, const char* inKey, CFTypeID inType) {
    const void* const value = CFDictionaryGetValue(inDictionary, MakeKey(inKey).Get());
    return value != nullptr && CFGetTypeID(value) == inType ? value : nullptr;
}

CFNumberRef GetNumber(CFDictionaryRef inDictionary, const char* inKey) {
    return static_cast<CFNumberRef>(GetTyped(inDictionary, inKey, CFNumberGetTypeID()));
}

} // namespace

CFRef<CFStringRef> MakeKey(const char* inKey) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, inKey, kCFStringEncodingASCII));
}

CFRef<CFMutableDictionaryRef> MakeDictionary() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

void AddToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, CFTypeRef inValue) {
    CFDictionarySetValue(ioDictionary, MakeKey(inKey).Get(), inValue);
}

void AddNumToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, SInt32 inValue) {
    AddNumber(ioDictionary, inKey, kCFNumberSInt32Type, &inValue);
}

void AddNumToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, Float32 inValue) {
    AddNumber(ioDictionary, inKey, kCFNumberFloat32Type, &inValue);
}

bool DictionaryHasKey(CFDictionaryRef inDictionary, const char* inKey) {
    return CFDictionaryContainsKey(inDictionary, MakeKey(inKey).Get()) != 0;
}

CFDataRef GetData(CFDictionaryRef inDictionary, const char* inKey) {
    return static_cast<CFDataRef>(GetTyped(inDictionary, inKey, CFDataGetTypeID()));
}

CFStringRef GetString(CFDictionaryRef inDictionary, const char* inKey) {
    return static_cast<CFStringRef>(GetTyped(inDictionary, inKey, CFStringGetTypeID()));
}

CFDictionaryRef GetDictionary(CFDictionaryRef inDictionary, const char* inKey) {
    return static_cast<CFDictionaryRef>(GetTyped(inDictionary, inKey, CFDictionaryGetTypeID()));
}

std::optional<SInt32> GetSInt32(CFDictionaryRef inDictionary, const char* inKey) {
    const CFNumberRef number = GetNumber(inDictionary, inKey);
    SInt32 value = 0;
    if (number == nullptr || !CFNumberGetValue(number, kCFNumberSInt32Type, &value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<Float32> GetFloat32(CFDictionaryRef inDictionary, const char* inKey) {
    const CFNumberRef number = GetNumber(inDictionary, inKey);
    if (number == nullptr) {
        return std::nullopt;
    }
    Float32 value = 0;
    CFNumberGetValue(number, kCFNumberFloat32Type, &value);
    return value;
}

} // namespace velnor

// Typed entries of a saved state: written under plain-text keys, and read from hostile hands.
#ifndef VELNOR_FRAMEWORK_STATEDICTIONARY_H
#define VELNOR_FRAMEWORK_STATEDICTIONARY_H

#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"

#include <optional>

namespace velnor {

CFRef<CFStringRef> MakeKey(const char* inKey);
CFRef<CFMutableDictionaryRef> MakeDictionary();

void AddToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, CFTypeRef inValue);
/// As a number of the signed 32-bit type.
void AddNumToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, SInt32 inValue);
/// As a number of the 32-bit float type.
void AddNumToDictionary(CFMutableDictionaryRef ioDictionary, const char* inKey, Float32 inValue);

bool DictionaryHasKey(CFDictionaryRef inDictionary, const char* inKey);

/// Borrowed; null when there is no such key or its value is of another type.
CFDataRef GetData(CFDictionaryRef inDictionary, const char* inKey);
CFStringRef GetString(CFDictionaryRef inDictionary, const char* inKey);
CFDictionaryRef GetDictionary(CFDictionaryRef inDictionary, const char* inKey);

/// Nothing when there is no such key or its value is not a number that the type holds exactly.
std::optional<SInt32> GetSInt32(CFDictionaryRef inDictionary, const char* inKey);
/// The nearest value that the type holds; nothing when it is no number.
std::optional<Float32> GetFloat32(CFDictionaryRef inDictionary, const char* inKey);

} // namespace velnor

#endif

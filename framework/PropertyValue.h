// Moves property values between their types and the host's bytes, which stand at any alignment.
#ifndef VELNOR_FRAMEWORK_PROPERTYVALUE_H
#define VELNOR_FRAMEWORK_PROPERTYVALUE_H

#include "framework/ThrowStatus.h"
#include "platform/AudioUnitTypes.h"

#include <cstring>
#include <type_traits>

namespace velnor {

template <typename T>
T LoadValue(const void* inData) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(static_cast<void*>(&value), inData, sizeof(T));
    return value;
}

template <typename T>
OSStatus StoreValue(void* outData, const T& inValue) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(outData, static_cast<const void*>(&inValue), sizeof(T));
    return noErr;
}

/// The value that the host wrote. Throws kAudioUnitErr_InvalidPropertyValue when it is shorter;
/// what stands behind it is passed over.
template <typename T>
T TakeValue(const void* inData, UInt32 inSize) {
    if (inSize < sizeof(T)) {
        ThrowStatus(kAudioUnitErr_InvalidPropertyValue);
    }
    return LoadValue<T>(inData);
}

/// The same for a value that allows no other size.
template <typename T>
T TakeExactValue(const void* inData, UInt32 inSize) {
    if (inSize != sizeof(T)) {
        ThrowStatus(kAudioUnitErr_InvalidPropertyValue);
    }
    return LoadValue<T>(inData);
}

} // namespace velnor

#endif

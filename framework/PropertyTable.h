// The standard properties of an audio unit, as rows of one kind.
#ifndef VELNOR_FRAMEWORK_PROPERTYTABLE_H
#define VELNOR_FRAMEWORK_PROPERTYTABLE_H

#include "framework/AUBase.h"

#include <span>

namespace velnor {

struct PropertyAddress {
    AudioUnitPropertyID id;
    AudioUnitScope scope;
    AudioUnitElement element;
};

struct PropertyInfo {
    UInt32 size; ///< bytes
    bool writable;
};

enum class PropertyScope { kGlobal, kGlobalOrInput, kAny };

inline constexpr bool kReadOnly = false;
inline constexpr bool kWritable = true;
inline constexpr UInt32 kVariableSize = 0;
inline constexpr std::size_t kHoldsNoObject = ~std::size_t{0};

/// One property. Operations answer or throw a status; one that is null is not offered. Thread main.
struct PropertyRow {
    AudioUnitPropertyID id;
    PropertyScope scope; ///< any other is kAudioUnitErr_InvalidScope, before anything else
    UInt32 size;         ///< kVariableSize: info says
    bool writable;       ///< unless info says otherwise
    /// Corrects size and writability, or refuses the address.
    OSStatus (*info)(AUBase& inUnit, const PropertyAddress& inAt, PropertyInfo& ioInfo) = nullptr;
    /// outData has room for the size, at any alignment.
    OSStatus (*read)(AUBase& inUnit, const PropertyAddress& inAt, void* outData) = nullptr;
    /// Any size above 0, at any alignment.
    OSStatus (*write)(AUBase& inUnit, const PropertyAddress& inAt, const void* inData,
                      UInt32 inSize) = nullptr;
    OSStatus (*remove)(AUBase& inUnit, const PropertyAddress& inAt) = nullptr;
    /// Where in the value a reference stands that its reader owns.
    std::size_t objectOffset = kHoldsNoObject;
};

/// The status of an optional property's info.
inline OSStatus OfferedIf(bool inOffered) {
    return inOffered ? OSStatus{noErr} : OSStatus{kAudioUnitErr_InvalidProperty};
}

/// The rows of the unit as a whole, of its names and presets, of its buses, and of all elements.
std::span<const PropertyRow> UnitProperties();
std::span<const PropertyRow> NamedProperties();
std::span<const PropertyRow> BusProperties();
std::span<const PropertyRow> ElementProperties();

/// Null for an id that no row serves. Throws kAudioUnitErr_InvalidScope when the row's scope is
/// another one, or for a scope above 4.
const PropertyRow* FindProperty(const PropertyAddress& inAt);

OSStatus GetInfo(const PropertyRow& inRow, AUBase& inUnit, const PropertyAddress& inAt,
                 PropertyInfo& outInfo);

/// A value was cut to its first inSize bytes: releases the reference that did not get through.
/// inData is the whole value.
void ReleaseCutObject(const PropertyAddress& inAt, const void* inData, UInt32 inSize);

} // namespace velnor

#endif

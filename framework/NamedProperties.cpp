// The properties that carry names and presets. Objects read are the reader's to release; objects
// written are retained.
#include "framework/PropertyTable.h"
#include "framework/PropertyValue.h"
#include "platform/CFString.h"

#include <cstddef>

namespace velnor {

namespace {

using At = const PropertyAddress&;

void RequireStringOrNull(CFStringRef inName) {
    if (inName != nullptr && CFGetTypeID(inName) != CFStringGetTypeID()) {
        ThrowStatus(kAudioUnitErr_InvalidPropertyValue);
    }
}

OSStatus StoreName(void* outData, CFStringRef inName) {
    if (inName == nullptr) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    CFRetain(inName);
    return StoreValue(outData, inName);
}

CFStringRef TakeName(const void* inData, UInt32 inSize) {
    const auto name = TakeExactValue<CFStringRef>(inData, inSize);
    RequireStringOrNull(name);
    return name;
}

OSStatus PresetsInfo(AUBase& inUnit, At, PropertyInfo&) {
    return inUnit.GetPresets(nullptr);
}

OSStatus ReadPresets(AUBase& inUnit, At, void* outData) {
    CFArrayRef presets = nullptr;
    const OSStatus status = inUnit.GetPresets(&presets);
    return status == noErr ? StoreValue(outData, presets) : status;
}

OSStatus ReadContextName(AUBase& inUnit, At, void* outData) {
    return StoreName(outData, inUnit.GetContextName());
}

OSStatus WriteContextName(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    inUnit.SetContextName(TakeName(inData, inSize));
    return noErr;
}

OSStatus RemoveContextName(AUBase& inUnit, At) {
    inUnit.SetContextName(nullptr);
    return noErr;
}

OSStatus ReadPreset(AUBase& inUnit, At, void* outData) {
    const AUPreset preset = inUnit.GetCurrentPreset();
    CFRetain(preset.presetName);
    return StoreValue(outData, preset);
}

OSStatus WritePreset(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    const auto preset = TakeExactValue<AUPreset>(inData, inSize);
    RequireStringOrNull(preset.presetName);
    if (preset.presetNumber >= 0) {
        const OSStatus status = inUnit.NewFactoryPresetSet(preset);
        if (status == noErr) {
            inUnit.CurrentPresetChanged();
        }
        return status;
    }
    if (preset.presetName == nullptr) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    inUnit.SetCurrentPreset(preset);
    return noErr;
}

AUElement& ElementAt(AUBase& inUnit, At inAt) {
    return inUnit.GetScope(inAt.scope).SafeGetElement(inAt.element);
}

OSStatus SetElementName(AUBase& inUnit, At inAt, CFStringRef inName) {
    ElementAt(inUnit, inAt).SetName(inName);
    inUnit.PropertyChanged(inAt.id, inAt.scope, inAt.element);
    return noErr;
}

OSStatus ElementNameInfo(AUBase& inUnit, At inAt, PropertyInfo&) {
    ElementAt(inUnit, inAt);
    return noErr;
}

OSStatus ReadElementName(AUBase& inUnit, At inAt, void* outData) {
    return StoreName(outData, ElementAt(inUnit, inAt).GetName());
}

OSStatus WriteElementName(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    return SetElementName(inUnit, inAt, TakeName(inData, inSize));
}

OSStatus RemoveElementName(AUBase& inUnit, At inAt) {
    return SetElementName(inUnit, inAt, nullptr);
}

constexpr PropertyRow PresetRow(AudioUnitPropertyID inID) {
    return {.id = inID,
            .scope = PropertyScope::kGlobal,
            .size = sizeof(AUPreset),
            .writable = kWritable,
            .read = ReadPreset,
            .write = WritePreset,
            .objectOffset = offsetof(AUPreset, presetName)};
}

constexpr PropertyRow kRows[] = {
    {.id = kAudioUnitProperty_FactoryPresets,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(CFArrayRef),
     .writable = kReadOnly,
     .info = PresetsInfo,
     .read = ReadPresets,
     .objectOffset = 0},
    {.id = kAudioUnitProperty_ContextName,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(CFStringRef),
     .writable = kWritable,
     .read = ReadContextName,
     .write = WriteContextName,
     .remove = RemoveContextName,
     .objectOffset = 0},
    PresetRow(kAudioUnitProperty_CurrentPreset),
    PresetRow(kAudioUnitProperty_PresentPreset),
    {.id = kAudioUnitProperty_ElementName,
     .scope = PropertyScope::kAny,
     .size = sizeof(CFStringRef),
     .writable = kWritable,
     .info = ElementNameInfo,
     .read = ReadElementName,
     .write = WriteElementName,
     .remove = RemoveElementName,
     .objectOffset = 0},
};

} // namespace

std::span<const PropertyRow> NamedProperties() {
    return kRows;
}

} // namespace velnor

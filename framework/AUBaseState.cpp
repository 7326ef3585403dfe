// AUBase's saved state: the class-info dictionary.
//
//   version        SInt32   0
//   type           SInt32   the registration's codes; a restore does not compare the type
//   subtype        SInt32
//   manufacturer   SInt32
//   data           data     ParameterBlob.h, of the global, input and output scopes
//   name           string   the current preset's
//   render-quality SInt32   property 26 and
//   cpu-load       Float32  property 6, of units that have them
//   element-name   {scope in decimal: {element in decimal: name}}, when any element has a name
//
// A dictionary with the key "part" is the state of a part and not of a unit.
#include "framework/AUBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/ParameterBlob.h"
#include "framework/StateDictionary.h"

#include <optional>
#include <string>

namespace velnor {

namespace {

constexpr SInt32 kStateVersion = 0;

constexpr char kVersionKey[] = "version";
constexpr char kTypeKey[] = "type";
constexpr char kSubtypeKey[] = "subtype";
constexpr char kManufacturerKey[] = "manufacturer";
constexpr char kDataKey[] = "data";
constexpr char kNameKey[] = "name";
constexpr char kRenderQualityKey[] = "render-quality";
constexpr char kCPULoadKey[] = "cpu-load";
constexpr char kElementNameKey[] = "element-name";
constexpr char kPartKey[] = "part";

constexpr AudioUnitScope kFirstScope = kAudioUnitScope_Global;
constexpr AudioUnitScope kLastSavedScope = kAudioUnitScope_Output;
constexpr AudioUnitScope kLastScope = kAudioUnitScope_Part;

/// The global property's value, if the unit has it and it is of the type's size.
template <class T>
std::optional<T> ReadProperty(AUBase& inUnit, AudioUnitPropertyID inID) {
    T value{};
    const OSStatus status = StatusOf([&]() -> OSStatus {
        UInt32 size = 0;
        Boolean writable = 0;
        const OSStatus info =
            inUnit.GetPropertyInfo(inID, kAudioUnitScope_Global, 0, size, writable);
        if (info != noErr || size != sizeof(T)) {
            return info != noErr ? info : OSStatus{kAudioUnitErr_InvalidProperty};
        }
        return inUnit.GetProperty(inID, kAudioUnitScope_Global, 0, &value);
    });
    return status == noErr ? std::optional<T>(value) : std::nullopt;
}

/// A unit that does not take the property keeps what it has.
template <class T>
void WriteProperty(AUBase& inUnit, AudioUnitPropertyID inID, const std::optional<T>& inValue) {
    if (inValue) {
        StatusOf([&] {
            return inUnit.SetProperty(inID, kAudioUnitScope_Global, 0, &*inValue, sizeof(T));
        });
    }
}

CFRef<CFMutableDataRef> SaveParameters(AUBase& inUnit) {
    CFRef<CFMutableDataRef> blob(CFDataCreateMutable(kCFAllocatorDefault, 0));
    for (AudioUnitScope scope = kFirstScope; scope <= kLastSavedScope; ++scope) {
        const AUScope& elements = inUnit.GetScope(scope);
        for (UInt32 i = 0; i < elements.GetNumberOfElements(); ++i) {
            const AUElement& element = elements.SafeGetElement(i);
            if (element.GetNumberOfParameters() > 0) {
                AppendBlobWord(blob.Get(), scope);
                AppendBlobWord(blob.Get(), i);
                element.SaveState(blob.Get());
            }
        }
    }
    return blob;
}

/// An element that does not exist, or a record that does not fit, ends the walk.
void RestoreParameters(AUBase& inUnit, CFDataRef inBlob) {
    const UInt8* position = CFDataGetBytePtr(inBlob);
    const UInt8* const end = position + CFDataGetLength(inBlob);
    for (ParameterBlobReader reader(position, end); reader.Holds(2);
         reader = ParameterBlobReader(position, end)) {
        const AUScope& scope = inUnit.GetScope(reader.ReadWord());
        AUElement* const element = scope.GetElement(reader.ReadWord());
        if (element == nullptr) {
            return;
        }
        position = element->RestoreState(reader.GetPosition(), end);
    }
}

/// Empty when no element has a name.
CFRef<CFMutableDictionaryRef> SaveElementNames(AUBase& inUnit) {
    CFRef<CFMutableDictionaryRef> names = MakeDictionary();
    for (AudioUnitScope scope = kFirstScope; scope <= kLastScope; ++scope) {
        inUnit.GetScope(scope).AddElementNamesToDict(names.Get());
    }
    return names;
}

void RestoreElementNames(AUBase& inUnit, CFDictionaryRef inNames) {
    for (AudioUnitScope scope = kFirstScope; scope <= kLastScope; ++scope) {
        const CFDictionaryRef names = GetDictionary(inNames, std::to_string(scope).c_str());
        if (names != nullptr && inUnit.GetScope(scope).RestoreElementNames(names)) {
            inUnit.PropertyChanged(kAudioUnitProperty_ElementCount, scope, 0);
        }
    }
}

void SaveIdentity(CFMutableDictionaryRef ioState, const ComponentDescription& inDescription) {
    AddNumToDictionary(ioState, kVersionKey, kStateVersion);
    AddNumToDictionary(ioState, kTypeKey, static_cast<SInt32>(inDescription.componentType));
    AddNumToDictionary(ioState, kSubtypeKey, static_cast<SInt32>(inDescription.componentSubType));
    AddNumToDictionary(ioState, kManufacturerKey,
                       static_cast<SInt32>(inDescription.componentManufacturer));
}

bool IsStateOf(CFDictionaryRef inState, const ComponentDescription& inDescription) {
    return !DictionaryHasKey(inState, kPartKey) &&
           GetSInt32(inState, kVersionKey) == kStateVersion &&
           GetSInt32(inState, kSubtypeKey) == static_cast<SInt32>(inDescription.componentSubType) &&
           GetSInt32(inState, kManufacturerKey) ==
               static_cast<SInt32>(inDescription.componentManufacturer);
}

} // namespace

OSStatus AUBase::SaveState(CFPropertyListRef* outState) {
    ComponentDescription description{};
    if (const OSStatus status = GetComponentDescription(description); status != noErr) {
        return status;
    }
    CFRef<CFMutableDictionaryRef> state = MakeDictionary();
    SaveIdentity(state.Get(), description);
    AddToDictionary(state.Get(), kDataKey, SaveParameters(*this).Get());
    AddToDictionary(state.Get(), kNameKey, mCurrentPresetName.Get());
    if (const auto quality = ReadProperty<SInt32>(*this, kAudioUnitProperty_RenderQuality)) {
        AddNumToDictionary(state.Get(), kRenderQualityKey, *quality);
    }
    if (const auto load = ReadProperty<Float32>(*this, kAudioUnitProperty_CPULoad)) {
        AddNumToDictionary(state.Get(), kCPULoadKey, *load);
    }
    const CFRef<CFMutableDictionaryRef> names = SaveElementNames(*this);
    if (CFDictionaryGetCount(names.Get()) > 0) {
        AddToDictionary(state.Get(), kElementNameKey, names.Get());
    }
    *outState = state.Detach();
    return noErr;
}

OSStatus AUBase::RestoreState(CFPropertyListRef inState) {
    if (inState == nullptr || CFGetTypeID(inState) != CFDictionaryGetTypeID()) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    const auto state = static_cast<CFDictionaryRef>(inState);
    ComponentDescription description{};
    if (const OSStatus status = GetComponentDescription(description); status != noErr) {
        return status;
    }
    if (!IsStateOf(state, description)) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    // Reading takes memory, and without it nothing is to change.
    const CFDataRef blob = GetData(state, kDataKey);
    const CFRef<CFStringRef> untitled = MakeKey(kUntitledPresetName);
    const CFStringRef name = GetString(state, kNameKey);
    const std::optional<SInt32> quality = GetSInt32(state, kRenderQualityKey);
    const std::optional<Float32> load = GetFloat32(state, kCPULoadKey);
    const CFDictionaryRef names = GetDictionary(state, kElementNameKey);
    if (blob != nullptr) {
        RestoreParameters(*this, blob);
    }
    SetCurrentPreset({kNoFactoryPreset, name != nullptr ? name : untitled.Get()});
    WriteProperty(*this, kAudioUnitProperty_RenderQuality, quality);
    WriteProperty(*this, kAudioUnitProperty_CPULoad, load);
    if (names != nullptr) {
        RestoreElementNames(*this, names);
    }
    return noErr;
}

} // namespace velnor

// The properties of a scope's elements: their number and their parameters.
#include "framework/PropertyTable.h"
#include "framework/PropertyValue.h"

namespace velnor {

namespace {

using At = const PropertyAddress&;

OSStatus ParameterListInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    UInt32 count = 0;
    const OSStatus status = inUnit.GetParameterList(inAt.scope, inAt.element, nullptr, count);
    ioInfo.size = count * static_cast<UInt32>(sizeof(AudioUnitParameterID));
    return status;
}

OSStatus ReadParameterList(AUBase& inUnit, At inAt, void* outData) {
    UInt32 count = inUnit.GetParameterListRoom();
    return inUnit.GetParameterList(inAt.scope, inAt.element,
                                   static_cast<AudioUnitParameterID*>(outData), count);
}

/// The element of this property and of the value strings is the parameter's id.
OSStatus ReadParameterInfo(AUBase& inUnit, At inAt, void* outData) {
    AudioUnitParameterInfo info = {};
    const OSStatus status = inUnit.GetParameterInfo(inAt.scope, inAt.element, info);
    return status == noErr ? StoreValue(outData, info) : status;
}

OSStatus ValueStringsInfo(AUBase& inUnit, At inAt, PropertyInfo&) {
    return inUnit.GetParameterValueStrings(inAt.scope, inAt.element, nullptr);
}

OSStatus ReadValueStrings(AUBase& inUnit, At inAt, void* outData) {
    CFArrayRef strings = nullptr;
    const OSStatus status = inUnit.GetParameterValueStrings(inAt.scope, inAt.element, &strings);
    return status == noErr ? StoreValue(outData, strings) : status;
}

OSStatus ElementCountInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    ioInfo.writable = inUnit.BusCountWritable(inAt.scope);
    return noErr;
}

OSStatus ReadElementCount(AUBase& inUnit, At inAt, void* outData) {
    return StoreValue(outData, inUnit.GetScope(inAt.scope).GetNumberOfElements());
}

OSStatus WriteElementCount(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    const auto count = TakeExactValue<UInt32>(inData, inSize);
    if (!inUnit.BusCountWritable(inAt.scope)) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    const OSStatus status = inUnit.SetBusCount(inAt.scope, count);
    if (status == noErr) {
        inUnit.PropertyChanged(inAt.id, inAt.scope, inAt.element);
    }
    return status;
}

constexpr PropertyRow kRows[] = {
    {.id = kAudioUnitProperty_ParameterList,
     .scope = PropertyScope::kAny,
     .size = kVariableSize,
     .writable = kReadOnly,
     .info = ParameterListInfo,
     .read = ReadParameterList},
    {.id = kAudioUnitProperty_ParameterInfo,
     .scope = PropertyScope::kAny,
     .size = sizeof(AudioUnitParameterInfo),
     .writable = kReadOnly,
     .read = ReadParameterInfo},
    {.id = kAudioUnitProperty_ElementCount,
     .scope = PropertyScope::kAny,
     .size = sizeof(UInt32),
     .writable = kReadOnly,
     .info = ElementCountInfo,
     .read = ReadElementCount,
     .write = WriteElementCount},
    {.id = kAudioUnitProperty_ParameterValueStrings,
     .scope = PropertyScope::kAny,
     .size = sizeof(CFArrayRef),
     .writable = kReadOnly,
     .info = ValueStringsInfo,
     .read = ReadValueStrings,
     .objectOffset = 0},
};

} // namespace

std::span<const PropertyRow> ElementProperties() {
    return kRows;
}

} // namespace velnor

// The properties of the unit as a whole.
#include "framework/FastEntries.h"
#include "framework/PropertyTable.h"
#include "framework/PropertyValue.h"

#include <algorithm>

namespace velnor {

namespace {

using At = const PropertyAddress&;

OSStatus ReadState(AUBase& inUnit, At, void* outData) {
    CFPropertyListRef state = nullptr;
    const OSStatus status = inUnit.SaveState(&state);
    return status == noErr ? StoreValue(outData, state) : status;
}

OSStatus WriteState(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    return inUnit.RestoreState(TakeExactValue<CFPropertyListRef>(inData, inSize));
}

OSStatus ReadFastEntry(AUBase& inUnit, At inAt, void* outData) {
    switch (inAt.element) {
    case kAudioUnitGetParameterSelect:
        return StoreValue(outData, AudioUnitGetParameterProc{AudioUnitBaseGetParameter});
    case kAudioUnitSetParameterSelect:
        return StoreValue(outData, AudioUnitSetParameterProc{AudioUnitBaseSetParameter});
    case kAudioUnitRenderSelect:
        return inUnit.GetInterfaceVersion() >= kInterfaceVersion2
                   ? StoreValue(outData, AudioUnitRenderProc{AudioUnitBaseRender})
                   : OSStatus{kAudioUnitErr_InvalidElement};
    default:
        return kAudioUnitErr_InvalidElement;
    }
}

OSStatus ReadLatency(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.GetLatency());
}

OSStatus ReadMaxFrames(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.GetMaxFramesPerSlice());
}

OSStatus WriteMaxFrames(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    const auto frames = TakeExactValue<UInt32>(inData, inSize);
    const OSStatus status = inUnit.CanSetMaxFrames();
    if (status == noErr) {
        inUnit.SetMaxFramesPerSlice(frames);
    }
    return status;
}

OSStatus EditorsInfo(AUBase& inUnit, At, PropertyInfo& ioInfo) {
    ioInfo.size =
        inUnit.GetNumCustomUIComponents() * static_cast<UInt32>(sizeof(ComponentDescription));
    return OfferedIf(ioInfo.size != 0);
}

OSStatus ReadEditors(AUBase& inUnit, At, void* outData) {
    inUnit.GetUIComponentDescs(static_cast<ComponentDescription*>(outData));
    return noErr;
}

OSStatus TailInfo(AUBase& inUnit, At, PropertyInfo&) {
    return OfferedIf(inUnit.SupportsTail());
}

OSStatus ReadTail(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.GetTailTime());
}

OSStatus ReadLastRenderError(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.TakeLastRenderError());
}

OSStatus ReadHostCallbacks(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.GetHostCallbackInfo());
}

/// A short value leaves the callbacks behind it null, a longer one has a tail that is not known
/// here.
OSStatus WriteHostCallbacks(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    HostCallbackInfo callbacks = {};
    std::memcpy(&callbacks, inData, std::min<std::size_t>(inSize, sizeof callbacks));
    inUnit.SetHostCallbackInfo(callbacks);
    return noErr;
}

OSStatus RemoveHostCallbacks(AUBase& inUnit, At) {
    inUnit.SetHostCallbackInfo({});
    return noErr;
}

OSStatus IconInfo(AUBase& inUnit, At, PropertyInfo&) {
    return OfferedIf(inUnit.HasIcon());
}

OSStatus ReadIcon(AUBase& inUnit, At, void* outData) {
    return StoreValue(outData, inUnit.GetIconLocation());
}

constexpr PropertyRow kRows[] = {
    {.id = kAudioUnitProperty_ClassInfo,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(CFPropertyListRef),
     .writable = kWritable,
     .read = ReadState,
     .write = WriteState,
     .objectOffset = 0},
    {.id = kAudioUnitProperty_FastDispatch,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(AudioUnitRenderProc),
     .writable = kReadOnly,
     .read = ReadFastEntry},
    {.id = kAudioUnitProperty_Latency,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(Float64),
     .writable = kReadOnly,
     .read = ReadLatency},
    {.id = kAudioUnitProperty_MaximumFramesPerSlice,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(UInt32),
     .writable = kWritable,
     .read = ReadMaxFrames,
     .write = WriteMaxFrames},
    {.id = kAudioUnitProperty_GetUIComponentList,
     .scope = PropertyScope::kGlobal,
     .size = kVariableSize,
     .writable = kReadOnly,
     .info = EditorsInfo,
     .read = ReadEditors},
    {.id = kAudioUnitProperty_TailTime,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(Float64),
     .writable = kReadOnly,
     .info = TailInfo,
     .read = ReadTail},
    {.id = kAudioUnitProperty_LastRenderError,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(OSStatus),
     .writable = kReadOnly,
     .read = ReadLastRenderError},
    {.id = kAudioUnitProperty_HostCallbacks,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(HostCallbackInfo),
     .writable = kWritable,
     .read = ReadHostCallbacks,
     .write = WriteHostCallbacks,
     .remove = RemoveHostCallbacks},
    {.id = kAudioUnitProperty_IconLocation,
     .scope = PropertyScope::kGlobal,
     .size = sizeof(CFURLRef),
     .writable = kReadOnly,
     .info = IconInfo,
     .read = ReadIcon,
     .objectOffset = 0},
};

} // namespace

std::span<const PropertyRow> UnitProperties() {
    return kRows;
}

} // namespace velnor

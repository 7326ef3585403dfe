// The audio-unit selectors: from the parameter block to AUBase's operations.
#include "framework/AUBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/PropertyTable.h"
#include "framework/SelectorArguments.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace velnor {

namespace {

/// Whether a value of so many bytes may lie there: a type's size is a multiple of its alignment.
bool IsAlignedFor(const void* inData, UInt32 inSize) {
    const UInt32 largestPowerOfTwo = inSize & (~inSize + 1);
    const UInt32 alignment = std::min<UInt32>(largestPowerOfTwo, alignof(UInt64));
    return alignment == 0 || reinterpret_cast<uintptr_t>(inData) % alignment == 0;
}

} // namespace

bool AUBase::CanDo(SInt16 inSelector) const {
    switch (inSelector) {
    case kAudioUnitInitializeSelect:
    case kAudioUnitUninitializeSelect:
    case kAudioUnitGetPropertyInfoSelect:
    case kAudioUnitGetPropertySelect:
    case kAudioUnitSetPropertySelect:
    case kAudioUnitGetParameterSelect:
    case kAudioUnitSetParameterSelect:
    case kAudioUnitResetSelect:
    case kAudioUnitAddPropertyListenerSelect:
    case kAudioUnitRemovePropertyListenerSelect:
        return true;
    case kAudioUnitRenderSelect:
    case kAudioUnitAddRenderNotifySelect:
    case kAudioUnitRemoveRenderNotifySelect:
    case kAudioUnitScheduleParametersSelect:
        return mInterfaceVersion >= kInterfaceVersion2;
    default:
        return false;
    }
}

OSStatus AUBase::DoGetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                   AudioUnitElement inElement, UInt32* outDataSize,
                                   Boolean* outWritable) {
    UInt32 size = 0;
    Boolean writable = 0;
    const OSStatus status = GetPropertyInfo(inID, inScope, inElement, size, writable);
    if (status != noErr) {
        return status;
    }
    if (outDataSize != nullptr) {
        *outDataSize = size;
    }
    if (outWritable != nullptr) {
        *outWritable = writable;
    }
    return noErr;
}

OSStatus AUBase::DoGetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                               AudioUnitElement inElement, void* outData, UInt32* ioDataSize) {
    if (ioDataSize == nullptr || (outData != nullptr && *ioDataSize == 0)) {
        return paramErr;
    }
    UInt32 size = 0;
    Boolean writable = 0;
    OSStatus status =
        StatusOf([&] { return GetPropertyInfo(inID, inScope, inElement, size, writable); });
    if (outData == nullptr) {
        *ioDataSize = size;
        return status;
    }
    if (status != noErr) {
        return status;
    }
    status = FetchProperty({inID, inScope, inElement}, size, outData, *ioDataSize);
    if (status != noErr) {
        *ioDataSize = 0;
    }
    return status;
}

OSStatus AUBase::FetchProperty(const PropertyAddress& inAt, UInt32 inSize, void* outData,
                               UInt32& ioDataSize) {
    const bool fits = ioDataSize >= inSize;
    const bool direct = fits && IsAlignedFor(outData, inSize);
    std::vector<UInt64> whole(direct ? 0 : inSize / sizeof(UInt64) + 1);
    void* const value = direct ? outData : whole.data();
    if (!direct) {
        std::memcpy(value, outData, std::min(ioDataSize, inSize)); // a property may look at it
    }
    mParameterListRoom = inSize;
    const OSStatus status =
        StatusOf([&] { return GetProperty(inAt.id, inAt.scope, inAt.element, value); });
    if (status == noErr && !direct) {
        const UInt32 copied = std::min(ioDataSize, inSize);
        std::memcpy(outData, value, copied);
        ReleaseCutObject(inAt, value, copied);
    }
    if (fits) {
        ioDataSize = inSize;
    }
    mParameterListRoom = kAnyRoom;
    return status;
}

OSStatus AUBase::DoSetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                               AudioUnitElement inElement, const void* inData, UInt32 inDataSize) {
    if ((inData == nullptr) != (inDataSize == 0)) {
        return paramErr;
    }
    return inData == nullptr ? DoRemovePropertyValue(inID, inScope, inElement)
                             : SetProperty(inID, inScope, inElement, inData, inDataSize);
}

ComponentResult AUBase::DispatchProperty(const ComponentParameters* inParams) {
    switch (inParams->what) {
    case kAudioUnitGetPropertyInfoSelect:
        return CallWithArguments<AudioUnitPropertyID, AudioUnitScope, AudioUnitElement, UInt32*,
                                 Boolean*>(
            inParams, [this](auto... arguments) { return DoGetPropertyInfo(arguments...); });
    case kAudioUnitGetPropertySelect:
        return CallWithArguments<AudioUnitPropertyID, AudioUnitScope, AudioUnitElement, void*,
                                 UInt32*>(
            inParams, [this](auto... arguments) { return DoGetProperty(arguments...); });
    case kAudioUnitSetPropertySelect:
        return CallWithArguments<AudioUnitPropertyID, AudioUnitScope, AudioUnitElement, const void*,
                                 UInt32>(
            inParams, [this](auto... arguments) { return DoSetProperty(arguments...); });
    case kAudioUnitAddPropertyListenerSelect:
        return CallWithArguments<AudioUnitPropertyID, AudioUnitPropertyListenerProc, void*>(
            inParams, [this](auto... arguments) { return AddPropertyListener(arguments...); });
    default:
        return CallWithArguments<AudioUnitPropertyID, AudioUnitPropertyListenerProc>(
            inParams, [this](auto... arguments) { return RemovePropertyListener(arguments...); });
    }
}

ComponentResult AUBase::DispatchParameter(const ComponentParameters* inParams) VELNOR_NONBLOCKING {
    switch (inParams->what) {
    case kAudioUnitGetParameterSelect:
        return CallWithArguments<AudioUnitParameterID, AudioUnitScope, AudioUnitElement,
                                 AudioUnitParameterValue*>(
            inParams, [this](AudioUnitParameterID id, AudioUnitScope scope,
                             AudioUnitElement element, AudioUnitParameterValue* value) {
                return value == nullptr ? OSStatus{paramErr}
                                        : GetParameter(id, scope, element, *value);
            });
    case kAudioUnitSetParameterSelect:
        return CallWithArguments<AudioUnitParameterID, AudioUnitScope, AudioUnitElement,
                                 AudioUnitParameterValue, UInt32>(
            inParams, [this](auto... arguments) { return SetParameter(arguments...); });
    default:
        if (mInterfaceVersion < kInterfaceVersion2) {
            return badComponentSelector;
        }
        return CallWithArguments<const AudioUnitParameterEvent*, UInt32>(
            inParams, [this](auto... arguments) { return ScheduleParameter(arguments...); });
    }
}

ComponentResult AUBase::DispatchRender(const ComponentParameters* inParams) VELNOR_NONBLOCKING {
    return CallWithArguments<AudioUnitRenderActionFlags*, const AudioTimeStamp*, UInt32, UInt32,
                             AudioBufferList*>(
        inParams, [this](AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                         UInt32 bus, UInt32 frames, AudioBufferList* data) {
            if (timeStamp == nullptr || data == nullptr) {
                return OSStatus{paramErr};
            }
            AudioUnitRenderActionFlags none = 0;
            return DoRender(flags != nullptr ? *flags : none, *timeStamp, bus, frames, *data);
        });
}

ComponentResult AUBase::ComponentEntryDispatch(ComponentParameters* inParams, AUBase* inThis) {
    if (inThis == nullptr) {
        return paramErr;
    }
    switch (inParams->what) {
    case kComponentCanDoSelect:
        if (holdsArguments(inParams, 1) && inThis->CanDo(argument<SInt16>(inParams, 0, 1))) {
            return 1;
        }
        return ComponentBase::ComponentEntryDispatch(inParams, inThis);
    case kAudioUnitInitializeSelect:
        return inThis->DoInitialize();
    case kAudioUnitUninitializeSelect:
        inThis->DoCleanup();
        return noErr;
    case kAudioUnitGetPropertyInfoSelect:
    case kAudioUnitGetPropertySelect:
    case kAudioUnitSetPropertySelect:
    case kAudioUnitAddPropertyListenerSelect:
    case kAudioUnitRemovePropertyListenerSelect:
        return inThis->DispatchProperty(inParams);
    case kAudioUnitGetParameterSelect:
    case kAudioUnitSetParameterSelect:
    case kAudioUnitScheduleParametersSelect:
        return inThis->DispatchParameter(inParams);
    case kAudioUnitResetSelect:
        return CallWithArguments<AudioUnitScope, AudioUnitElement>(
            inParams, [inThis](auto... arguments) { return inThis->DoReset(arguments...); });
    case kAudioUnitRenderSelect:
        return inThis->DispatchRender(inParams);
    case kAudioUnitAddRenderNotifySelect:
        return CallWithArguments<AURenderCallback, void*>(inParams, [inThis](auto... arguments) {
            return inThis->SetRenderNotification(arguments...);
        });
    case kAudioUnitRemoveRenderNotifySelect:
        return CallWithArguments<AURenderCallback, void*>(inParams, [inThis](auto... arguments) {
            return inThis->RemoveRenderNotification(arguments...);
        });
    default:
        return ComponentBase::ComponentEntryDispatch(inParams, inThis);
    }
}

} // namespace velnor

// Parameters of an audio unit: values and descriptions.
#include "framework/AUBase.h"

namespace velnor {

OSStatus AUBase::GetParameter(AudioUnitParameterID inID, AudioUnitScope inScope,
                              AudioUnitElement inElement,
                              AudioUnitParameterValue& outValue) VELNOR_NONBLOCKING {
    if (inScope == kAudioUnitScope_Group) {
        return GetGroupParameter(inID, inElement, outValue);
    }
    outValue = GetScope(inScope).SafeGetElement(inElement).GetParameter(inID);
    return noErr;
}

OSStatus AUBase::SetParameter(AudioUnitParameterID inID, AudioUnitScope inScope,
                              AudioUnitElement inElement, AudioUnitParameterValue inValue,
                              UInt32 inBufferOffsetInFrames) VELNOR_NONBLOCKING {
    if (inScope == kAudioUnitScope_Group) {
        return SetGroupParameter(inID, inElement, inValue, inBufferOffsetInFrames);
    }
    GetScope(inScope).SafeGetElement(inElement).SetParameter(inID, inValue);
    return noErr;
}

OSStatus AUBase::SetGroupParameter(AudioUnitParameterID, AudioUnitElement, AudioUnitParameterValue,
                                   UInt32) VELNOR_NONBLOCKING {
    return kAudioUnitErr_InvalidScope;
}

OSStatus AUBase::GetGroupParameter(AudioUnitParameterID, AudioUnitElement,
                                   AudioUnitParameterValue&) VELNOR_NONBLOCKING {
    return kAudioUnitErr_InvalidScope;
}

OSStatus AUBase::GetParameterList(AudioUnitScope inScope, AudioUnitElement inElement,
                                  AudioUnitParameterID* outIDs, UInt32& ioCount) {
    const AUElement& element = GetScope(inScope).SafeGetElement(inElement);
    ioCount = outIDs == nullptr ? element.GetNumberOfParameters()
                                : element.GetParameterList(outIDs, ioCount);
    return noErr;
}

OSStatus AUBase::GetParameterInfo(AudioUnitScope, AudioUnitParameterID, AudioUnitParameterInfo&) {
    return kAudioUnitErr_InvalidParameter;
}

OSStatus AUBase::GetParameterValueStrings(AudioUnitScope, AudioUnitParameterID, CFArrayRef*) {
    return kAudioUnitErr_InvalidProperty;
}

} // namespace velnor

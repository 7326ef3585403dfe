// Buses of an audio unit: their number, formats, layouts and sources.
#include "framework/AUBase.h"

namespace velnor {

namespace {

AUIOElement& FormatElement(AUBase& inUnit, AudioUnitScope inScope, AudioUnitElement inElement) {
    switch (inScope) {
    case kAudioUnitScope_Global:
        return inUnit.GetOutput(0);
    case kAudioUnitScope_Input:
        return inUnit.GetInput(inElement);
    case kAudioUnitScope_Output:
        return inUnit.GetOutput(inElement);
    default:
        ThrowStatus(kAudioUnitErr_InvalidScope);
    }
}

} // namespace

bool AUBase::BusCountWritable(AudioUnitScope) {
    return false;
}

OSStatus AUBase::SetBusCount(AudioUnitScope inScope, UInt32 inCount) {
    GetScope(inScope).SetNumberOfElements(inCount);
    return noErr;
}

OSStatus AUBase::SetConnection(const AudioUnitConnection& inConnection) {
    GetInput(inConnection.destInputNumber).SetConnection(inConnection);
    return noErr;
}

OSStatus AUBase::SetInputCallback(AudioUnitPropertyID, AudioUnitElement inElement,
                                  AURenderCallback inProc, void* inUserData) {
    GetInput(inElement).SetInputCallback(inProc, inUserData);
    return noErr;
}

UInt32 AUBase::SupportedNumChannels(const AUChannelInfo**) {
    return 0;
}

bool AUBase::ValidFormat(AudioUnitScope, AudioUnitElement,
                         const AudioStreamBasicDescription& inFormat) {
    return FormatIsCanonical(inFormat, mInterfaceVersion);
}

AudioStreamBasicDescription AUBase::GetStreamFormat(AudioUnitScope inScope,
                                                    AudioUnitElement inElement) {
    return FormatElement(*this, inScope, inElement).GetStreamFormat();
}

OSStatus AUBase::ChangeStreamFormat(AudioUnitScope inScope, AudioUnitElement inElement,
                                    const AudioStreamBasicDescription&,
                                    const AudioStreamBasicDescription& inNewFormat) {
    const OSStatus status = FormatElement(*this, inScope, inElement).SetStreamFormat(inNewFormat);
    if (status == noErr) {
        PropertyChanged(kAudioUnitProperty_StreamFormat, inScope, inElement);
    }
    return status;
}

UInt32 AUBase::GetAudioChannelLayout(AudioUnitScope, AudioUnitElement, AudioChannelLayout*,
                                     Boolean& outWritable) {
    outWritable = 0;
    return 0;
}

UInt32 AUBase::GetChannelLayoutTags(AudioUnitScope, AudioUnitElement, AudioChannelLayoutTag*) {
    return 0;
}

OSStatus AUBase::SetAudioChannelLayout(AudioUnitScope, AudioUnitElement,
                                       const AudioChannelLayout*) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus AUBase::RemoveAudioChannelLayout(AudioUnitScope, AudioUnitElement) {
    return kAudioUnitErr_InvalidProperty;
}

} // namespace velnor

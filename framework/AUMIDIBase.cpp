#include "framework/AUMIDIBase.h"

#include "framework/PropertyValue.h"
#include "framework/SelectorArguments.h"

namespace velnor {

namespace {

constexpr UInt8 kCommandMask = 0xF0;
constexpr UInt8 kChannelMask = 0x0F;

enum Command : UInt8 {
    kNoteOff = 0x80,
    kNoteOn = 0x90,
    kPolyPressure = 0xA0,
    kControlChange = 0xB0,
    kProgramChange = 0xC0,
    kChannelPressure = 0xD0,
    kPitchWheel = 0xE0,
};

enum Controller : UInt8 {
    kAllSoundOff = 120,
    kResetAllControllers = 121,
    kAllNotesOff = 123,
};

} // namespace

AUMIDIBase::~AUMIDIBase() = default;

OSStatus AUMIDIBase::DelegateGetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                             AudioUnitElement, UInt32& outDataSize,
                                             Boolean& outWritable) {
    if (inID != kMusicDeviceProperty_MIDIXMLNames) {
        return kAudioUnitErr_InvalidProperty;
    }
    if (inScope != kAudioUnitScope_Global) {
        return kAudioUnitErr_InvalidScope;
    }
    outDataSize = sizeof(CFURLRef);
    outWritable = 0;
    return GetXMLNames(nullptr);
}

OSStatus AUMIDIBase::DelegateGetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement, void* outData) {
    if (inID != kMusicDeviceProperty_MIDIXMLNames) {
        return kAudioUnitErr_InvalidProperty;
    }
    if (inScope != kAudioUnitScope_Global) {
        return kAudioUnitErr_InvalidScope;
    }
    CFURLRef file = nullptr;
    const OSStatus status = GetXMLNames(&file);
    return status == noErr ? StoreValue(outData, file) : status;
}

OSStatus AUMIDIBase::DelegateSetProperty(AudioUnitPropertyID, AudioUnitScope, AudioUnitElement,
                                         const void*, UInt32) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus AUMIDIBase::GetXMLNames(CFURLRef*) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus AUMIDIBase::HandleMidiEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1, UInt8 inData2,
                                     long inStartFrame) VELNOR_NONBLOCKING {
    if (!mAUBaseInstance.IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    const UInt32 frame = static_cast<UInt32>(inStartFrame);
    if (inStatus == kNoteOn && inData2 > 0) {
        HandleNoteOn(inChannel, inData1, inData2, frame);
    } else if (inStatus == kNoteOn || inStatus == kNoteOff) {
        HandleNoteOff(inChannel, inData1, inData2, frame);
    } else {
        HandleNonNoteEvent(inStatus, inChannel, inData1, inData2, frame);
    }
    return noErr;
}

OSStatus AUMIDIBase::HandleNonNoteEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1,
                                        UInt8 inData2, UInt32 inStartFrame) VELNOR_NONBLOCKING {
    switch (inStatus) {
    case kPolyPressure:
        return HandlePolyPressure(inChannel, inData1, inData2, inStartFrame);
    case kControlChange:
        return RouteController(inChannel, inData1, inData2, inStartFrame);
    case kProgramChange:
        return HandleProgramChange(inChannel, inData1);
    case kChannelPressure:
        return HandleChannelPressure(inChannel, inData1, inStartFrame);
    case kPitchWheel:
        return HandlePitchWheel(inChannel, inData1, inData2, inStartFrame);
    default:
        return noErr;
    }
}

OSStatus AUMIDIBase::RouteController(UInt8 inChannel, UInt8 inController, UInt8 inValue,
                                     UInt32 inStartFrame) VELNOR_NONBLOCKING {
    switch (inController) {
    case kAllSoundOff:
        return HandleAllSoundOff(inChannel);
    case kResetAllControllers:
        return HandleResetAllControllers(inChannel);
    case kAllNotesOff:
        return HandleAllNotesOff(inChannel);
    default:
        return HandleControlChange(inChannel, inController, inValue, inStartFrame);
    }
}

OSStatus AUMIDIBase::HandleNoteOn(UInt8, UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleNoteOff(UInt8, UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleControlChange(UInt8, UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandlePitchWheel(UInt8, UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleChannelPressure(UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleProgramChange(UInt8, UInt8) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandlePolyPressure(UInt8, UInt8, UInt8, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleResetAllControllers(UInt8) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleAllNotesOff(UInt8) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleAllSoundOff(UInt8) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::HandleSysEx(const UInt8*, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus AUMIDIBase::MIDIEvent(UInt32 inStatus, UInt32 inData1, UInt32 inData2,
                               UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING {
    return HandleMidiEvent(static_cast<UInt8>(inStatus & kCommandMask),
                           static_cast<UInt8>(inStatus & kChannelMask), static_cast<UInt8>(inData1),
                           static_cast<UInt8>(inData2), static_cast<SInt32>(inOffsetSampleFrame));
}

OSStatus AUMIDIBase::SysEx(const UInt8* inData, UInt32 inLength) VELNOR_NONBLOCKING {
    if (!mAUBaseInstance.IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    return inData == nullptr && inLength > 0 ? OSStatus{paramErr} : HandleSysEx(inData, inLength);
}

ComponentResult AUMIDIBase::DispatchMIDI(const ComponentParameters* inParams) VELNOR_NONBLOCKING {
    if (inParams->what == kMusicDeviceMIDIEventSelect) {
        return CallWithArguments<UInt32, UInt32, UInt32, UInt32>(
            inParams, [this](auto... arguments) { return MIDIEvent(arguments...); });
    }
    return CallWithArguments<const UInt8*, UInt32>(
        inParams, [this](auto... arguments) { return SysEx(arguments...); });
}

ComponentResult AUMIDIBase::ComponentEntryDispatch(ComponentParameters* inParams,
                                                   AUMIDIBase* inThis) {
    if (inThis == nullptr) {
        return paramErr;
    }
    switch (inParams->what) {
    case kMusicDeviceMIDIEventSelect:
    case kMusicDeviceSysExSelect:
        return inThis->DispatchMIDI(inParams);
    default:
        return AUBase::ComponentEntryDispatch(inParams, &inThis->mAUBaseInstance);
    }
}

} // namespace velnor

#include "framework/MusicDeviceBase.h"

#include "framework/FastEntries.h"
#include "framework/PropertyValue.h"
#include "framework/SelectorArguments.h"

#include <limits>

namespace velnor {

namespace {

constexpr UInt32 kPitchAndVelocity = 2;

NoteInstanceID NoteOfPitch(Float32 inPitch) VELNOR_NONBLOCKING {
    constexpr Float32 kEnd = 4294967296.0f;
    if (!(inPitch > 0)) {
        return 0;
    }
    return inPitch < kEnd ? static_cast<NoteInstanceID>(inPitch)
                          : std::numeric_limits<NoteInstanceID>::max();
}

} // namespace

MusicDeviceBase::MusicDeviceBase(ComponentInstance inInstance, UInt32 inNumInputs,
                                 UInt32 inNumOutputs, UInt32 inNumGroups, UInt32 inNumParts,
                                 UInt32 inInterfaceVersion)
    : AUBase(inInstance, inNumInputs, inNumOutputs, inNumGroups, inNumParts, inInterfaceVersion),
      AUMIDIBase(static_cast<AUBase&>(*this)) {}

OSStatus MusicDeviceBase::GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                          AudioUnitElement inElement, UInt32& outDataSize,
                                          Boolean& outWritable) {
    if (inID == kMusicDeviceProperty_InstrumentCount) {
        outDataSize = sizeof(UInt32);
        outWritable = 0;
        return inScope == kAudioUnitScope_Global ? OSStatus{noErr}
                                                 : OSStatus{kAudioUnitErr_InvalidScope};
    }
    const OSStatus status =
        AUBase::GetPropertyInfo(inID, inScope, inElement, outDataSize, outWritable);
    return status == kAudioUnitErr_InvalidProperty
               ? DelegateGetPropertyInfo(inID, inScope, inElement, outDataSize, outWritable)
               : status;
}

OSStatus MusicDeviceBase::GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                      AudioUnitElement inElement, void* outData) {
    if (inID == kMusicDeviceProperty_InstrumentCount) {
        return ReadInstrumentCount(inScope, outData);
    }
    if (inID == kAudioUnitProperty_FastDispatch && inScope == kAudioUnitScope_Global &&
        inElement == kMusicDeviceMIDIEventSelect) {
        return StoreValue(outData, MusicDeviceMIDIEventProc{MusicDeviceBaseMIDIEvent});
    }
    const OSStatus status = AUBase::GetProperty(inID, inScope, inElement, outData);
    return status == kAudioUnitErr_InvalidProperty
               ? DelegateGetProperty(inID, inScope, inElement, outData)
               : status;
}

OSStatus MusicDeviceBase::SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                      AudioUnitElement inElement, const void* inData,
                                      UInt32 inDataSize) {
    if (inID == kMusicDeviceProperty_InstrumentCount) {
        return inScope == kAudioUnitScope_Global ? kAudioUnitErr_PropertyNotWritable
                                                 : kAudioUnitErr_InvalidScope;
    }
    const OSStatus status = AUBase::SetProperty(inID, inScope, inElement, inData, inDataSize);
    return status == kAudioUnitErr_InvalidProperty
               ? DelegateSetProperty(inID, inScope, inElement, inData, inDataSize)
               : status;
}

OSStatus MusicDeviceBase::ReadInstrumentCount(AudioUnitScope inScope, void* outData) const {
    if (inScope != kAudioUnitScope_Global) {
        return kAudioUnitErr_InvalidScope;
    }
    UInt32 count = 0;
    const OSStatus status = GetInstrumentCount(count);
    return status == noErr ? StoreValue(outData, count) : status;
}

OSStatus MusicDeviceBase::PrepareInstrument(MusicDeviceInstrumentID) {
    return noErr;
}

OSStatus MusicDeviceBase::ReleaseInstrument(MusicDeviceInstrumentID) {
    return noErr;
}

OSStatus MusicDeviceBase::StartNote(MusicDeviceInstrumentID, MusicDeviceGroupID, NoteInstanceID*,
                                    UInt32, const MusicDeviceNoteParams&) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus MusicDeviceBase::StopNote(MusicDeviceGroupID, NoteInstanceID, UInt32) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus MusicDeviceBase::HandleNoteOn(UInt8 inChannel, UInt8 inNote, UInt8 inVelocity,
                                       UInt32 inStartFrame) VELNOR_NONBLOCKING {
    MusicDeviceNoteParams params = {};
    params.argCount = kPitchAndVelocity;
    params.mPitch = inNote;
    params.mVelocity = inVelocity;
    return StartNote(kGroupInstrument, inChannel, nullptr, inStartFrame, params);
}

OSStatus MusicDeviceBase::HandleNoteOff(UInt8 inChannel, UInt8 inNote, UInt8,
                                        UInt32 inStartFrame) VELNOR_NONBLOCKING {
    return StopNote(inChannel, inNote, inStartFrame);
}

OSStatus MusicDeviceBase::GetInstrumentCount(UInt32& outCount) const {
    outCount = 0;
    return noErr;
}

OSStatus
MusicDeviceBase::HandleStartNoteMessage(MusicDeviceInstrumentID inInstrument,
                                        MusicDeviceGroupID inGroup, NoteInstanceID* outNoteInstance,
                                        UInt32 inOffsetSampleFrame,
                                        const MusicDeviceNoteParams* inParams) VELNOR_NONBLOCKING {
    if (inParams == nullptr) {
        return paramErr;
    }
    if (!IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    if (inParams->mVelocity == 0) {
        return StopNote(inGroup, NoteOfPitch(inParams->mPitch), inOffsetSampleFrame);
    }
    NoteInstanceID note = 0;
    const OSStatus status = StartNote(inInstrument, inGroup, &note, inOffsetSampleFrame, *inParams);
    if (status == noErr && outNoteInstance != nullptr) {
        *outNoteInstance = note;
    }
    return status;
}

ComponentResult
MusicDeviceBase::DispatchNote(const ComponentParameters* inParams) VELNOR_NONBLOCKING {
    if (inParams->what == kMusicDeviceStopNoteSelect) {
        return CallWithArguments<MusicDeviceGroupID, NoteInstanceID, UInt32>(
            inParams, [this](auto... arguments) { return StopNote(arguments...); });
    }
    return CallWithArguments<MusicDeviceInstrumentID, MusicDeviceGroupID, NoteInstanceID*, UInt32,
                             const MusicDeviceNoteParams*>(
        inParams, [this](auto... arguments) { return HandleStartNoteMessage(arguments...); });
}

ComponentResult MusicDeviceBase::ComponentEntryDispatch(ComponentParameters* inParams,
                                                        MusicDeviceBase* inThis) {
    if (inThis == nullptr) {
        return paramErr;
    }
    switch (inParams->what) {
    case kMusicDevicePrepareInstrumentSelect:
        return CallWithArguments<MusicDeviceInstrumentID>(
            inParams, [inThis](auto id) { return inThis->PrepareInstrument(id); });
    case kMusicDeviceReleaseInstrumentSelect:
        return CallWithArguments<MusicDeviceInstrumentID>(
            inParams, [inThis](auto id) { return inThis->ReleaseInstrument(id); });
    case kMusicDeviceStartNoteSelect:
    case kMusicDeviceStopNoteSelect:
        return inThis->DispatchNote(inParams);
    default:
        return AUMIDIBase::ComponentEntryDispatch(inParams, inThis);
    }
}

} // namespace velnor

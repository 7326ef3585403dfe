// The MIDI side of an audio unit that takes MIDI.
#ifndef VELNOR_FRAMEWORK_AUMIDIBASE_H
#define VELNOR_FRAMEWORK_AUMIDIBASE_H

#include "framework/AUBase.h"

namespace velnor {

/// MIDI comes on the render thread or on one other thread that sends all of it; the handlers of
/// events are nonblocking. Start frames count from the beginning of the next render.
class AUMIDIBase {
public:
    /// inUnit is the unit that this object is a base of.
    explicit AUMIDIBase(AUBase& inUnit) : mAUBaseInstance(inUnit) {}
    AUMIDIBase(const AUMIDIBase&) = delete;
    AUMIDIBase& operator=(const AUMIDIBase&) = delete;
    virtual ~AUMIDIBase();

    /// Offered the properties that the audio-unit base does not know. Thread main, may block. The
    /// MIDI names file is served here; kAudioUnitErr_InvalidProperty for all else.
    virtual OSStatus DelegateGetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                             AudioUnitElement inElement, UInt32& outDataSize,
                                             Boolean& outWritable);
    virtual OSStatus DelegateGetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement inElement, void* outData);
    virtual OSStatus DelegateSetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement inElement, const void* inData,
                                         UInt32 inDataSize);

    /// inStatus is the command, its low four bits 0; inChannel is 0 to 15. Data bytes are as the
    /// host sent them. Routes the event to the handlers below; commands that have none are ignored.
    /// kAudioUnitErr_Uninitialized while the unit is not initialized.
    virtual OSStatus HandleMidiEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1, UInt8 inData2,
                                     long inStartFrame) VELNOR_NONBLOCKING;
    /// Everything but note on and note off.
    virtual OSStatus HandleNonNoteEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1,
                                        UInt8 inData2, UInt32 inStartFrame) VELNOR_NONBLOCKING;

    /// The file that names notes and controllers, for the caller to release; a null outFile asks
    /// whether there is one. Thread main, may block.
    virtual OSStatus GetXMLNames(CFURLRef* outFile);

    virtual OSStatus HandleNoteOn(UInt8 inChannel, UInt8 inNote, UInt8 inVelocity,
                                  UInt32 inStartFrame) VELNOR_NONBLOCKING;
    virtual OSStatus HandleNoteOff(UInt8 inChannel, UInt8 inNote, UInt8 inVelocity,
                                   UInt32 inStartFrame) VELNOR_NONBLOCKING;
    virtual OSStatus HandleControlChange(UInt8 inChannel, UInt8 inController, UInt8 inValue,
                                         UInt32 inStartFrame) VELNOR_NONBLOCKING;
    /// The pitch is inHigh * 128 + inLow, 8192 in the middle.
    virtual OSStatus HandlePitchWheel(UInt8 inChannel, UInt8 inLow, UInt8 inHigh,
                                      UInt32 inStartFrame) VELNOR_NONBLOCKING;
    virtual OSStatus HandleChannelPressure(UInt8 inChannel, UInt8 inValue,
                                           UInt32 inStartFrame) VELNOR_NONBLOCKING;
    virtual OSStatus HandleProgramChange(UInt8 inChannel, UInt8 inProgram) VELNOR_NONBLOCKING;
    virtual OSStatus HandlePolyPressure(UInt8 inChannel, UInt8 inKey, UInt8 inValue,
                                        UInt32 inStartFrame) VELNOR_NONBLOCKING;
    virtual OSStatus HandleResetAllControllers(UInt8 inChannel) VELNOR_NONBLOCKING;
    virtual OSStatus HandleAllNotesOff(UInt8 inChannel) VELNOR_NONBLOCKING;
    virtual OSStatus HandleAllSoundOff(UInt8 inChannel) VELNOR_NONBLOCKING;
    /// inLength bytes at inData, the host's for the time of the call; inData may be null when
    /// inLength is 0.
    virtual OSStatus HandleSysEx(const UInt8* inData, UInt32 inLength) VELNOR_NONBLOCKING;

    /// The MIDI and system-exclusive selectors; the others go to AUBase.
    static ComponentResult ComponentEntryDispatch(ComponentParameters* inParams,
                                                  AUMIDIBase* inThis);

    /// Splits the status byte of a message from the host and hands it to HandleMidiEvent. Only the
    /// low byte of each word counts.
    OSStatus MIDIEvent(UInt32 inStatus, UInt32 inData1, UInt32 inData2,
                       UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING;

private:
    ComponentResult DispatchMIDI(const ComponentParameters* inParams) VELNOR_NONBLOCKING;
    OSStatus SysEx(const UInt8* inData, UInt32 inLength) VELNOR_NONBLOCKING;
    OSStatus RouteController(UInt8 inChannel, UInt8 inController, UInt8 inValue,
                             UInt32 inStartFrame) VELNOR_NONBLOCKING;

    AUBase& mAUBaseInstance;
};

} // namespace velnor

#endif

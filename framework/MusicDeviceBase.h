// The base of instruments: audio units that play notes.
#ifndef VELNOR_FRAMEWORK_MUSICDEVICEBASE_H
#define VELNOR_FRAMEWORK_MUSICDEVICEBASE_H

#include "framework/AUBase.h"
#include "framework/AUMIDIBase.h"

namespace velnor {

/// The instrument id of notes that come as MIDI events: the group's own instrument.
inline constexpr MusicDeviceInstrumentID kGroupInstrument = kMusicNoteEvent_UseGroupInstrument;

class MusicDeviceBase : public AUBase, public AUMIDIBase {
public:
    /// As AUBase.
    MusicDeviceBase(ComponentInstance inInstance, UInt32 inNumInputs, UInt32 inNumOutputs,
                    UInt32 inNumGroups = 0, UInt32 inNumParts = 0,
                    UInt32 inInterfaceVersion = kInterfaceVersion2);

    /// Adds the instrument count, the MIDI fast entry, and what the MIDI base answers for
    /// properties that AUBase does not know.
    OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, UInt32& outDataSize,
                             Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, const void* inData,
                         UInt32 inDataSize) override;

    /// Load and unload what an instrument needs. Thread main, may block. Nothing, and 0, by
    /// default.
    virtual OSStatus PrepareInstrument(MusicDeviceInstrumentID inInstrument);
    virtual OSStatus ReleaseInstrument(MusicDeviceInstrumentID inInstrument);
    /// Begins a note in a group, a MIDI channel, and names it in outNoteInstance, unless that is
    /// null. Notes that come as MIDI events are stopped by their note number. Thread as MIDI,
    /// nonblocking. Nothing, and 0, by default.
    virtual OSStatus StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                               NoteInstanceID* outNoteInstance, UInt32 inOffsetSampleFrame,
                               const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING;
    virtual OSStatus StopNote(MusicDeviceGroupID inGroup, NoteInstanceID inNoteInstance,
                              UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING;

    /// A MIDI note becomes StartNote with kGroupInstrument, or StopNote.
    OSStatus HandleNoteOn(UInt8 inChannel, UInt8 inNote, UInt8 inVelocity,
                          UInt32 inStartFrame) VELNOR_NONBLOCKING override;
    OSStatus HandleNoteOff(UInt8 inChannel, UInt8 inNote, UInt8 inVelocity,
                           UInt32 inStartFrame) VELNOR_NONBLOCKING override;

    /// 0 by default. Thread main.
    virtual OSStatus GetInstrumentCount(UInt32& outCount) const;

    /// A note from the host: StopNote when the velocity is 0, else StartNote, which alone looks at
    /// the further controls. paramErr: null inParams;
    /// kAudioUnitErr_Uninitialized while not initialized. Thread as MIDI, nonblocking.
    virtual OSStatus
    HandleStartNoteMessage(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                           NoteInstanceID* outNoteInstance, UInt32 inOffsetSampleFrame,
                           const MusicDeviceNoteParams* inParams) VELNOR_NONBLOCKING;

    /// The music-device selectors; the others go to AUMIDIBase and AUBase.
    static ComponentResult ComponentEntryDispatch(ComponentParameters* inParams,
                                                  MusicDeviceBase* inThis);

private:
    ComponentResult DispatchNote(const ComponentParameters* inParams) VELNOR_NONBLOCKING;
    OSStatus ReadInstrumentCount(AudioUnitScope inScope, void* outData) const;
};

} // namespace velnor

#endif

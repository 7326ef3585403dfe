// The calls that a host makes on an audio unit. Each builds the component parameter block and
// enters the component through its exported entry; each answers badComponentInstance for a null
// unit and otherwise what the component answers. The thread, concurrency and real-time class are
// those of the operation; the call itself adds nothing that blocks.
#ifndef VELNOR_PLATFORM_AUDIOUNIT_H
#define VELNOR_PLATFORM_AUDIOUNIT_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

VELNOR_BEGIN_C

// Thread main.
VELNOR_PLATFORM_API OSStatus AudioUnitInitialize(AudioUnit unit);
VELNOR_PLATFORM_API OSStatus AudioUnitUninitialize(AudioUnit unit);
VELNOR_PLATFORM_API OSStatus AudioUnitGetPropertyInfo(AudioUnit unit, AudioUnitPropertyID id,
                                                      AudioUnitScope scope,
                                                      AudioUnitElement element, UInt32* size,
                                                      Boolean* writable);
VELNOR_PLATFORM_API OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID id,
                                                  AudioUnitScope scope, AudioUnitElement element,
                                                  void* data, UInt32* size);
VELNOR_PLATFORM_API OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID id,
                                                  AudioUnitScope scope, AudioUnitElement element,
                                                  const void* data, UInt32 size);
VELNOR_PLATFORM_API OSStatus AudioUnitAddPropertyListener(AudioUnit unit, AudioUnitPropertyID id,
                                                          AudioUnitPropertyListenerProc proc,
                                                          void* userData);
VELNOR_PLATFORM_API OSStatus AudioUnitRemovePropertyListener(AudioUnit unit, AudioUnitPropertyID id,
                                                             AudioUnitPropertyListenerProc proc);
VELNOR_PLATFORM_API OSStatus AudioUnitReset(AudioUnit unit, AudioUnitScope scope,
                                            AudioUnitElement element);
// Thread any.
VELNOR_PLATFORM_API OSStatus
AudioUnitGetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                      AudioUnitElement element, AudioUnitParameterValue* value) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus AudioUnitSetParameter(AudioUnit unit, AudioUnitParameterID id,
                                                   AudioUnitScope scope, AudioUnitElement element,
                                                   AudioUnitParameterValue value,
                                                   UInt32 bufferOffsetInFrames) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus AudioUnitAddRenderNotify(AudioUnit unit, AURenderCallback proc,
                                                      void* userData);
VELNOR_PLATFORM_API OSStatus AudioUnitRemoveRenderNotify(AudioUnit unit, AURenderCallback proc,
                                                         void* userData);
// Thread render.
VELNOR_PLATFORM_API OSStatus AudioUnitScheduleParameters(AudioUnit unit,
                                                         const AudioUnitParameterEvent* events,
                                                         UInt32 count) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus AudioUnitRender(AudioUnit unit, AudioUnitRenderActionFlags* flags,
                                             const AudioTimeStamp* timeStamp, UInt32 outputBus,
                                             UInt32 frames,
                                             AudioBufferList* data) VELNOR_NONBLOCKING;
// Thread render, or one other thread that sends all MIDI.
VELNOR_PLATFORM_API OSStatus MusicDeviceMIDIEvent(MusicDeviceComponent unit, UInt32 status,
                                                  UInt32 data1, UInt32 data2,
                                                  UInt32 offsetSampleFrame) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus MusicDeviceSysEx(MusicDeviceComponent unit, const UInt8* data,
                                              UInt32 length) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus MusicDeviceStartNote(
    MusicDeviceComponent unit, MusicDeviceInstrumentID instrument, MusicDeviceGroupID group,
    NoteInstanceID* noteInstance, UInt32 offsetSampleFrame,
    const MusicDeviceNoteParams* params) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API OSStatus MusicDeviceStopNote(MusicDeviceComponent unit,
                                                 MusicDeviceGroupID group,
                                                 NoteInstanceID noteInstance,
                                                 UInt32 offsetSampleFrame) VELNOR_NONBLOCKING;
// Thread main, may block.
VELNOR_PLATFORM_API OSStatus MusicDevicePrepareInstrument(MusicDeviceComponent unit,
                                                          MusicDeviceInstrumentID instrument);
VELNOR_PLATFORM_API OSStatus MusicDeviceReleaseInstrument(MusicDeviceComponent unit,
                                                          MusicDeviceInstrumentID instrument);

VELNOR_END_C

#endif

#include "platform/AudioUnit.h"

#include "platform/ComponentParameterBlock.h"
#include "platform/components/ComponentInstances.h"

namespace {

template <typename... Args>
OSStatus Call(AudioUnit unit, SInt16 selector, Args... args) {
    auto block = velnor::encode(selector, args...);
    return velnor::EnterComponent(unit, block.Get());
}

template <typename... Args>
OSStatus CallOnRoad(AudioUnit unit, SInt16 selector, Args... args) VELNOR_NONBLOCKING {
    auto block = velnor::encode(selector, args...);
    return velnor::EnterComponentOnRoad(unit, block.Get());
}

} // namespace

OSStatus AudioUnitInitialize(AudioUnit unit) {
    return Call(unit, kAudioUnitInitializeSelect);
}

OSStatus AudioUnitUninitialize(AudioUnit unit) {
    return Call(unit, kAudioUnitUninitializeSelect);
}

OSStatus AudioUnitGetPropertyInfo(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                  AudioUnitElement element, UInt32* size, Boolean* writable) {
    return Call(unit, kAudioUnitGetPropertyInfoSelect, id, scope, element, size, writable);
}

OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, void* data, UInt32* size) {
    return Call(unit, kAudioUnitGetPropertySelect, id, scope, element, data, size);
}

OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, const void* data, UInt32 size) {
    return Call(unit, kAudioUnitSetPropertySelect, id, scope, element, data, size);
}

OSStatus AudioUnitAddPropertyListener(AudioUnit unit, AudioUnitPropertyID id,
                                      AudioUnitPropertyListenerProc proc, void* userData) {
    return Call(unit, kAudioUnitAddPropertyListenerSelect, id, proc, userData);
}

OSStatus AudioUnitRemovePropertyListener(AudioUnit unit, AudioUnitPropertyID id,
                                         AudioUnitPropertyListenerProc proc) {
    return Call(unit, kAudioUnitRemovePropertyListenerSelect, id, proc);
}

OSStatus AudioUnitReset(AudioUnit unit, AudioUnitScope scope, AudioUnitElement element) {
    return Call(unit, kAudioUnitResetSelect, scope, element);
}

OSStatus AudioUnitGetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element,
                               AudioUnitParameterValue* value) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kAudioUnitGetParameterSelect, id, scope, element, value);
}

OSStatus AudioUnitSetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue value,
                               UInt32 bufferOffsetInFrames) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kAudioUnitSetParameterSelect, id, scope, element, value,
                      bufferOffsetInFrames);
}

OSStatus AudioUnitAddRenderNotify(AudioUnit unit, AURenderCallback proc, void* userData) {
    return Call(unit, kAudioUnitAddRenderNotifySelect, proc, userData);
}

OSStatus AudioUnitRemoveRenderNotify(AudioUnit unit, AURenderCallback proc, void* userData) {
    return Call(unit, kAudioUnitRemoveRenderNotifySelect, proc, userData);
}

OSStatus AudioUnitScheduleParameters(AudioUnit unit, const AudioUnitParameterEvent* events,
                                     UInt32 count) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kAudioUnitScheduleParametersSelect, events, count);
}

OSStatus AudioUnitRender(AudioUnit unit, AudioUnitRenderActionFlags* flags,
                         const AudioTimeStamp* timeStamp, UInt32 outputBus, UInt32 frames,
                         AudioBufferList* data) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kAudioUnitRenderSelect, flags, timeStamp, outputBus, frames, data);
}

OSStatus MusicDeviceMIDIEvent(MusicDeviceComponent unit, UInt32 status, UInt32 data1, UInt32 data2,
                              UInt32 offsetSampleFrame) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kMusicDeviceMIDIEventSelect, status, data1, data2, offsetSampleFrame);
}

OSStatus MusicDeviceSysEx(MusicDeviceComponent unit, const UInt8* data,
                          UInt32 length) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kMusicDeviceSysExSelect, data, length);
}

OSStatus MusicDevicePrepareInstrument(MusicDeviceComponent unit,
                                      MusicDeviceInstrumentID instrument) {
    return Call(unit, kMusicDevicePrepareInstrumentSelect, instrument);
}

OSStatus MusicDeviceReleaseInstrument(MusicDeviceComponent unit,
                                      MusicDeviceInstrumentID instrument) {
    return Call(unit, kMusicDeviceReleaseInstrumentSelect, instrument);
}

OSStatus MusicDeviceStartNote(MusicDeviceComponent unit, MusicDeviceInstrumentID instrument,
                              MusicDeviceGroupID group, NoteInstanceID* noteInstance,
                              UInt32 offsetSampleFrame,
                              const MusicDeviceNoteParams* params) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kMusicDeviceStartNoteSelect, instrument, group, noteInstance,
                      offsetSampleFrame, params);
}

OSStatus MusicDeviceStopNote(MusicDeviceComponent unit, MusicDeviceGroupID group,
                             NoteInstanceID noteInstance,
                             UInt32 offsetSampleFrame) VELNOR_NONBLOCKING {
    return CallOnRoad(unit, kMusicDeviceStopNoteSelect, group, noteInstance, offsetSampleFrame);
}

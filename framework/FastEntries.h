// What the fast-dispatch property hands out: operations that skip the parameter block. Each takes
// the instance's storage and lets no exception out (StatusOf, DoRender).
#ifndef VELNOR_FRAMEWORK_FASTENTRIES_H
#define VELNOR_FRAMEWORK_FASTENTRIES_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

namespace velnor {

/// paramErr: null storage, or no place for the value. Thread any, concurrent, nonblocking.
OSStatus AudioUnitBaseGetParameter(void* inStorage, AudioUnitParameterID inID,
                                   AudioUnitScope inScope, AudioUnitElement inElement,
                                   AudioUnitParameterValue* outValue) VELNOR_NONBLOCKING;
/// As above; the first value under an id allocates.
OSStatus AudioUnitBaseSetParameter(void* inStorage, AudioUnitParameterID inID,
                                   AudioUnitScope inScope, AudioUnitElement inElement,
                                   AudioUnitParameterValue inValue,
                                   UInt32 inBufferOffsetInFrames) VELNOR_NONBLOCKING;
/// AUBase::DoRender; null flags stand for none. paramErr: null storage, time stamp or data. Thread
/// render, exclusive, nonblocking.
OSStatus AudioUnitBaseRender(void* inStorage, AudioUnitRenderActionFlags* ioFlags,
                             const AudioTimeStamp* inTimeStamp, UInt32 inOutputBus, UInt32 inFrames,
                             AudioBufferList* ioData) VELNOR_NONBLOCKING;
/// AUMIDIBase::MIDIEvent of a music device. paramErr: null storage. Thread as MIDI, nonblocking.
OSStatus MusicDeviceBaseMIDIEvent(void* inStorage, UInt32 inStatus, UInt32 inData1, UInt32 inData2,
                                  UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING;

} // namespace velnor

#endif

#include "framework/FastEntries.h"

#include "framework/AUBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/MusicDeviceBase.h"

namespace velnor {

namespace {

template <class Class>
Class* Stored(void* inStorage) VELNOR_NONBLOCKING {
    return static_cast<Class*>(static_cast<ComponentBase*>(inStorage));
}

} // namespace

OSStatus AudioUnitBaseGetParameter(void* inStorage, AudioUnitParameterID inID,
                                   AudioUnitScope inScope, AudioUnitElement inElement,
                                   AudioUnitParameterValue* outValue) VELNOR_NONBLOCKING {
    if (inStorage == nullptr || outValue == nullptr) {
        return paramErr;
    }
    return StatusOnRoad([=] {
        return Stored<AUBase>(inStorage)->GetParameter(inID, inScope, inElement, *outValue);
    });
}

OSStatus AudioUnitBaseSetParameter(void* inStorage, AudioUnitParameterID inID,
                                   AudioUnitScope inScope, AudioUnitElement inElement,
                                   AudioUnitParameterValue inValue,
                                   UInt32 inBufferOffsetInFrames) VELNOR_NONBLOCKING {
    if (inStorage == nullptr) {
        return paramErr;
    }
    return StatusOnRoad([=] {
        return Stored<AUBase>(inStorage)->SetParameter(inID, inScope, inElement, inValue,
                                                       inBufferOffsetInFrames);
    });
}

OSStatus AudioUnitBaseRender(void* inStorage, AudioUnitRenderActionFlags* ioFlags,
                             const AudioTimeStamp* inTimeStamp, UInt32 inOutputBus, UInt32 inFrames,
                             AudioBufferList* ioData) VELNOR_NONBLOCKING {
    if (inStorage == nullptr || inTimeStamp == nullptr || ioData == nullptr) {
        return paramErr;
    }
    AUBase& unit = *Stored<AUBase>(inStorage);
    if (ioFlags == nullptr) {
        AudioUnitRenderActionFlags none = 0;
        return unit.DoRender(none, *inTimeStamp, inOutputBus, inFrames, *ioData);
    }
    return unit.DoRender(*ioFlags, *inTimeStamp, inOutputBus, inFrames, *ioData);
}

OSStatus MusicDeviceBaseMIDIEvent(void* inStorage, UInt32 inStatus, UInt32 inData1, UInt32 inData2,
                                  UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING {
    if (inStorage == nullptr) {
        return paramErr;
    }
    return StatusOnRoad([=] {
        return Stored<MusicDeviceBase>(inStorage)->MIDIEvent(inStatus, inData1, inData2,
                                                             inOffsetSampleFrame);
    });
}

} // namespace velnor

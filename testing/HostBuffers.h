// The buffer list of a host that pulls non-interleaved audio.
#ifndef VELNOR_TESTING_HOSTBUFFERS_H
#define VELNOR_TESTING_HOSTBUFFERS_H

#include "platform/AudioUnit.h"

#include <cstddef>
#include <vector>

namespace velnor::testing {

inline AudioTimeStamp AtSample(Float64 inSampleTime) {
    AudioTimeStamp time{};
    time.mSampleTime = inSampleTime;
    time.mFlags = kAudioTimeStampSampleTimeValid;
    return time;
}

class HostBuffers {
public:
    static constexpr Float32 kUntouched = -1;

    /// Each with room for inFrames frames, or with null data.
    HostBuffers(UInt32 inBuffers, UInt32 inFrames, bool inHaveMemory = true)
        : mMemory(inBuffers, std::vector<Float32>(inFrames, kUntouched)), mList(1 + inBuffers) {
        Get()->mNumberBuffers = inBuffers;
        for (UInt32 i = 0; i < inBuffers; ++i) {
            Buffer(i) = {1, inFrames * UInt32{sizeof(Float32)},
                         inHaveMemory ? mMemory[i].data() : nullptr};
        }
    }

    AudioBufferList* Get() { return reinterpret_cast<AudioBufferList*>(mList.data()); }
    AudioBuffer& Buffer(UInt32 inIndex) {
        AudioBuffer* const buffers = Get()->mBuffers;
        return buffers[inIndex];
    }
    /// What a host would hear.
    Float32 Sample(UInt32 inBuffer, UInt32 inFrame) {
        return static_cast<Float32*>(Buffer(inBuffer).mData)[inFrame];
    }
    std::vector<Float32>& Memory(UInt32 inBuffer) { return mMemory[inBuffer]; }

    OSStatus Pull(AudioUnit inUnit, UInt32 inBus, UInt32 inFrames, Float64 inSampleTime) {
        AudioUnitRenderActionFlags flags = 0;
        const AudioTimeStamp time = AtSample(inSampleTime);
        return AudioUnitRender(inUnit, &flags, &time, inBus, inFrames, Get());
    }

private:
    std::vector<std::vector<Float32>> mMemory;
    std::vector<AudioBufferList> mList; ///< the first one's array goes on in the others
};

} // namespace velnor::testing

#endif

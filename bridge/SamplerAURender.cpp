#include "bridge/HostTransport.h"
#include "bridge/SamplerAU.h"
#include "support/LogLine.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace velnor {

// The render driver has prepared the first bus for this pull; it may be the host's own memory.
inline AudioBufferList& SamplerAU::outputBuffers(UInt32 bus, UInt32 frames) VELNOR_NONBLOCKING {
    AUOutputElement& output = GetOutput(bus);
    return bus == 0 ? output.GetBufferList() : output.PrepareBuffer(frames);
}

// Channels that the engine was not opened for are silent. The one that makes their number even
// writes to the extra buffer, and so do those that it was opened for and that are gone since.
inline void SamplerAU::gatherChannels(UInt32 frames) VELNOR_NONBLOCKING {
    const UInt32 known = std::min<UInt32>(mEngine.channelCount(), kOrmoMaxChannels);
    const UInt32 numBuses = GetScope(kAudioUnitScope_Output).GetNumberOfElements();
    float** channel = mRenderData.mChannelBuffers.data();
    float** const end = channel + known;
    for (UInt32 bus = 0; bus < numBuses; ++bus) {
        const AudioBufferList& list = outputBuffers(bus, frames);
        const AudioBuffer* buffer = list.mBuffers;
        for (const AudioBuffer* const last = buffer + list.mNumberBuffers; buffer != last;
             ++buffer) {
            if (channel != end) {
                *channel++ = static_cast<float*>(buffer->mData);
            } else {
                std::memset(buffer->mData, 0, buffer->mDataByteSize);
            }
        }
    }
    if (mRenderData.mUseExtraBuffer && channel != end) {
        *channel++ = mRenderData.mExtraBuffer.get();
    }
    while (channel != end) {
        *channel++ = mRenderData.mExtraBuffer.get();
    }
}

void SamplerAU::silenceOutputs(UInt32 frames) VELNOR_NONBLOCKING {
    const UInt32 numBuses = GetScope(kAudioUnitScope_Output).GetNumberOfElements();
    for (UInt32 bus = 0; bus < numBuses; ++bus) {
        const AudioBufferList& list = outputBuffers(bus, frames);
        for (UInt32 j = 0; j < list.mNumberBuffers; ++j) {
            std::memset(list.mBuffers[j].mData, 0, list.mBuffers[j].mDataByteSize);
        }
    }
}

OSStatus SamplerAU::Render(AudioUnitRenderActionFlags& /*ioFlags*/,
                           const AudioTimeStamp& /*inTimeStamp*/,
                           UInt32 inFrames) VELNOR_NONBLOCKING {
    const bool connected = mEngine.isConnected();
    if (connected) {
        gatherChannels(inFrames);
    }
    readHostTransport(GetHostCallbackInfo(), mRenderData.mSyncInfo);
    mRenderData.mSyncInfo.prepare(static_cast<int>(inFrames), mRenderData.mSampleRate, nullptr,
                                  nullptr, true);
    mRenderData.collectEvents();
    if (connected) {
        mEngine.process(mRenderData.mEventBlock, mRenderData.mChannelBuffers.data(),
                        mRenderData.mSyncInfo, inFrames);
    } else {
        silenceOutputs(inFrames);
    }
    return noErr;
}

OSStatus SamplerAU::HandleMidiEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1, UInt8 inData2,
                                    long inStartFrame) VELNOR_NONBLOCKING {
    const int status = mEngine.compatSlots() ? inStatus : inStatus | inChannel;
    if (!mRenderData.mMidiRing.push(static_cast<UInt8>(status), inData1, inData2,
                                    static_cast<SInt32>(inStartFrame))) {
        VELNOR_RT_ESCAPE("a message is lost, which the log has to say",
                         LogLine(LogSeverity::kError, "MIDI QUEUE ERROR"));
    }
    return noErr;
}

OSStatus SamplerAU::PrepareInstrument(MusicDeviceInstrumentID /*inInstrument*/) {
    return noErr;
}

OSStatus SamplerAU::ReleaseInstrument(MusicDeviceInstrumentID /*inInstrument*/) {
    return noErr;
}

OSStatus SamplerAU::StartNote(MusicDeviceInstrumentID /*inInstrument*/,
                              MusicDeviceGroupID /*inGroup*/, NoteInstanceID* /*outNoteInstance*/,
                              UInt32 /*inOffsetSampleFrame*/,
                              const MusicDeviceNoteParams& /*inParams*/) VELNOR_NONBLOCKING {
    return noErr;
}

OSStatus SamplerAU::StopNote(MusicDeviceGroupID /*inGroup*/, NoteInstanceID /*inNoteInstance*/,
                             UInt32 /*inOffsetSampleFrame*/) VELNOR_NONBLOCKING {
    return noErr;
}

} // namespace velnor

#include "bridge/SamplerAU.h"
#include "support/LogLine.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <sys/resource.h>

namespace velnor {

namespace {

// Sampling engines hold many files open.
void liftOpenFilesLimit() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return;
    }
    if (limit.rlim_cur == RLIM_INFINITY && limit.rlim_max == RLIM_INFINITY) {
        return;
    }
    limit.rlim_cur = limit.rlim_max = RLIM_INFINITY;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

OSStatus SamplerAU::Initialize() {
    liftOpenFilesLimit();
    const UInt32 numBuses = GetScope(kAudioUnitScope_Output).GetNumberOfElements();
    LogLine(LogSeverity::kInformation, "Initialize - numBuses : " + std::to_string(numBuses));
    UInt64 channels = 0;
    for (UInt32 bus = 0; bus < numBuses; ++bus) {
        channels += GetOutput(bus).GetStreamFormat().mChannelsPerFrame;
    }
    mNumOutputs =
        static_cast<SInt32>(std::min<UInt64>(channels, std::numeric_limits<SInt32>::max()));
    LogLine(LogSeverity::kInformation, "Initialize - numOutputs : " + std::to_string(mNumOutputs));
    mRenderData.mSampleRate = GetOutput(0).GetStreamFormat().mSampleRate;
    if (!acceptsOutputs(mNumOutputs)) {
        return kAudioUnitErr_FormatNotSupported;
    }
    mRenderData.allocateExtraBuffer(GetMaxFramesPerSlice());
    mRenderData.mSyncInfo.reset(mRenderData.mSampleRate);
    if (mEngine.isBound() && !mEngine.isConnected()) {
        openEngine();
    }
    mEngine.setRateAndBlockSize(mRenderData.mSampleRate, GetMaxFramesPerSlice());
    mEngine.resume(mOfflineRender);
    mRenderData.mMidiRing.reset();
    return noErr;
}

bool SamplerAU::acceptsOutputs(SInt32 numOutputs) const {
    for (const AUChannelInfo& info : mChannelInfos) {
        if (info.inChannels == 0 && info.outChannels == numOutputs) {
            return true;
        }
    }
    return isMultiOutput(mRecord) && numOutputs <= std::abs(int{mChannelInfos.back().outChannels});
}

void SamplerAU::openEngine() {
    auto channels = std::min<UInt32>(static_cast<UInt32>(mNumOutputs), kOrmoMaxChannels);
    if (channels % 2 != 0) {
        ++channels;
        mRenderData.mUseExtraBuffer = true;
        LogLine(LogSeverity::kInformation, "using extra buffer");
    }
    mEngine.open(channels);
}

void SamplerAU::Cleanup() {
    mRenderData.mExtraBuffer.reset();
    if (IsInitialized()) {
        mEngine.suspend();
    }
}

OSStatus SamplerAU::Reset(AudioUnitScope /*inScope*/, AudioUnitElement /*inElement*/) {
    mRenderData.mMidiRing.reset();
    mEngine.suspend();
    mEngine.resume(mOfflineRender);
    return noErr;
}

OSStatus SamplerAU::ChangeStreamFormat(AudioUnitScope inScope, AudioUnitElement inElement,
                                       const AudioStreamBasicDescription& inOldFormat,
                                       const AudioStreamBasicDescription& inNewFormat) {
    const Float64 rate = inNewFormat.mSampleRate;
    const bool rateChanged = rate != inOldFormat.mSampleRate && rate != mRenderData.mSampleRate;
    OSStatus result = noErr;
    try {
        result = MusicDeviceBase::ChangeStreamFormat(inScope, inElement, inOldFormat, inNewFormat);
    } catch (OSStatus thrown) {
        result = thrown;
    }
    if (rateChanged) {
        PropertyChanged(kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, inElement);
        mRenderData.mSampleRate = GetOutput(0).GetStreamFormat().mSampleRate;
        mRenderData.allocateExtraBuffer(GetMaxFramesPerSlice());
        mEngine.suspend();
        mEngine.setRateAndBlockSize(mRenderData.mSampleRate, GetMaxFramesPerSlice());
        mEngine.resume(mOfflineRender);
    }
    return result;
}

} // namespace velnor

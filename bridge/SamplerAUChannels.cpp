#include "bridge/SamplerAU.h"

#include <algorithm>
#include <limits>

namespace velnor {

namespace {

// The low 16 bits of a record's word, as a signed channel count.
SInt16 channelCount(SInt32 word) {
    return static_cast<SInt16>(word);
}

constexpr UInt32 kLayoutHeaderSize = offsetof(AudioChannelLayout, mChannelDescriptions);
static_assert(kLayoutHeaderSize == 12 && sizeof(AudioChannelDescription) == 20);

void describeLayout(UInt32 channels, AudioChannelLayout& layout) {
    layout.mChannelBitmap = 0;
    layout.mNumberChannelDescriptions = 0;
    if (channels == 1) {
        layout.mChannelLayoutTag = kAudioChannelLayoutTag_Mono;
    } else if (channels == 2) {
        layout.mChannelLayoutTag = kAudioChannelLayoutTag_Stereo;
    } else {
        layout.mChannelLayoutTag = kAudioChannelLayoutTag_UseChannelDescriptions;
        layout.mNumberChannelDescriptions = channels;
        AudioChannelDescription* descriptions = layout.mChannelDescriptions;
        for (UInt32 i = 0; i < channels; ++i) {
            descriptions[i].mChannelLabel = kAudioChannelLabel_Mono;
            descriptions[i].mChannelFlags = 0;
        }
    }
}

} // namespace

void SamplerAU::buildChannelInfos() {
    mChannelInfos = {{channelCount(mRecord.inputChannels), channelCount(mRecord.outputChannels)}};
    if (!isMultiOutput(mRecord)) {
        return;
    }
    const SInt16 inputs = channelCount(mRecord.multiInputChannels);
    const SInt16 outputs = channelCount(mRecord.maxOutputChannels);
    mChannelInfos.push_back({inputs, outputs});
    mChannelInfos.push_back({inputs, channelCount(-outputs)});
}

UInt32 SamplerAU::SupportedNumChannels(const AUChannelInfo** outInfos) {
    if (outInfos != nullptr) {
        *outInfos = mChannelInfos.data();
    }
    return static_cast<UInt32>(mChannelInfos.size());
}

bool SamplerAU::BusCountWritable(AudioUnitScope /*inScope*/) {
    return isMultiOutput(mRecord);
}

bool SamplerAU::StreamFormatWritable(AudioUnitScope /*inScope*/, AudioUnitElement /*inElement*/) {
    return true;
}

Float64 SamplerAU::GetLatency() {
    return 0.0;
}

UInt32 SamplerAU::GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                        AudioChannelLayout* outLayout, Boolean& outWritable) {
    outWritable = 0;
    if (inScope != kAudioUnitScope_Output || !isMultiOutput(mRecord)) {
        return 0;
    }
    constexpr UInt32 kMostChannels =
        (std::numeric_limits<UInt32>::max() - kLayoutHeaderSize) / sizeof(AudioChannelDescription);
    const UInt32 channels = GetOutput(inElement).GetStreamFormat().mChannelsPerFrame;
    if (channels > kMostChannels) {
        return 0;
    }
    if (outLayout != nullptr) {
        describeLayout(channels, *outLayout);
    }
    return kLayoutHeaderSize + static_cast<UInt32>(sizeof(AudioChannelDescription)) * channels;
}

UInt32 SamplerAU::GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement /*inElement*/,
                                       AudioChannelLayoutTag* outTags) {
    if (inScope != kAudioUnitScope_Output || !isMultiOutput(mRecord)) {
        return 0;
    }
    const std::array<AudioChannelLayoutTag, 3> tags = {
        kAudioChannelLayoutTag_Stereo, kAudioChannelLayoutTag_Mono,
        kAudioChannelLayoutTag_DiscreteInOrder | static_cast<UInt32>(mRecord.maxOutputChannels)};
    if (outTags != nullptr) {
        std::copy(tags.begin(), tags.end(), outTags);
    }
    return static_cast<UInt32>(tags.size());
}

} // namespace velnor

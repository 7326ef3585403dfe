#include "framework/StreamFormat.h"

namespace velnor {

namespace {

constexpr UInt32 kBytesPerSample = sizeof(Float32);
constexpr UInt32 kDefaultChannels = 2;
constexpr Float64 kDefaultSampleRate = 44100.0;

bool FlagIsSet(const AudioStreamBasicDescription& inFormat, UInt32 inFlag) VELNOR_NONBLOCKING {
    return (inFormat.mFormatFlags & inFlag) != 0;
}

UInt64 CanonicalBytesPerFrame(const AudioStreamBasicDescription& inFormat) VELNOR_NONBLOCKING {
    return UInt64{kBytesPerSample} * ChannelsPerBuffer(inFormat);
}

} // namespace

bool FormatIsCanonical(const AudioStreamBasicDescription& inFormat,
                       UInt32 inInterfaceVersion) VELNOR_NONBLOCKING {
    return inFormat.mFormatID == kAudioFormatLinearPCM && inFormat.mFramesPerPacket == 1 &&
           inFormat.mBytesPerPacket == inFormat.mBytesPerFrame &&
           FlagIsSet(inFormat, kAudioFormatFlagIsFloat) &&
           !FlagIsSet(inFormat, kAudioFormatFlagIsBigEndian) &&
           IsNonInterleaved(inFormat) == (inInterfaceVersion >= kInterfaceVersion2) &&
           inFormat.mBitsPerChannel == 8 * kBytesPerSample &&
           inFormat.mBytesPerPacket == CanonicalBytesPerFrame(inFormat);
}

AudioStreamBasicDescription DefaultStreamFormat(UInt32 inInterfaceVersion) VELNOR_NONBLOCKING {
    AudioStreamBasicDescription format{};
    format.mSampleRate = kDefaultSampleRate;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
    if (inInterfaceVersion >= kInterfaceVersion2) {
        format.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
    }
    format.mFramesPerPacket = 1;
    format.mChannelsPerFrame = kDefaultChannels;
    format.mBitsPerChannel = 8 * kBytesPerSample;
    format.mBytesPerFrame = kBytesPerSample * ChannelsPerBuffer(format);
    format.mBytesPerPacket = format.mBytesPerFrame;
    return format;
}

bool FormatsAreEqual(const AudioStreamBasicDescription& inA,
                     const AudioStreamBasicDescription& inB) VELNOR_NONBLOCKING {
    return inA.mSampleRate == inB.mSampleRate && inA.mFormatID == inB.mFormatID &&
           inA.mFormatFlags == inB.mFormatFlags && inA.mBytesPerPacket == inB.mBytesPerPacket &&
           inA.mFramesPerPacket == inB.mFramesPerPacket &&
           inA.mBytesPerFrame == inB.mBytesPerFrame &&
           inA.mChannelsPerFrame == inB.mChannelsPerFrame &&
           inA.mBitsPerChannel == inB.mBitsPerChannel;
}

} // namespace velnor

// What the framework knows about stream formats.
#ifndef VELNOR_FRAMEWORK_STREAMFORMAT_H
#define VELNOR_FRAMEWORK_STREAMFORMAT_H

#include "platform/AudioTypes.h"
#include "platform/Facts.h"

namespace velnor {

/// The interface version from which canonical audio is non-interleaved and pulled through the
/// render selector.
inline constexpr UInt32 kInterfaceVersion2 = 2;

/// Thread any, concurrent, nonblocking: all functions of this file.

/// Linear PCM with one buffer for each channel.
inline bool IsNonInterleaved(const AudioStreamBasicDescription& inFormat) VELNOR_NONBLOCKING {
    return inFormat.mFormatID == kAudioFormatLinearPCM &&
           (inFormat.mFormatFlags & kAudioFormatFlagIsNonInterleaved) != 0;
}

/// The buffers that a list of this format has: one for each channel when it is non-interleaved,
/// else one.
inline UInt32 NumberOfBuffers(const AudioStreamBasicDescription& inFormat) VELNOR_NONBLOCKING {
    return IsNonInterleaved(inFormat) ? inFormat.mChannelsPerFrame : 1;
}

/// The channels in each of those buffers.
inline UInt32 ChannelsPerBuffer(const AudioStreamBasicDescription& inFormat) VELNOR_NONBLOCKING {
    return IsNonInterleaved(inFormat) ? 1 : inFormat.mChannelsPerFrame;
}

/// Native-endian 32-bit float linear PCM, one frame a packet; non-interleaved at interface version
/// 2 and above, interleaved at version 1. Sample rate and channel count are free, zero included.
bool FormatIsCanonical(const AudioStreamBasicDescription& inFormat,
                       UInt32 inInterfaceVersion) VELNOR_NONBLOCKING;

/// A new input or output element's format: canonical, stereo, 44100 Hz.
AudioStreamBasicDescription DefaultStreamFormat(UInt32 inInterfaceVersion) VELNOR_NONBLOCKING;

/// Field by field; the reserved word does not count.
bool FormatsAreEqual(const AudioStreamBasicDescription& inA,
                     const AudioStreamBasicDescription& inB) VELNOR_NONBLOCKING;

} // namespace velnor

#endif

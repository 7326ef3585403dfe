#include "framework/AUBufferList.h"

#include "framework/ExceptionMapping.h"
#include "framework/StreamFormat.h"
#include "testing/Testing.h"

#include <limits>

namespace velnor::testing {
namespace {

AudioStreamBasicDescription Format(UInt32 channels, UInt32 version = 2) {
    AudioStreamBasicDescription format = DefaultStreamFormat(version);
    format.mChannelsPerFrame = channels;
    format.mBytesPerFrame = format.mBytesPerPacket = 4 * ChannelsPerBuffer(format);
    return format;
}

template <class Call>
OSStatus StatusOfCall(const Call& call) {
    return StatusOf([&]() -> OSStatus {
        call();
        return noErr;
    });
}

TEST(AUBufferList, PreparedBuffersAreApartAlignedAndInsideTheAllocation) {
    for (const auto& [channels, version, frames, expected, bufferChannels] :
         Rows<UInt32, UInt32, UInt32, UInt32, UInt32>{
             {2, 2, 1156, 2, 1}, {3, 2, 1, 3, 1}, {3, 1, 5, 1, 3}, {0, 2, 64, 0, 1}}) {
        AUBufferList buffers;
        const auto format = Format(channels, version);
        buffers.Allocate(format, frames);
        EXPECT_EQ(buffers.GetState(), AUBufferList::kStateInvalid);
        const AudioBufferList& list = buffers.PrepareBuffer(format, frames);
        EXPECT_EQ(buffers.GetState(), AUBufferList::kStateOwn);
        ASSERT_EQ(list.mNumberBuffers, expected);
        for (UInt32 i = 0; i < list.mNumberBuffers; ++i) {
            const AudioBuffer& buffer = list.mBuffers[i];
            EXPECT_EQ(buffer.mNumberChannels, bufferChannels);
            EXPECT_EQ(buffer.mDataByteSize, format.mBytesPerFrame * frames);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer.mData) % 16, 0u);
            const auto* const first = static_cast<UInt8*>(list.mBuffers[0].mData);
            auto* const data = static_cast<UInt8*>(buffer.mData);
            EXPECT_LE(data + buffer.mDataByteSize, first + buffers.GetAllocatedBytes());
            std::fill_n(data, buffer.mDataByteSize, static_cast<UInt8>(i));
        }
        for (UInt32 i = 0; i < list.mNumberBuffers; ++i) {
            const AudioBuffer& buffer = list.mBuffers[i];
            const auto* const data = static_cast<UInt8*>(buffer.mData);
            EXPECT_THAT(std::vector(data, data + buffer.mDataByteSize), Each(i)) << "overwritten";
        }
        buffers.Allocate(format, frames / 2);
        EXPECT_EQ(buffers.GetState(), AUBufferList::kStateInvalid) << "old pointers are gone";
        buffers.Allocate(format, frames);
        EXPECT_EQ(buffers.PrepareBuffer(format, frames).mNumberBuffers, expected);
    }
}

TEST(AUBufferList, ImpossibleAllocationFailsAndLeavesTheBuffersUsable) {
    constexpr UInt32 kMost = std::numeric_limits<UInt32>::max();
    for (const auto& [channels, bytesPerFrame, frames] :
         Rows<UInt32, UInt32, UInt32>{{kMost, 4, kMost},
                                      {kMost, 4, 1},
                                      {2, kMost, kMost},
                                      {65536, 4, 16384},
                                      {1, 4, kMost},
                                      {1u << 28, 4, 0}}) {
        AUBufferList buffers;
        buffers.Allocate(Format(2), 64);
        auto format = Format(channels);
        format.mBytesPerFrame = bytesPerFrame;
        EXPECT_EQ(StatusOfCall([&] { buffers.Allocate(format, frames); }), memFullErr)
            << channels << " channels, " << frames << " frames";
        EXPECT_EQ(buffers.PrepareBuffer(Format(2), 64).mNumberBuffers, 2u);
    }
}

TEST(AUBufferList, ExternalBlockTakesOverAndServesTheFramesThatFit) {
    alignas(16) UInt8 block[256];
    alignas(16) UInt8 other[256];
    for (const auto& [channels, frames, size, framesAfter, taken] :
         Rows<UInt32, UInt32, UInt32, UInt32, bool>{
             {2, 8, 256, 32, true},
             {2, 8, 64, 8, true},
             {2, 8, 63, 8, false}, // 48 bytes, rounded down
             {2, 4, 48, 4, true},  // 24 bytes for each, of which 16 are aligned
             {2, 8, 0, 8, false}}) {
        AUBufferList buffers;
        const auto format = Format(channels);
        buffers.UseExternalBuffer(format, {block, size});
        EXPECT_FALSE(buffers.HasExternalMemory()) << "there was no own memory";
        buffers.Allocate(format, frames);
        buffers.UseExternalBuffer(format, {block, size});
        EXPECT_EQ(buffers.HasExternalMemory(), taken) << size;
        EXPECT_EQ(buffers.GetAllocatedFrames(), framesAfter) << size;
        const AudioBufferList& list = buffers.PrepareBuffer(format, framesAfter);
        EXPECT_EQ(list.mBuffers[0].mData == block, taken);
        if (taken) {
            buffers.UseExternalBuffer(format, {other, sizeof other});
            EXPECT_EQ(buffers.PrepareBuffer(format, framesAfter).mBuffers[0].mData, block)
                << "there is no own memory any more";
        }
        buffers.Allocate(format, 64);
        EXPECT_FALSE(buffers.HasExternalMemory()) << "too small for what is needed now";
    }
}

} // namespace
} // namespace velnor::testing

#include "framework/AUBufferList.h"

#include "framework/StreamFormat.h"
#include "framework/ThrowStatus.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace velnor {

namespace {

constexpr UInt64 kAlignment = 16;
constexpr UInt64 kMaximumBytes = std::numeric_limits<UInt32>::max();

constexpr UInt64 RoundedDown(UInt64 inBytes) VELNOR_NONBLOCKING {
    return inBytes & ~(kAlignment - 1);
}

constexpr UInt64 RoundedUp(UInt64 inBytes) VELNOR_NONBLOCKING {
    return RoundedDown(inBytes + kAlignment - 1);
}

/// Cannot wrap: the product of two 32-bit numbers leaves room for the rounding.
constexpr UInt64 BytesPerBuffer(const AudioStreamBasicDescription& inFormat,
                                UInt64 inFrames) VELNOR_NONBLOCKING {
    return RoundedUp(inFrames * inFormat.mBytesPerFrame);
}

/// Past kMaximumBytes, without wrapping, when one factor is.
constexpr UInt64 TotalBytes(UInt32 inBuffers, UInt64 inBytesPerBuffer) VELNOR_NONBLOCKING {
    if (inBytesPerBuffer > kMaximumBytes) {
        return inBuffers == 0 ? 0 : inBytesPerBuffer;
    }
    return inBuffers * inBytesPerBuffer;
}

constexpr UInt64 ListBytes(UInt64 inBuffers) VELNOR_NONBLOCKING {
    return std::max<UInt64>(offsetof(AudioBufferList, mBuffers) + inBuffers * sizeof(AudioBuffer),
                            sizeof(AudioBufferList));
}
static_assert(sizeof(void*) != 4 || ListBytes(2) == 2 * 12 + 4);

/// Not every C library aligns its blocks so far on every width.
UInt8* Aligned(UInt8* inBlock) {
    return inBlock + (kAlignment - reinterpret_cast<uintptr_t>(inBlock) % kAlignment) % kAlignment;
}

/// The frames that inBytes of memory hold for each buffer.
UInt32 FramesThatFit(const AudioStreamBasicDescription& inFormat, UInt64 inBytes) {
    const UInt32 buffers = NumberOfBuffers(inFormat);
    const UInt64 bytesPerFrame = inFormat.mBytesPerFrame;
    if (buffers == 0 || bytesPerFrame == 0) {
        return 0;
    }
    const UInt64 frames = inBytes / buffers / bytesPerFrame;
    if (TotalBytes(buffers, BytesPerBuffer(inFormat, frames)) <= inBytes) {
        return static_cast<UInt32>(frames);
    }
    return static_cast<UInt32>(RoundedDown(inBytes / buffers) / bytesPerFrame);
}

} // namespace

void* AUBufferList::Zeroed(UInt64 inBytes) {
    void* const block =
        inBytes <= kMaximumBytes ? std::calloc(1, static_cast<size_t>(inBytes)) : nullptr;
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

AUBufferList::ListOwner AUBufferList::MakeList(UInt32 inBuffers) {
    return ListOwner(static_cast<AudioBufferList*>(Zeroed(ListBytes(inBuffers))));
}

void AUBufferList::Allocate(const AudioStreamBasicDescription& inFormat, UInt32 inFrames) {
    const UInt32 buffers = NumberOfBuffers(inFormat);
    const UInt64 bytes = TotalBytes(buffers, BytesPerBuffer(inFormat, inFrames));
    const bool listGrows = !mList || buffers > mAllocatedBuffers;
    const bool memoryGrows = bytes > mAllocatedBytes;
    MemoryOwner memory(memoryGrows ? static_cast<UInt8*>(Zeroed(bytes + kAlignment - 1)) : nullptr);
    if (listGrows) {
        mList = MakeList(buffers);
        mAllocatedBuffers = buffers;
    }
    if (memoryGrows) {
        mOwnMemory = std::move(memory);
        mMemory = Aligned(mOwnMemory.get());
        mExternalMemory = false;
        mAllocatedBytes = static_cast<UInt32>(bytes);
    }
    mAllocatedFrames = inFrames;
    mState = kStateInvalid;
}

void AUBufferList::Deallocate() {
    mOwnMemory.reset();
    mMemory = nullptr;
    mExternalMemory = false;
    mAllocatedFrames = 0;
    mAllocatedBytes = 0;
    mState = kStateInvalid;
}

void AUBufferList::UseExternalBuffer(const AudioStreamBasicDescription& inFormat,
                                     const AudioUnitExternalBuffer& inBlock) {
    const UInt64 bytes = RoundedDown(inBlock.size);
    if (!mOwnMemory || inBlock.buffer == nullptr || bytes < mAllocatedBytes) {
        return;
    }
    mOwnMemory.reset();
    mMemory = inBlock.buffer;
    mExternalMemory = true;
    mAllocatedFrames = FramesThatFit(inFormat, bytes);
    mAllocatedBytes = static_cast<UInt32>(bytes);
    mState = kStateInvalid;
}

void AUBufferList::CheckRoom(const AudioStreamBasicDescription& inFormat) const VELNOR_NONBLOCKING {
    if (!mList || NumberOfBuffers(inFormat) > mAllocatedBuffers) {
        ThrowStatus(kAudioUnitErr_FormatNotSupported);
    }
}

UInt32 AUBufferList::StrideFor(const AudioStreamBasicDescription& inFormat,
                               UInt32 inFrames) const VELNOR_NONBLOCKING {
    const UInt64 stride = BytesPerBuffer(inFormat, mAllocatedFrames);
    if (inFrames > mAllocatedFrames ||
        TotalBytes(NumberOfBuffers(inFormat), stride) > mAllocatedBytes) {
        ThrowStatus(kAudioUnitErr_TooManyFramesToProcess);
    }
    return static_cast<UInt32>(stride);
}

AudioBufferList& AUBufferList::FillList(const AudioStreamBasicDescription& inFormat,
                                        UInt32 inFrames, UInt8* inMemory,
                                        UInt32 inStride) VELNOR_NONBLOCKING {
    const UInt32 channels = ChannelsPerBuffer(inFormat);
    mList->mNumberBuffers = NumberOfBuffers(inFormat);
    for (UInt32 i = 0; i < mList->mNumberBuffers; ++i) {
        void* const data = inMemory == nullptr ? nullptr : inMemory + size_t{i} * inStride;
        mList->mBuffers[i] = {channels, inFormat.mBytesPerFrame * inFrames, data};
    }
    return *mList;
}

AudioBufferList& AUBufferList::PrepareBuffer(const AudioStreamBasicDescription& inFormat,
                                             UInt32 inFrames) VELNOR_NONBLOCKING {
    CheckRoom(inFormat);
    const UInt32 stride = StrideFor(inFormat, inFrames);
    mState = kStateOwn;
    return FillList(inFormat, inFrames, mMemory, stride);
}

AudioBufferList& AUBufferList::PrepareNullBuffer(const AudioStreamBasicDescription& inFormat,
                                                 UInt32 inFrames) VELNOR_NONBLOCKING {
    CheckRoom(inFormat);
    if (UInt64{inFormat.mBytesPerFrame} * inFrames > kMaximumBytes) {
        ThrowStatus(kAudioUnitErr_TooManyFramesToProcess);
    }
    mState = kStateExternal;
    return FillList(inFormat, inFrames, nullptr, 0);
}

void AUBufferList::CopyBufferListTo(AudioBufferList& outList) VELNOR_NONBLOCKING {
    RequireValid();
    outList.mNumberBuffers = std::min(outList.mNumberBuffers, mList->mNumberBuffers);
    std::copy_n(mList->mBuffers, outList.mNumberBuffers, outList.mBuffers);
}

UInt32 AUBufferList::CopyContents(const AudioBuffer& inFrom,
                                  const AudioBuffer& inTo) VELNOR_NONBLOCKING {
    if (inFrom.mData == nullptr || inTo.mData == nullptr) {
        return 0;
    }
    std::memmove(inTo.mData, inFrom.mData, inFrom.mDataByteSize);
    return inFrom.mDataByteSize;
}

} // namespace velnor

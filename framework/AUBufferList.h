// The audio buffers of one element: a buffer list and the memory that it points at.
#ifndef VELNOR_FRAMEWORK_AUBUFFERLIST_H
#define VELNOR_FRAMEWORK_AUBUFFERLIST_H

#include "framework/ThrowStatus.h"
#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace velnor {

/// Thread: the calls marked nonblocking are the render thread's, the others the main thread's while
/// nothing renders. Exclusive. Failures are thrown as OSStatus.
class AUBufferList {
public:
    enum State : UInt32 {
        kStateInvalid = 0,  ///< the list holds nothing that may be used
        kStateOwn = 1,      ///< it points at this object's memory, the external block included
        kStateExternal = 2, ///< it points at memory of others, or nowhere
    };

    AUBufferList() = default;
    AUBufferList(const AUBufferList&) = delete;
    AUBufferList& operator=(const AUBufferList&) = delete;

    /// Makes room for this format's buffers of inFrames frames each, zero-filled where it is new.
    /// An external block that is too small is forgotten. The list is invalid afterwards.
    /// std::bad_alloc when memory runs out or the block would exceed 2^32 - 16 bytes; the object
    /// then is as it was before.
    void Allocate(const AudioStreamBasicDescription& inFormat, UInt32 inFrames);

    /// Releases the own memory or forgets the external block. The list is invalid afterwards; its
    /// room stays.
    void Deallocate();

    /// Moves the buffers into inBlock, which stays its owner's, and releases the own memory. Does
    /// nothing when there is no own memory or when the block, its size rounded down to a multiple
    /// of 16, is smaller than what is allocated. The list is invalid after a move. A block whose
    /// size does not divide evenly serves the frames that fit with each buffer 16-byte aligned.
    void UseExternalBuffer(const AudioStreamBasicDescription& inFormat,
                           const AudioUnitExternalBuffer& inBlock);

    /// Points the list at the own memory (or the external block) for inFrames frames and gives it.
    /// kAudioUnitErr_FormatNotSupported: more buffers than there is room for.
    /// kAudioUnitErr_TooManyFramesToProcess: more frames, or larger frames, than were allocated.
    AudioBufferList& PrepareBuffer(const AudioStreamBasicDescription& inFormat,
                                   UInt32 inFrames) VELNOR_NONBLOCKING;

    /// The same list with null data pointers, for a source that brings its own memory.
    /// kAudioUnitErr_FormatNotSupported as above.
    AudioBufferList& PrepareNullBuffer(const AudioStreamBasicDescription& inFormat,
                                       UInt32 inFrames) VELNOR_NONBLOCKING;

    /// Takes a copy of inList, whose memory stays its owner's, and raises lower byte sizes of the
    /// copy to inLeastByteSize. -1: more buffers than there is room for.
    AudioBufferList& SetBufferList(const AudioBufferList& inList,
                                   UInt32 inLeastByteSize = 0) VELNOR_NONBLOCKING {
        if (!mList || inList.mNumberBuffers > mAllocatedBuffers) {
            ThrowStatus(kErrBufferList);
        }
        mState = kStateExternal;
        mList->mNumberBuffers = inList.mNumberBuffers;
        const AudioBuffer* from = inList.mBuffers;
        AudioBuffer* to = mList->mBuffers;
        for (const AudioBuffer* const end = from + inList.mNumberBuffers; from != end;
             ++from, ++to) {
            *to = *from;
            if (to->mDataByteSize < inLeastByteSize) {
                to->mDataByteSize = inLeastByteSize;
            }
        }
        return *mList;
    }

    void Invalidate() VELNOR_NONBLOCKING { mState = kStateInvalid; }

    /// The list as it was last prepared or set. -1: it is invalid.
    AudioBufferList& GetBufferList() VELNOR_NONBLOCKING {
        RequireValid();
        return *mList;
    }

    /// Makes outList point where this list points. Never writes more buffers than outList counts.
    /// -1: this list is invalid.
    void CopyBufferListTo(AudioBufferList& outList) VELNOR_NONBLOCKING;

    /// Copies each buffer's bytes to where outList points, unless that is the same place, and sets
    /// outList's byte sizes to the bytes there. The destinations have room for them, whatever their
    /// byte sizes say; null ones get nothing. -1: this list is invalid.
    void CopyBufferContentsTo(AudioBufferList& outList) VELNOR_NONBLOCKING {
        RequireValid();
        const UInt32 buffers = std::min(outList.mNumberBuffers, mList->mNumberBuffers);
        const AudioBuffer* from = mList->mBuffers;
        AudioBuffer* to = outList.mBuffers;
        for (const AudioBuffer* const end = from + buffers; from != end; ++from, ++to) {
            const UInt32 bytes =
                from->mData == to->mData ? from->mDataByteSize : CopyContents(*from, *to);
            // The next pull reads the whole buffer at once, which must not wait for a part of it.
            if (to->mDataByteSize != bytes) {
                to->mDataByteSize = bytes;
            }
        }
    }

    State GetState() const VELNOR_NONBLOCKING { return mState; }
    bool HasExternalMemory() const { return mExternalMemory; }
    /// Per buffer.
    UInt32 GetAllocatedFrames() const { return mAllocatedFrames; }
    UInt32 GetAllocatedBytes() const { return mAllocatedBytes; }

private:
    static constexpr OSStatus kErrBufferList = -1;

    struct Free {
        void operator()(void* inBlock) const { std::free(inBlock); }
    };

    using ListOwner = std::unique_ptr<AudioBufferList, Free>;
    using MemoryOwner = std::unique_ptr<UInt8, Free>;

    static void* Zeroed(UInt64 inBytes);
    static ListOwner MakeList(UInt32 inBuffers);
    UInt32 StrideFor(const AudioStreamBasicDescription& inFormat,
                     UInt32 inFrames) const VELNOR_NONBLOCKING;
    void CheckRoom(const AudioStreamBasicDescription& inFormat) const VELNOR_NONBLOCKING;
    AudioBufferList& FillList(const AudioStreamBasicDescription& inFormat, UInt32 inFrames,
                              UInt8* inMemory, UInt32 inStride) VELNOR_NONBLOCKING;
    void RequireValid() const VELNOR_NONBLOCKING {
        if (mState == kStateInvalid) {
            ThrowStatus(kErrBufferList);
        }
    }
    /// Moves one buffer's bytes to another place and gives how many there are now.
    static UInt32 CopyContents(const AudioBuffer& inFrom,
                               const AudioBuffer& inTo) VELNOR_NONBLOCKING;

    State mState = kStateInvalid;
    bool mExternalMemory = false;
    ListOwner mList;
    UInt8* mMemory = nullptr; ///< mOwnMemory's, or the external block
    MemoryOwner mOwnMemory;
    UInt32 mAllocatedBuffers = 0; ///< room in mList
    UInt32 mAllocatedFrames = 0;
    UInt32 mAllocatedBytes = 0;
};

} // namespace velnor

#endif

// Buses: elements with a stream format and buffers.
#ifndef VELNOR_FRAMEWORK_AUIOELEMENT_H
#define VELNOR_FRAMEWORK_AUIOELEMENT_H

#include "framework/AUBufferList.h"
#include "framework/AUElement.h"
#include "framework/AUInputSource.h"

namespace velnor {

/// Threads, concurrency and failures of the buffer operations are those of AUBufferList; those here
/// take the element's own format.
class AUIOElement : public AUElement {
public:
    /// The format is the default one of the unit's interface version; there are no buffers yet.
    explicit AUIOElement(AUBase& inAudioUnit);
    ~AUIOElement() override;

    AUIOElement* AsIOElement() VELNOR_NONBLOCKING final { return this; }

    const AudioStreamBasicDescription& GetStreamFormat() const VELNOR_NONBLOCKING {
        return mStreamFormat;
    }
    /// Requests the buffers again for this format and takes it as it is; keeps the old one when
    /// that throws. Thread main, outside rendering.
    virtual OSStatus SetStreamFormat(const AudioStreamBasicDescription& inFormat);

    /// False: an allocation makes room in the list but no memory.
    virtual bool NeedsBufferSpace() const VELNOR_NONBLOCKING = 0;

    /// Allocates for inFrames frames, 0 for the unit's maximum frames per slice. Does nothing while
    /// the unit is not initialized. Thread main, outside rendering.
    void AllocateBuffer(UInt32 inFrames = 0);
    void DeallocateBuffer() { mBuffers.Deallocate(); }
    void UseExternalBuffer(const AudioUnitExternalBuffer& inBlock) {
        mBuffers.UseExternalBuffer(mStreamFormat, inBlock);
    }

    AudioBufferList& PrepareBuffer(UInt32 inFrames) VELNOR_NONBLOCKING {
        return mBuffers.PrepareBuffer(mStreamFormat, inFrames);
    }
    AudioBufferList& PrepareNullBuffer(UInt32 inFrames) VELNOR_NONBLOCKING {
        return mBuffers.PrepareNullBuffer(mStreamFormat, inFrames);
    }
    AudioBufferList& SetBufferList(const AudioBufferList& inList,
                                   UInt32 inLeastByteSize = 0) VELNOR_NONBLOCKING {
        return mBuffers.SetBufferList(inList, inLeastByteSize);
    }
    void InvalidateBufferList() VELNOR_NONBLOCKING { mBuffers.Invalidate(); }
    AudioBufferList& GetBufferList() VELNOR_NONBLOCKING { return mBuffers.GetBufferList(); }
    void CopyBufferListTo(AudioBufferList& outList) VELNOR_NONBLOCKING {
        mBuffers.CopyBufferListTo(outList);
    }
    void CopyBufferContentsTo(AudioBufferList& outList) VELNOR_NONBLOCKING {
        mBuffers.CopyBufferContentsTo(outList);
    }
    const AUBufferList& GetBuffers() const VELNOR_NONBLOCKING { return mBuffers; }

private:
    void AllocateBufferFor(const AudioStreamBasicDescription& inFormat, UInt32 inFrames);

    AudioStreamBasicDescription mStreamFormat;
    AUBufferList mBuffers;
};

/// A bus that a callback of the host or another unit's output feeds.
class AUInputElement : public AUIOElement {
public:
    using AUIOElement::AUIOElement;
    ~AUInputElement() override;

    /// Feeds the bus from now on, in place of what fed it before; a null source unit or callback
    /// leaves it without. The buffers are requested again. Thread main, outside rendering.
    void SetConnection(const AudioUnitConnection& inConnection);
    void SetInputCallback(AURenderCallback inProc, void* inUserData);

    /// A callback fills the element's buffers; another unit lends its own.
    bool NeedsBufferSpace() const VELNOR_NONBLOCKING override { return mSource.IsCallback(); }

    /// Has the source render inFrames frames into the element's buffer list and answers its status.
    /// inBus is the element's index. kAudioUnitErr_NoConnection: nothing feeds the bus. Thread
    /// render, exclusive, nonblocking but for the source.
    OSStatus PullInput(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                       UInt32 inBus, UInt32 inFrames) VELNOR_NONBLOCKING;

private:
    AUInputSource mSource;
};

/// A bus that the host pulls; one that is made while the unit is initialized has its buffers at
/// once.
class AUOutputElement final : public AUIOElement {
public:
    explicit AUOutputElement(AUBase& inAudioUnit);
    ~AUOutputElement() override;

    bool NeedsBufferSpace() const VELNOR_NONBLOCKING override { return true; }
};

} // namespace velnor

#endif

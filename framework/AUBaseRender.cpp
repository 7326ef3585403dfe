// AUBase's render driver: one host pull, once per bus, becomes one Render per time stamp.
#include "framework/AUBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/FloatingPointControl.h"

#include <algorithm>

namespace velnor {

namespace {

/// Whether the first buffer has memory: the host then has it for all, else it takes the unit's.
bool HasMemory(const AudioBufferList& inList) VELNOR_NONBLOCKING {
    return inList.mNumberBuffers > 0 && inList.mBuffers[0].mData != nullptr;
}

/// Whether the host's list suits the format: the right number of buffers, and none at the null
/// address where the host has memory. The byte sizes do not count: a pull lowers them to its own
/// frames, and the host passes the same list to the next one.
bool ListFits(const AudioBufferList& inList,
              const AudioStreamBasicDescription& inFormat) VELNOR_NONBLOCKING {
    if (inList.mNumberBuffers != NumberOfBuffers(inFormat)) {
        return false;
    }
    if (!HasMemory(inList)) {
        return true;
    }
    const AudioBuffer* buffer = inList.mBuffers;
    const AudioBuffer* const end = buffer + inList.mNumberBuffers;
    while (buffer != end && buffer->mData != nullptr) {
        ++buffer;
    }
    return buffer == end;
}

/// Empties the events at the end of a render, however it ends, and keeps their room.
class EmptiedAtEnd {
public:
    explicit EmptiedAtEnd(AUBase::ParameterEventList& ioEvents) VELNOR_NONBLOCKING
        : mEvents(ioEvents) {}
    ~EmptiedAtEnd() VELNOR_NONBLOCKING { mEvents.clear(); }
    EmptiedAtEnd(const EmptiedAtEnd&) = delete;
    EmptiedAtEnd& operator=(const EmptiedAtEnd&) = delete;

private:
    AUBase::ParameterEventList& mEvents;
};

} // namespace

// One pull is one function: what it hands down would otherwise go through the stack three times.

[[gnu::always_inline]] inline OSStatus
AUBase::DoRenderBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                    UInt32 inBus, AUOutputElement& inOutput, UInt32 inFrames,
                    AudioBufferList& ioData) VELNOR_NONBLOCKING {
    const bool hostHasMemory = HasMemory(ioData);
    if (hostHasMemory && GetScope(kAudioUnitScope_Output).GetNumberOfElements() < 2) {
        // Sizes that an earlier, shorter pull has left in the host's list say inFrames frames
        // again.
        inOutput.SetBufferList(ioData, inOutput.GetStreamFormat().mBytesPerFrame * inFrames);
    } else {
        inOutput.PrepareBuffer(inFrames);
    }
    const OSStatus status = RenderBus(ioFlags, inTimeStamp, inBus, inFrames);
    if (status != noErr) {
        return status;
    }
    if (hostHasMemory) {
        inOutput.CopyBufferContentsTo(ioData);
        inOutput.InvalidateBufferList();
    } else {
        inOutput.CopyBufferListTo(ioData);
    }
    return noErr;
}

[[gnu::always_inline]] inline OSStatus AUBase::PullBus(AudioUnitRenderActionFlags& ioFlags,
                                                       const AudioTimeStamp& inTimeStamp,
                                                       UInt32 inBus, UInt32 inFrames,
                                                       AudioBufferList& ioData) VELNOR_NONBLOCKING {
    if (!IsInitialized()) {
        ThrowStatus(kAudioUnitErr_Uninitialized);
    }
    if (inFrames > mMaxFramesPerSlice) {
        ThrowStatus(kAudioUnitErr_TooManyFramesToProcess);
    }
    AUOutputElement& output = GetOutput(inBus);
    if (!ListFits(ioData, output.GetStreamFormat())) {
        return paramErr;
    }
    const EmptiedAtEnd events(mParameterEvents);
    RecordRenderThread();
    mRenderNotifications.ApplyChanges();
    mRenderNotifications.Notify(ioFlags | kAudioUnitRenderAction_PreRender, inTimeStamp, inBus,
                                inFrames, ioData);
    // The notifications after the render come for a failure, too.
    const OSStatus status = StatusOnRoad(
        [&] { return DoRenderBus(ioFlags, inTimeStamp, inBus, output, inFrames, ioData); });
    mRenderNotifications.Notify(ioFlags | kAudioUnitRenderAction_PostRender, inTimeStamp, inBus,
                                inFrames, ioData);
    return status;
}

OSStatus AUBase::DoRender(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                          UInt32 inBus, UInt32 inFrames,
                          AudioBufferList& ioData) noexcept VELNOR_NONBLOCKING {
    const FloatingPointControl control;
    const OSStatus status =
        StatusOnRoad([&] { return PullBus(ioFlags, inTimeStamp, inBus, inFrames, ioData); });
    if (status == noErr) {
        return noErr;
    }
    return StatusOnRoad([&] {
        RecordRenderError(status);
        return status;
    });
}

OSStatus AUBase::RenderBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                           UInt32 inBus, UInt32 inFrames) VELNOR_NONBLOCKING {
    const Float64 time = inTimeStamp.mSampleTime;
    // A reset that comes between the two counts as one before this pull: it renders either way.
    if (mLastRenderedSampleTime.load(std::memory_order_relaxed) == time) {
        return noErr;
    }
    mLastRenderedSampleTime.store(time, std::memory_order_relaxed);
    if (GetScope(kAudioUnitScope_Output).GetNumberOfElements() > 1) {
        PrepareOtherOutputs(inBus, inFrames);
    }
    return Render(ioFlags, inTimeStamp, inFrames);
}

[[gnu::noinline]] void AUBase::PrepareOtherOutputs(UInt32 inBus,
                                                   UInt32 inFrames) VELNOR_NONBLOCKING {
    const UInt32 buses = GetScope(kAudioUnitScope_Output).GetNumberOfElements();
    for (UInt32 bus = 0; bus < buses; ++bus) {
        if (bus != inBus) {
            GetOutput(bus).PrepareBuffer(inFrames);
        }
    }
}

OSStatus AUBase::Render(AudioUnitRenderActionFlags& /*ioFlags*/,
                        const AudioTimeStamp& /*inTimeStamp*/,
                        UInt32 /*inFrames*/) VELNOR_NONBLOCKING {
    return noErr;
}

void AUBase::RecordRenderThread() VELNOR_NONBLOCKING {
    if (mWantsRenderThreadID) {
        VELNOR_RT_ESCAPE("a thread's own id is read from its control block",
                         mRenderThreadID = std::this_thread::get_id());
    }
}

void AUBase::RecordRenderError(OSStatus inStatus) VELNOR_NONBLOCKING {
    OSStatus stored = noErr;
    if (mLastRenderError.compare_exchange_strong(stored, inStatus)) {
        PropertyChanged(kAudioUnitProperty_LastRenderError, kAudioUnitScope_Global, 0);
    }
}

OSStatus AUBase::ReallocateBuffers() {
    CreateElements();
    for (const AudioUnitScope scope : {kAudioUnitScope_Output, kAudioUnitScope_Input}) {
        AUScope& buses = GetScope(scope);
        for (UInt32 i = 0; i < buses.GetNumberOfElements(); ++i) {
            buses.GetIOElement(i).AllocateBuffer(mMaxFramesPerSlice);
        }
    }
    mBuffersAllocated = true;
    return noErr;
}

void AUBase::SetMaxFramesPerSlice(UInt32 inFrames) {
    mMaxFramesPerSlice = inFrames;
    if (mBuffersAllocated) {
        ReallocateBuffers();
    }
    PropertyChanged(kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0);
}

OSStatus AUBase::CanSetMaxFrames() {
    if (IsInitialized()) {
        return kAudioUnitErr_Initialized;
    }
    return noErr;
}

} // namespace velnor

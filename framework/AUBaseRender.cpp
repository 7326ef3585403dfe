// AUBase's render driver: one host pull, once per bus, becomes one Render per time stamp.
#include "framework/AUBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/FloatingPointControl.h"

#include <algorithm>

namespace velnor {

namespace {

/// Whether the host's list suits the format: the right number of buffers, memory for all of them or
/// for none, and no buffer that inFrames frames would overrun.
bool ListFits(const AudioBufferList& inList, const AudioStreamBasicDescription& inFormat,
              UInt32 inFrames) VELNOR_NONBLOCKING {
    if (inList.mNumberBuffers != NumberOfBuffers(inFormat)) {
        return false;
    }
    const AudioBuffer* const buffers = inList.mBuffers;
    const UInt64 bytes = UInt64{inFormat.mBytesPerFrame} * inFrames;
    return std::all_of(buffers, buffers + inList.mNumberBuffers, [&](const AudioBuffer& buffer) {
        const bool hasMemory = buffer.mData != nullptr;
        return hasMemory == (buffers[0].mData != nullptr) &&
               (!hasMemory || buffer.mDataByteSize >= bytes);
    });
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

bool HasMemory(const AudioBufferList& inList) VELNOR_NONBLOCKING {
    return inList.mNumberBuffers > 0 && inList.mBuffers[0].mData != nullptr;
}

} // namespace

OSStatus AUBase::DoRender(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                          UInt32 inBus, UInt32 inFrames,
                          AudioBufferList& ioData) VELNOR_NONBLOCKING {
    const FloatingPointControl control;
    OSStatus status = noErr;
    VELNOR_RT_ESCAPE_CHECKED(
        "a failure is caught where its pull ends",
        status = StatusOf([&] { return PullBus(ioFlags, inTimeStamp, inBus, inFrames, ioData); }));
    RecordRenderError(status);
    return status;
}

OSStatus AUBase::PullBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                         UInt32 inBus, UInt32 inFrames,
                         AudioBufferList& ioData) VELNOR_NONBLOCKING {
    if (!IsInitialized()) {
        ThrowStatus(kAudioUnitErr_Uninitialized);
    }
    if (inFrames > mMaxFramesPerSlice) {
        ThrowStatus(kAudioUnitErr_TooManyFramesToProcess);
    }
    AUOutputElement& output = GetOutput(inBus);
    if (!ListFits(ioData, output.GetStreamFormat(), inFrames)) {
        return paramErr;
    }
    const EmptiedAtEnd events(mParameterEvents);
    RecordRenderThread();
    mRenderNotifications.ApplyChanges();
    mRenderNotifications.Notify(ioFlags | kAudioUnitRenderAction_PreRender, inTimeStamp, inBus,
                                inFrames, ioData);
    OSStatus status = noErr;
    VELNOR_RT_ESCAPE_CHECKED("the notifications after the render come for a failure too",
                             status = StatusOf([&] {
                                 return DoRenderBus(ioFlags, inTimeStamp, inBus, output, inFrames,
                                                    ioData);
                             }));
    mRenderNotifications.Notify(ioFlags | kAudioUnitRenderAction_PostRender, inTimeStamp, inBus,
                                inFrames, ioData);
    return status;
}

OSStatus AUBase::DoRenderBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                             UInt32 inBus, AUOutputElement& inOutput, UInt32 inFrames,
                             AudioBufferList& ioData) VELNOR_NONBLOCKING {
    const bool hostHasMemory = HasMemory(ioData);
    if (hostHasMemory && GetScope(kAudioUnitScope_Output).GetNumberOfElements() < 2) {
        inOutput.SetBufferList(ioData);
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

OSStatus AUBase::RenderBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                           UInt32 inBus, UInt32 inFrames) VELNOR_NONBLOCKING {
    const Float64 time = inTimeStamp.mSampleTime;
    // A reset that comes between the two counts as one before this pull: it renders either way.
    if (mLastRenderedSampleTime.load(std::memory_order_relaxed) == time) {
        return noErr;
    }
    mLastRenderedSampleTime.store(time, std::memory_order_relaxed);
    PrepareOtherOutputs(inBus, inFrames);
    return Render(ioFlags, inTimeStamp, inFrames);
}

void AUBase::PrepareOtherOutputs(UInt32 inBus, UInt32 inFrames) VELNOR_NONBLOCKING {
    const AUScope& outputs = GetScope(kAudioUnitScope_Output);
    for (UInt32 bus = 0; bus < outputs.GetNumberOfElements(); ++bus) {
        if (bus != inBus) {
            outputs.GetIOElement(bus).PrepareBuffer(inFrames);
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
    if (inStatus != noErr && mLastRenderError.compare_exchange_strong(stored, inStatus)) {
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

// One parameter's live state.
#ifndef VELNOR_FRAMEWORK_PARAMETERMAPEVENT_H
#define VELNOR_FRAMEWORK_PARAMETERMAPEVENT_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

#include <atomic>

namespace velnor {

/// What a ramp covers of the slice that it was last applied to.
struct RampSlice {
    AudioUnitParameterValue start;         ///< at the slice's first frame
    AudioUnitParameterValue end;           ///< at the frame after its last
    AudioUnitParameterValue valuePerFrame; ///< 0 outside a ramp
};

/// The current value, or the ramp that runs. Thread any, concurrent, nonblocking: each field is
/// read and written whole; a reader that meets a writer may see the fields of both.
class ParameterMapEvent {
public:
    explicit ParameterMapEvent(AudioUnitParameterValue inValue = 0)
        : mValue1(inValue), mValue2(inValue) {}

    /// The immediate value, or the running ramp's start value.
    AudioUnitParameterValue GetValue() const VELNOR_NONBLOCKING { return Load(mValue1); }

    /// Makes it an immediate event of this value.
    void SetValue(AudioUnitParameterValue inValue) VELNOR_NONBLOCKING;

    /// Applies inEvent to the slice of inSliceFrames frames that starts at frame inSliceStart of
    /// the buffer in which the event's offset counts.
    void SetScheduledEvent(const AudioUnitParameterEvent& inEvent, UInt32 inSliceStart,
                           UInt32 inSliceFrames) VELNOR_NONBLOCKING;

    RampSlice GetRampSliceStartEnd() const VELNOR_NONBLOCKING;

    AUParameterEventType GetEventType() const VELNOR_NONBLOCKING { return Load(mEventType); }
    /// Frames from the slice's start; below 0 when the event began before it.
    SInt32 GetStartOffset() const VELNOR_NONBLOCKING { return Load(mStartOffset); }
    /// Frames: the ramp's length, or the slice's for an immediate event.
    UInt32 GetDuration() const VELNOR_NONBLOCKING { return Load(mDuration); }
    AudioUnitParameterValue GetEndValue() const VELNOR_NONBLOCKING { return Load(mValue2); }
    UInt32 GetSliceFrames() const VELNOR_NONBLOCKING { return Load(mSliceFrames); }

private:
    template <class T>
    static T Load(const std::atomic<T>& inField) VELNOR_NONBLOCKING {
        return inField.load(std::memory_order_relaxed);
    }
    template <class T>
    static void Store(std::atomic<T>& outField, T inValue) VELNOR_NONBLOCKING {
        outField.store(inValue, std::memory_order_relaxed);
    }

    std::atomic<AUParameterEventType> mEventType{kParameterEvent_Immediate};
    std::atomic<SInt32> mStartOffset{0};
    std::atomic<UInt32> mDuration{0};
    std::atomic<AudioUnitParameterValue> mValue1;
    std::atomic<AudioUnitParameterValue> mValue2;
    std::atomic<UInt32> mSliceFrames{0};
};

static_assert(std::atomic<UInt32>::is_always_lock_free);
static_assert(std::atomic<AudioUnitParameterValue>::is_always_lock_free);

} // namespace velnor

#endif

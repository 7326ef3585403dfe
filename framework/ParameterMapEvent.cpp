#include "framework/ParameterMapEvent.h"

#include <algorithm>
#include <limits>

namespace velnor {

namespace {

SInt32 RelativeTo(UInt32 inSliceStart, SInt64 inOffset) VELNOR_NONBLOCKING {
    return static_cast<SInt32>(std::clamp<SInt64>(inOffset - inSliceStart,
                                                  std::numeric_limits<SInt32>::min(),
                                                  std::numeric_limits<SInt32>::max()));
}

} // namespace

void ParameterMapEvent::SetValue(AudioUnitParameterValue inValue) VELNOR_NONBLOCKING {
    Store<AUParameterEventType>(mEventType, kParameterEvent_Immediate);
    Store(mValue1, inValue);
    Store(mValue2, inValue);
}

void ParameterMapEvent::SetScheduledEvent(const AudioUnitParameterEvent& inEvent,
                                          UInt32 inSliceStart,
                                          UInt32 inSliceFrames) VELNOR_NONBLOCKING {
    if (inEvent.eventType == kParameterEvent_Ramped) {
        const auto& ramp = inEvent.eventValues.ramp;
        Store(mStartOffset, RelativeTo(inSliceStart, ramp.startBufferOffset));
        Store(mDuration, ramp.durationInFrames);
        Store(mValue1, ramp.startValue);
        Store(mValue2, ramp.endValue);
    } else {
        const auto& immediate = inEvent.eventValues.immediate;
        Store(mStartOffset, RelativeTo(inSliceStart, immediate.bufferOffset));
        Store(mDuration, inSliceFrames);
        Store(mValue1, immediate.value);
        Store(mValue2, immediate.value);
    }
    Store(mSliceFrames, inSliceFrames);
    Store(mEventType, inEvent.eventType);
}

RampSlice ParameterMapEvent::GetRampSliceStartEnd() const VELNOR_NONBLOCKING {
    const Float64 start = GetValue();
    const Float64 end = GetEndValue();
    const Float64 duration = GetDuration();
    if (GetEventType() != kParameterEvent_Ramped || duration == 0) {
        return {static_cast<Float32>(end), static_cast<Float32>(end), 0};
    }
    const Float64 slope = (end - start) / duration;
    const auto valueAt = [&](Float64 frame) {
        return static_cast<Float32>(start + slope * std::clamp(frame, 0.0, duration));
    };
    const Float64 elapsed = -static_cast<Float64>(GetStartOffset());
    return {valueAt(elapsed), valueAt(elapsed + GetSliceFrames()), static_cast<Float32>(slope)};
}

} // namespace velnor

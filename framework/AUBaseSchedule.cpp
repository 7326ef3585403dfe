// AUBase's scheduled parameters.
#include "framework/AUBase.h"
#include "framework/ParameterEventSort.h"

#include <algorithm>

namespace velnor {

namespace {

bool IsActive(const AudioUnitParameterEvent& inEvent, SInt64 inStart,
              SInt64 inEnd) VELNOR_NONBLOCKING {
    switch (inEvent.eventType) {
    case kParameterEvent_Immediate:
        return StartOf(inEvent) <= inStart;
    case kParameterEvent_Ramped:
        return StartOf(inEvent) < inEnd && EndOf(inEvent) > inStart;
    default:
        return false;
    }
}

/// Where the slice from inStart ends: before the next event begins or a running ramp ends.
UInt32 SliceEnd(const AUBase::ParameterEventList& inEvents, UInt32 inStart,
                UInt32 inTotal) VELNOR_NONBLOCKING {
    SInt64 end = inTotal;
    for (const AudioUnitParameterEvent& event : inEvents) {
        for (const SInt64 edge : {StartOf(event), EndOf(event)}) {
            if (edge > inStart) {
                end = std::min(end, edge);
            }
        }
    }
    return static_cast<UInt32>(end);
}

} // namespace

OSStatus AUBase::ScheduleParameter(const AudioUnitParameterEvent* inEvents,
                                   UInt32 inCount) VELNOR_NONBLOCKING {
    if (inEvents == nullptr && inCount > 0) {
        return paramErr;
    }
    OSStatus result = noErr;
    for (UInt32 i = 0; i < inCount; ++i) {
        const AudioUnitParameterEvent& event = inEvents[i];
        if (event.eventType == kParameterEvent_Immediate) {
            const auto& immediate = event.eventValues.immediate;
            const OSStatus status = SetParameter(event.parameter, event.scope, event.element,
                                                 immediate.value, immediate.bufferOffset);
            result = result != noErr ? result : status;
        }
        AppendParameterEvent(event);
    }
    return result;
}

void AUBase::AppendParameterEvent(const AudioUnitParameterEvent& inEvent) VELNOR_NONBLOCKING {
    VELNOR_RT_ESCAPE("the events pending at once outgrow their room a few times in a unit's life",
                     mParameterEvents.push_back(inEvent));
}

OSStatus AUBase::ProcessForScheduledParams(ParameterEventList& ioEvents, UInt32 inFrames,
                                           void* inUserData) VELNOR_NONBLOCKING {
    SortByStart(ioEvents.data(), ioEvents.data() + ioEvents.size());
    OSStatus status = noErr;
    for (UInt32 start = 0; start < inFrames && status == noErr;) {
        const UInt32 end = SliceEnd(ioEvents, start, inFrames);
        ApplyParameterEvents(ioEvents, start, end);
        status = ProcessScheduledSlice(inUserData, start, end - start, inFrames);
        start = end;
    }
    return status;
}

void AUBase::ApplyParameterEvents(const ParameterEventList& inEvents, UInt32 inStart,
                                  UInt32 inEnd) VELNOR_NONBLOCKING {
    for (const AudioUnitParameterEvent& event : inEvents) {
        if (IsActive(event, inStart, inEnd)) {
            GetScope(event.scope)
                .SafeGetElement(event.element)
                .SetScheduledEvent(event, inStart, inEnd - inStart);
        }
    }
}

OSStatus AUBase::ProcessScheduledSlice(void* /*inUserData*/, UInt32 /*inStartFrame*/,
                                       UInt32 /*inSliceFrames*/,
                                       UInt32 /*inTotalFrames*/) VELNOR_NONBLOCKING {
    return noErr;
}

} // namespace velnor

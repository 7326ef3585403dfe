#include "framework/ParameterEventSort.h"

#include <algorithm>

namespace velnor {

namespace {

using Event = AudioUnitParameterEvent;

bool BeginsBefore(const Event& inA, const Event& inB) VELNOR_NONBLOCKING {
    return StartOf(inA) < StartOf(inB);
}

/// Merges two neighbouring sorted runs: cuts the longer in half and the other where that half ends,
/// exchanges the inner pieces, and is left with two smaller merges.
void Merge(Event* inFirst, Event* inMiddle, Event* inLast) VELNOR_NONBLOCKING {
    if (inFirst == inMiddle || inMiddle == inLast || !BeginsBefore(*inMiddle, inMiddle[-1])) {
        return;
    }
    if (inLast - inFirst == 2) {
        std::iter_swap(inFirst, inMiddle);
        return;
    }
    Event* cutLeft = inFirst + (inMiddle - inFirst) / 2;
    Event* cutRight = inMiddle + (inLast - inMiddle) / 2;
    if (inMiddle - inFirst > inLast - inMiddle) {
        cutRight = std::lower_bound(inMiddle, inLast, *cutLeft, BeginsBefore);
    } else {
        cutLeft = std::upper_bound(inFirst, inMiddle, *cutRight, BeginsBefore);
    }
    Event* const middle = std::rotate(cutLeft, inMiddle, cutRight);
    Merge(inFirst, cutLeft, middle);
    Merge(middle, cutRight, inLast);
}

} // namespace

SInt64 StartOf(const Event& inEvent) VELNOR_NONBLOCKING {
    if (inEvent.eventType == kParameterEvent_Ramped) {
        return inEvent.eventValues.ramp.startBufferOffset;
    }
    return inEvent.eventValues.immediate.bufferOffset;
}

SInt64 EndOf(const Event& inEvent) VELNOR_NONBLOCKING {
    if (inEvent.eventType == kParameterEvent_Ramped) {
        return StartOf(inEvent) + inEvent.eventValues.ramp.durationInFrames;
    }
    return StartOf(inEvent);
}

void SortByStart(Event* inFirst, Event* inLast) VELNOR_NONBLOCKING {
    if (inLast - inFirst < 2) {
        return;
    }
    Event* const middle = inFirst + (inLast - inFirst) / 2;
    SortByStart(inFirst, middle);
    SortByStart(middle, inLast);
    Merge(inFirst, middle, inLast);
}

} // namespace velnor

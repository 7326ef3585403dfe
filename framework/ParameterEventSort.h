// Scheduled events in the order of their offsets, without memory.
#ifndef VELNOR_FRAMEWORK_PARAMETEREVENTSORT_H
#define VELNOR_FRAMEWORK_PARAMETEREVENTSORT_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

namespace velnor {

/// The frame at which an event begins, in the buffer for which it was scheduled; below 0 for a ramp
/// that began before it. Thread any, concurrent, nonblocking.
SInt64 StartOf(const AudioUnitParameterEvent& inEvent) VELNOR_NONBLOCKING;

/// The frame after a ramp's last; an immediate event ends where it begins. As StartOf.
SInt64 EndOf(const AudioUnitParameterEvent& inEvent) VELNOR_NONBLOCKING;

/// Sorts by StartOf, ascending; events that begin together keep their order. O(n log² n), and
/// linear where the events are in order already. Thread any, exclusive, nonblocking.
void SortByStart(AudioUnitParameterEvent* inFirst,
                 AudioUnitParameterEvent* inLast) VELNOR_NONBLOCKING;

} // namespace velnor

#endif

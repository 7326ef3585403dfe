// Monotonic time since the system's start. Thread any, concurrent, nonblocking: the kernel's vDSO
// answers without a system call.
#ifndef VELNOR_PLATFORM_CLOCK_H
#define VELNOR_PLATFORM_CLOCK_H

#include "platform/Facts.h"
#include "platform/Types.h"

VELNOR_BEGIN_C

typedef struct UnsignedWide {
    UInt32 lo;
    UInt32 hi;
} UnsignedWide;
typedef UnsignedWide AbsoluteTime;
typedef UnsignedWide Nanoseconds;

VELNOR_PLATFORM_API void Microseconds(UnsignedWide* microseconds) VELNOR_NONBLOCKING;
// In a unit of its own; AbsoluteToNanoseconds converts.
VELNOR_PLATFORM_API UInt64 mach_absolute_time(void) VELNOR_NONBLOCKING;
VELNOR_PLATFORM_API Nanoseconds AbsoluteToNanoseconds(AbsoluteTime time) VELNOR_NONBLOCKING;

VELNOR_END_C

#endif

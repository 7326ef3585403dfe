// Numbers and booleans. Thread any, concurrent, may block: all calls.
#ifndef VELNOR_PLATFORM_CFNUMBER_H
#define VELNOR_PLATFORM_CFNUMBER_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFNumber* CFNumberRef;
typedef const struct OpaqueCFBoolean* CFBooleanRef;
typedef CFIndex CFNumberType;
enum {
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6
};

VELNOR_PLATFORM_API CFTypeID CFNumberGetTypeID(void);
// Null for another type than the four.
VELNOR_PLATFORM_API CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type,
                                               const void* value);
// The type that it was created with; a number out of a property list is SInt64 or Float64.
VELNOR_PLATFORM_API CFNumberType CFNumberGetType(CFNumberRef number);
VELNOR_PLATFORM_API Boolean CFNumberIsFloatType(CFNumberRef number);
// True when the value converts without loss; otherwise false, with the nearest value written (0
// for the integer of a NaN).
VELNOR_PLATFORM_API Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

// The two booleans are objects of the process's life and do not count as alive.
VELNOR_PLATFORM_API CFTypeID CFBooleanGetTypeID(void);
VELNOR_PLATFORM_API Boolean CFBooleanGetValue(CFBooleanRef boolean);
VELNOR_PLATFORM_API extern const CFBooleanRef kCFBooleanTrue;
VELNOR_PLATFORM_API extern const CFBooleanRef kCFBooleanFalse;

VELNOR_END_C

#endif

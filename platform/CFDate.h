// Points in time, as property lists hold them. Thread any, concurrent, may block: all calls.
#ifndef VELNOR_PLATFORM_CFDATE_H
#define VELNOR_PLATFORM_CFDATE_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFDate* CFDateRef;
typedef double CFAbsoluteTime; // seconds since 2001-01-01 00:00:00 UTC

VELNOR_PLATFORM_API CFTypeID CFDateGetTypeID(void);
VELNOR_PLATFORM_API CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
VELNOR_PLATFORM_API CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);

VELNOR_END_C

#endif

// Byte strings, immutable and growing. Thread any, concurrent, may block: all calls; one that
// changes an object is exclusive on it.
#ifndef VELNOR_PLATFORM_CFDATA_H
#define VELNOR_PLATFORM_CFDATA_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFData* CFDataRef;
typedef struct OpaqueCFData* CFMutableDataRef;

VELNOR_PLATFORM_API CFTypeID CFDataGetTypeID(void);
// Copies the bytes.
VELNOR_PLATFORM_API CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes,
                                           CFIndex length);
// capacity is ignored: the object grows.
VELNOR_PLATFORM_API CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator,
                                                         CFIndex capacity);
VELNOR_PLATFORM_API CFIndex CFDataGetLength(CFDataRef data);
// Valid until the object is changed or goes.
VELNOR_PLATFORM_API const UInt8* CFDataGetBytePtr(CFDataRef data);
// Does nothing to an immutable object.
VELNOR_PLATFORM_API void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes,
                                           CFIndex length);

VELNOR_END_C

#endif

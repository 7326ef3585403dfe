// Lists of objects, which they retain. Thread any, concurrent, may block: all calls; one that
// changes an object is exclusive on it.
#ifndef VELNOR_PLATFORM_CFARRAY_H
#define VELNOR_PLATFORM_CFARRAY_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFArray* CFArrayRef;
typedef struct OpaqueCFArray* CFMutableArrayRef;
typedef struct CFArrayCallBacks CFArrayCallBacks;
// The only kind of list: of objects, retained.
VELNOR_PLATFORM_API extern const CFArrayCallBacks* const PlatformTypeArrayCallBacks;
#define kCFTypeArrayCallBacks (*PlatformTypeArrayCallBacks)

VELNOR_PLATFORM_API CFTypeID CFArrayGetTypeID(void);
VELNOR_PLATFORM_API CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator,
                                                           CFIndex capacity,
                                                           const CFArrayCallBacks* callBacks);
VELNOR_PLATFORM_API CFIndex CFArrayGetCount(CFArrayRef array);
// Borrowed; null past the end.
VELNOR_PLATFORM_API const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
// Does nothing to an immutable array, such as one out of a property list, or for a null value.
VELNOR_PLATFORM_API void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

VELNOR_END_C

#endif

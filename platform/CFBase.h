// Reference-counted objects: the part that all value types share.
//
// A function with Create or Copy in its name gives the caller a reference that the caller releases;
// one with Get lends one that lives as long as its owner. Reference counts are atomic: objects may
// be shared between threads; mutable objects may not be changed while another thread uses them.
//
// Thread any, concurrent, may block: all calls. The last release frees.
#ifndef VELNOR_PLATFORM_CFBASE_H
#define VELNOR_PLATFORM_CFBASE_H

#include "platform/Types.h"

VELNOR_BEGIN_C

typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef long CFIndex;
typedef double CFTimeInterval;                          // seconds
typedef const struct OpaqueCFAllocator* CFAllocatorRef; // always null: the standard allocator
typedef const struct OpaqueCFString* CFStringRef;
typedef CFTypeRef CFPropertyListRef;

#define kCFAllocatorDefault ((CFAllocatorRef)0)

typedef struct CFRange {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    CFRange range;
    range.location = location;
    range.length = length;
    return range;
}

// cf may not be null, as on every call here that takes an object. Returns its argument.
VELNOR_PLATFORM_API CFTypeRef CFRetain(CFTypeRef cf);

// Gives one reference back; the object goes with the last one.
VELNOR_PLATFORM_API void CFRelease(CFTypeRef cf);

VELNOR_PLATFORM_API CFIndex CFGetRetainCount(CFTypeRef cf);
VELNOR_PLATFORM_API CFTypeID CFGetTypeID(CFTypeRef cf);

// Values of the same type and content are equal; containers compare their elements. An integer and
// a real number are of different types, integers of different widths are not.
VELNOR_PLATFORM_API Boolean CFEqual(CFTypeRef a, CFTypeRef b);

// Objects now alive in the process, those that only the platform's own caches hold left out.
// A test takes it before and after an operation.
VELNOR_PLATFORM_API CFIndex PlatformLiveObjectCount(void);

VELNOR_END_C

#endif

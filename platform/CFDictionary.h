// Maps from strings to objects, both retained. Iteration is in ascending byte order of the keys'
// UTF-8 form. Thread any, concurrent, may block: all calls; one that changes an object is exclusive
// on it.
#ifndef VELNOR_PLATFORM_CFDICTIONARY_H
#define VELNOR_PLATFORM_CFDICTIONARY_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFDictionary* CFDictionaryRef;
typedef struct OpaqueCFDictionary* CFMutableDictionaryRef;
typedef struct CFDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks CFDictionaryValueCallBacks;
// The only kind of dictionary: keys are strings, values are objects, all retained.
VELNOR_PLATFORM_API extern const CFDictionaryKeyCallBacks* const PlatformTypeKeyCallBacks;
VELNOR_PLATFORM_API extern const CFDictionaryValueCallBacks* const PlatformTypeValueCallBacks;
#define kCFTypeDictionaryKeyCallBacks (*PlatformTypeKeyCallBacks)
#define kCFTypeDictionaryValueCallBacks (*PlatformTypeValueCallBacks)

VELNOR_PLATFORM_API CFTypeID CFDictionaryGetTypeID(void);
VELNOR_PLATFORM_API CFMutableDictionaryRef CFDictionaryCreateMutable(
    CFAllocatorRef allocator, CFIndex capacity, const CFDictionaryKeyCallBacks* keys,
    const CFDictionaryValueCallBacks* values);
// A shallow copy that can be changed.
VELNOR_PLATFORM_API CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator,
                                                                         CFIndex capacity,
                                                                         CFDictionaryRef original);
VELNOR_PLATFORM_API CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
VELNOR_PLATFORM_API Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);
// Null when there is none.
VELNOR_PLATFORM_API const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
// value may be null.
VELNOR_PLATFORM_API Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary,
                                                          const void* key, const void** value);
// Arrays of CFDictionaryGetCount entries; either may be null. The entries are borrowed.
VELNOR_PLATFORM_API void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                                      const void** values);
// The three calls below do nothing to an immutable dictionary, such as one out of the preferences,
// for a key that is no string, or for a null value. Adding does nothing when the key is there.
VELNOR_PLATFORM_API void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);
VELNOR_PLATFORM_API void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);
VELNOR_PLATFORM_API void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary,
                                                 const void* key);

VELNOR_END_C

#endif

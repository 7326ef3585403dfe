// Trees of strings, numbers, booleans, dates, data, arrays and dictionaries, and their file forms.
//
// A property list nests at most 256 deep, has at most 2^17 values and keys, and takes at most 64
// MiB: as a file, and as a tree where each value and key counts its text and data, text that is not
// ASCII in UTF-16, and 32 bytes more. What stands at several places counts at each. Anything else
// is none, for every call here.
//
// Thread any, concurrent on trees that no other thread changes, may block: all calls.
#ifndef VELNOR_PLATFORM_CFPROPERTYLIST_H
#define VELNOR_PLATFORM_CFPROPERTYLIST_H

#include "platform/CFBase.h"
#include "platform/CFData.h"

VELNOR_BEGIN_C

enum {
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1,
    kCFPropertyListMutableContainersAndLeaves = 2
};
typedef CFIndex CFPropertyListFormat;
enum { kCFPropertyListXMLFormat_v1_0 = 100, kCFPropertyListBinaryFormat_v1_0 = 200 };

// A copy that shares no container with the original. Null when the tree is no property list.
VELNOR_PLATFORM_API CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef allocator,
                                                                   CFPropertyListRef tree,
                                                                   CFOptionFlags options);
// The file form. Null when the tree is no property list, and for text with a zero character. In XML
// also for text with another control character than tab, line feed and carriage return or with
// U+FFFE or U+FFFF, and for dates outside the years 1000 to 9999: the binary form takes these. XML
// dates are whole seconds, rounded down. options is not used. error is not used and may be null.
VELNOR_PLATFORM_API CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator,
                                                       CFPropertyListRef tree,
                                                       CFPropertyListFormat format,
                                                       CFOptionFlags options, CFTypeRef* error);
// Reads either form. Null when the bytes are no property list or are cut. XML is UTF-8, or ASCII
// whatever it declares; of equal keys the last one counts. error is not used and may be null;
// containers are mutable when options ask for it.
VELNOR_PLATFORM_API CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator,
                                                                   CFDataRef data,
                                                                   CFOptionFlags options,
                                                                   CFPropertyListFormat* format,
                                                                   CFTypeRef* error);
// Whether bytes that are none here are a property list that another reader could take: of other
// limits, of another form or encoding, or more lenient (not of the original interface). What
// answers false can be read by nobody.
VELNOR_PLATFORM_API Boolean PlatformPropertyListIsForeign(CFDataRef data);

VELNOR_END_C

#endif

/* Trees of strings, numbers, booleans, dates, data, arrays and dictionaries, and their file forms.
 */
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

/* A copy that shares no container with the original. Null when the tree holds another type or nests
 * more than 256 deep. */
VELNOR_PLATFORM_API CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef allocator,
                                                                   CFPropertyListRef tree,
                                                                   CFOptionFlags options);
/* The file form. Null when the tree holds a type that property lists do not have, nests more than
 * 256 deep, has more than 2^20 values or needs more than 64 MiB, and for text with a zero
 * character. In XML also for text with another control character than tab, line feed and carriage
 * return or with U+FFFE or U+FFFF, and for dates outside the years 1000 to 9999: the binary form
 * takes these. XML dates are whole seconds, rounded down. options is not used. error is not used
 * and may be null. */
VELNOR_PLATFORM_API CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator,
                                                       CFPropertyListRef tree,
                                                       CFPropertyListFormat format,
                                                       CFOptionFlags options, CFTypeRef* error);
/* Reads either form. Null when the bytes are neither, are cut, nest more than 256 deep, hold more
 * than 2^20 values, or exceed 64 MiB. XML is UTF-8; of equal keys the last one counts.
 * error is not used and may be null; containers are mutable when options ask for it. */
VELNOR_PLATFORM_API CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator,
                                                                   CFDataRef data,
                                                                   CFOptionFlags options,
                                                                   CFPropertyListFormat* format,
                                                                   CFTypeRef* error);

VELNOR_END_C

#endif

// Immutable text. Thread any, concurrent, may block: all calls.
#ifndef VELNOR_PLATFORM_CFSTRING_H
#define VELNOR_PLATFORM_CFSTRING_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef UInt32 CFStringEncoding;
enum {
    kCFStringEncodingMacRoman = 0,   // the legacy system encoding's name; see below
    kCFStringEncodingASCII = 0x0600, // bytes of 128 and above do not convert
    kCFStringEncodingUTF8 = 0x08000100
};

// The encoding of narrow text that names none: kCFStringEncodingMacRoman.
VELNOR_PLATFORM_API CFStringEncoding CFStringGetSystemEncoding(void);

VELNOR_PLATFORM_API CFTypeID CFStringGetTypeID(void);

// Null when bytes is null or does not convert from the encoding.
VELNOR_PLATFORM_API CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator,
                                                          const char* bytes,
                                                          CFStringEncoding encoding);
VELNOR_PLATFORM_API CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator,
                                                        const UInt8* bytes, CFIndex length,
                                                        CFStringEncoding encoding,
                                                        Boolean isExternalRepresentation);
// Lone surrogates are refused with null.
VELNOR_PLATFORM_API CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator,
                                                             const UniChar* units, CFIndex count);

// UTF-16 units.
VELNOR_PLATFORM_API CFIndex CFStringGetLength(CFStringRef string);
// Writes range.length units; the range lies inside the string.
VELNOR_PLATFORM_API void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* units);

// Writes the text and its terminating zero; false, with buffer's content undefined, when the text
// does not convert or needs more than size bytes with its terminator, or holds a zero character.
VELNOR_PLATFORM_API Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                                               CFStringEncoding encoding);
// Bytes that a text of that many UTF-16 units may need in the encoding, terminator left out.
VELNOR_PLATFORM_API CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length,
                                                              CFStringEncoding encoding);

VELNOR_END_C

#endif

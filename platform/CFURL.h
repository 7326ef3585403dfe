// URLs: files and what a browser opens. Thread any, concurrent, may block: all calls.
#ifndef VELNOR_PLATFORM_CFURL_H
#define VELNOR_PLATFORM_CFURL_H

#include "platform/CFBase.h"
#include "platform/FileRef.h"

VELNOR_BEGIN_C

typedef const struct OpaqueCFURL* CFURLRef;
typedef CFIndex CFURLPathStyle;
enum { kCFURLPOSIXPathStyle = 0 };

VELNOR_PLATFORM_API CFTypeID CFURLGetTypeID(void);
// A relative path is taken from the current directory. Null for an empty path.
VELNOR_PLATFORM_API CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator,
                                                           CFStringRef path, CFURLPathStyle style,
                                                           Boolean isDirectory);
// The path as bytes: the form for names that are not UTF-8.
VELNOR_PLATFORM_API CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                                     const UInt8* path,
                                                                     CFIndex length,
                                                                     Boolean isDirectory);
// Null when the bytes are no URL with a scheme (RFC 3986). baseURL must be null.
VELNOR_PLATFORM_API CFURLRef CFURLCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes,
                                                  CFIndex length, UInt32 encoding,
                                                  CFURLRef baseURL);
// The whole URL, percent-encoded where it was made from a path.
VELNOR_PLATFORM_API CFStringRef CFURLGetString(CFURLRef url);
// The path of a file URL with its terminating zero; false when it is none or does not fit.
VELNOR_PLATFORM_API Boolean CFURLGetFileSystemRepresentation(CFURLRef url,
                                                             Boolean resolveAgainstBase,
                                                             UInt8* buffer, CFIndex size);
// False when nothing exists there. A directory URL resolves to an object of any kind.
VELNOR_PLATFORM_API Boolean CFURLGetFSRef(CFURLRef url, FSRef* ref);

VELNOR_END_C

#endif

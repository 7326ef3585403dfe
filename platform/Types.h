// Fixed-width scalar types, status codes and the linkage of the platform's calls. Valid C99 and
// C++.
#ifndef VELNOR_PLATFORM_TYPES_H
#define VELNOR_PLATFORM_TYPES_H

#include <stddef.h>
#include <stdint.h>

#define VELNOR_PLATFORM_API __attribute__((visibility("default")))
#ifdef __cplusplus
#define VELNOR_BEGIN_C extern "C" {
#define VELNOR_END_C }
#else
#define VELNOR_BEGIN_C
#define VELNOR_END_C
#endif

typedef uint8_t UInt8;
typedef int8_t SInt8;
typedef uint16_t UInt16;
typedef int16_t SInt16;
typedef uint32_t UInt32;
typedef int32_t SInt32;
typedef uint64_t UInt64;
typedef int64_t SInt64;
typedef float Float32;
typedef double Float64;
typedef uint16_t UniChar;
typedef unsigned long UniCharCount;
typedef unsigned char Boolean;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;

// Holds a record to its layout where it is declared.
#ifdef __cplusplus
#define VELNOR_ASSERT(condition) static_assert(condition)
#else
#define VELNOR_ASSERT(condition) extern char velnorAssertion[(condition) ? 1 : -1]
#endif
#define VELNOR_ASSERT_SIZE(record, size) VELNOR_ASSERT(sizeof(record) == (size))
#define VELNOR_ASSERT_OFFSET(record, field, at) VELNOR_ASSERT(offsetof(record, field) == (at))
#define VELNOR_BY_WIDTH(ilp32, lp64) (sizeof(void*) == 4 ? (ilp32) : (lp64))

// The code whose characters, first in the highest byte, are a, b, c, d.
#define VELNOR_FOUR_CHAR_CODE(a, b, c, d)                                                          \
    (((UInt32)(UInt8)(a) << 24) | ((UInt32)(UInt8)(b) << 16) | ((UInt32)(UInt8)(c) << 8) |         \
     (UInt32)(UInt8)(d))

enum {
    noErr = 0,
    paramErr = -50,
    permErr = -54,            // the file system refuses the access
    wrPermErr = -61,          // the file system refuses the write
    dirNFErr = -120,          // a folder on the way does not exist
    fnfErr = -43,             // no such file
    ioErr = -36,              // any other failure of the file system
    dskFulErr = -34,          // no space left
    bdNamErr = -37,           // a name is empty, too long or not allowed
    dupFNErr = -48,           // an object of that name exists already
    errFSNoMoreItems = -1417, // a catalog iteration has reached its end
    memFullErr = -108, // out of memory; calls that do not name it throw std::bad_alloc instead
    kLSApplicationNotFoundErr = -10814
};

#endif

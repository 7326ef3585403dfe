/* The running process and its user. */
#ifndef VELNOR_PLATFORM_PROCESS_H
#define VELNOR_PLATFORM_PROCESS_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
} ProcessSerialNumber;
enum { kNoProcess = 0, kCurrentProcess = 2 };

/* The base name of the executable's file, whole. psn is {0, kCurrentProcess}, else paramErr. The
 * caller releases the name. */
VELNOR_PLATFORM_API OSStatus CopyProcessName(const ProcessSerialNumber* psn, CFStringRef* name);
/* Replaces what CopyProcessName answers: null names the executable again, an empty text makes the
 * call fail. For host programs that run under an interpreter, and for tests. */
VELNOR_PLATFORM_API void PlatformSetProcessName(const char* name);
/* The login name (useShortName) or the full name of the user; the caller releases it. */
VELNOR_PLATFORM_API CFStringRef CSCopyUserName(Boolean useShortName);

VELNOR_END_C

#endif

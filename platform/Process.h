// The running process and its user.
#ifndef VELNOR_PLATFORM_PROCESS_H
#define VELNOR_PLATFORM_PROCESS_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

typedef struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
} ProcessSerialNumber;
enum { kNoProcess = 0, kCurrentProcess = 2 };
enum { procNotFound = -600 };

// The base name of the executable's file, whole. psn is {0, kCurrentProcess}, else paramErr;
// procNotFound when the name is empty. The caller releases the name. Thread any, concurrent, may
// block, as every call here.
VELNOR_PLATFORM_API OSStatus CopyProcessName(const ProcessSerialNumber* psn, CFStringRef* name);
// Replaces what CopyProcessName answers: null names the executable again, an empty text makes the
// call fail. For host programs that run under an interpreter, and for tests.
VELNOR_PLATFORM_API void PlatformSetProcessName(const char* name);
// The login name (useShortName) or the full name of the process's real user; the caller releases
// it. A user whom the system's database does not know has the name in LOGNAME or USER, else the
// number. Never null.
VELNOR_PLATFORM_API CFStringRef CSCopyUserName(Boolean useShortName);

VELNOR_END_C

#endif

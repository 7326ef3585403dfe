// Opening a URL with the user's program for it.
#ifndef VELNOR_PLATFORM_LAUNCHSERVICES_H
#define VELNOR_PLATFORM_LAUNCHSERVICES_H

#include "platform/CFURL.h"

VELNOR_BEGIN_C

// Does not wait for the program, which outlives this process. launched must be null, else paramErr.
// kLSApplicationNotFoundErr without an opener (xdg-open on the search path); ioErr when it cannot
// be started. No shell sees the URL. Thread any, concurrent, may block.
VELNOR_PLATFORM_API OSStatus LSOpenCFURLRef(CFURLRef url, CFURLRef* launched);

VELNOR_END_C

#endif

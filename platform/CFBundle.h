// Bundles: directories with Contents/Info.plist and Contents/PLATFORM/EXECUTABLE, where PLATFORM is
// i386-linux or x86_64-linux.
//
// Thread any, concurrent, may block: all calls. Loading runs the executable's own initialisers on
// the calling thread, and the last release its finalisers.
#ifndef VELNOR_PLATFORM_CFBUNDLE_H
#define VELNOR_PLATFORM_CFBUNDLE_H

#include "platform/CFBase.h"
#include "platform/CFDictionary.h"
#include "platform/CFURL.h"

VELNOR_BEGIN_C

typedef struct OpaqueCFBundle* CFBundleRef;

VELNOR_PLATFORM_API extern const CFStringRef kCFBundleVersionKey;    // "CFBundleVersion"
VELNOR_PLATFORM_API extern const CFStringRef kCFBundleExecutableKey; // "CFBundleExecutable"

VELNOR_PLATFORM_API CFTypeID CFBundleGetTypeID(void);
// Null when the URL names no directory with a readable Contents/Info.plist. There is one live
// object per directory: a second Create returns the same one, retained.
VELNOR_PLATFORM_API CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
VELNOR_PLATFORM_API CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
// Borrowed.
VELNOR_PLATFORM_API CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
VELNOR_PLATFORM_API CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle,
                                                                   CFStringRef key);
// Loads the executable of this width, symbols local, all of them resolved at once. Stays loaded
// while the bundle object lives.
VELNOR_PLATFORM_API Boolean CFBundleLoadExecutable(CFBundleRef bundle);
// Loads first when needed. Null when there is no such exported function.
VELNOR_PLATFORM_API void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);
// What the loader said when the last load or look-up of this bundle failed; empty when none did.
// Borrowed, until the next load or look-up of this bundle: exclusive with those. Not of the
// original interface.
VELNOR_PLATFORM_API const char* PlatformBundleGetLoadError(CFBundleRef bundle);

VELNOR_END_C

#endif

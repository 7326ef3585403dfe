// The process's loaded images: index 0 is the program, the others follow in load order. An index
// holds until an image is unloaded. Thread any, concurrent, may block: all calls.
#ifndef VELNOR_PLATFORM_LOADEDIMAGES_H
#define VELNOR_PLATFORM_LOADEDIMAGES_H

#include "platform/Types.h"

VELNOR_BEGIN_C

struct mach_header; // an image's first byte in memory; compared by address only

VELNOR_PLATFORM_API UInt32 _dyld_image_count(void);
// Null past the end.
VELNOR_PLATFORM_API const struct mach_header* _dyld_get_image_header(UInt32 index);
// The file's path; null past the end. Valid in this thread until its next call.
VELNOR_PLATFORM_API const char* _dyld_get_image_name(UInt32 index);
// The header of the image that holds this address; null when none does.
VELNOR_PLATFORM_API const struct mach_header* PlatformImageHeaderForAddress(const void* address);

VELNOR_END_C

#endif

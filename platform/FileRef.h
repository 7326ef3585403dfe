// References to objects of the file system that exist, and operations on them.
#ifndef VELNOR_PLATFORM_FILEREF_H
#define VELNOR_PLATFORM_FILEREF_H

#include "platform/Types.h"

VELNOR_BEGIN_C

// A plain value: the object's absolute path at the time it was resolved. Copied by assignment.
typedef struct FSRef {
    char path[4096];
} FSRef;

typedef UInt32 TextEncoding;
enum { kTextEncodingUnknown = 0xFFFF, kTextEncodingUTF8 = 0x08000100 };

// Resolves a path (bytes, relative ones from the current directory); links are followed. fnfErr (an
// empty path too), dirNFErr, permErr, bdNamErr (longer than the platform takes). isDirectory may be
// null. Thread any, concurrent, may block, as every call here.
VELNOR_PLATFORM_API OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);
// Writes the path with its terminating zero; bdNamErr when it needs more than size bytes.
VELNOR_PLATFORM_API OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 size);
// The child of a folder by name: UTF-16 units, at most 255, no "/", neither "." nor "..", else
// bdNamErr; fnfErr when there is none, dirNFErr when the parent is gone or no folder. The child is
// not followed when it is a link.
VELNOR_PLATFORM_API OSErr FSMakeFSRefUnicode(const FSRef* parent, UniCharCount length,
                                             const UniChar* name, TextEncoding hint, FSRef* ref);
// Makes a folder, open to whom the process's file mode mask lets in. info and spec must be null;
// ref and newDirID may be. bdNamErr and dirNFErr as above, dupFNErr, permErr, wrPermErr (read-only
// file system), dskFulErr, ioErr.
VELNOR_PLATFORM_API OSErr FSCreateDirectoryUnicode(const FSRef* parent, UniCharCount length,
                                                   const UniChar* name, UInt32 which,
                                                   const void* info, FSRef* ref, void* spec,
                                                   UInt32* newDirID);
VELNOR_END_C

#endif

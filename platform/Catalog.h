// Listing a folder's entries.
#ifndef VELNOR_PLATFORM_CATALOG_H
#define VELNOR_PLATFORM_CATALOG_H

#include "platform/FileRef.h"

VELNOR_BEGIN_C

typedef struct OpaqueFSIterator* FSIterator;
typedef UInt32 FSCatalogInfoBitmap;
enum { kFSCatInfoNone = 0, kFSCatInfoNodeFlags = 0x2, kFSCatInfoFinderInfo = 0x800 };
enum { kFSNodeIsDirectoryMask = 0x0010 };
enum { kFSIterateFlat = 0 };

typedef struct FSCatalogInfo {
    UInt16 nodeFlags;     // kFSNodeIsDirectoryMask: the entry itself is a directory, links are not
    UInt8 finderInfo[16]; // zero here
} FSCatalogInfo;

typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

// The caller closes the iterator. dirNFErr, permErr; flags other than kFSIterateFlat are paramErr.
// Thread any; one iterator is exclusive; may block.
VELNOR_PLATFORM_API OSStatus FSOpenIterator(const FSRef* folder, UInt32 flags,
                                            FSIterator* iterator);
// Up to maximum entries, "." and ".." left out, in the file system's order; errFSNoMoreItems with
// *actual below maximum at the end. Any other status is an entry that could not be read (bdNamErr:
// its path is too long), after the *actual ones before it. A name that is not UTF-8 has length 0.
// changed and specs must be null; infos, refs, names are arrays of maximum entries or null.
VELNOR_PLATFORM_API OSErr FSGetCatalogInfoBulk(FSIterator iterator, UInt32 maximum, UInt32* actual,
                                               Boolean* changed, FSCatalogInfoBitmap which,
                                               FSCatalogInfo* infos, FSRef* refs, void* specs,
                                               HFSUniStr255* names);
VELNOR_PLATFORM_API OSErr FSCloseIterator(FSIterator iterator);

VELNOR_END_C

#endif

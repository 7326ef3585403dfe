// The well-known folders.
#ifndef VELNOR_PLATFORM_FOLDERS_H
#define VELNOR_PLATFORM_FOLDERS_H

#include "platform/FileRef.h"

VELNOR_BEGIN_C

enum { kUserDomain = -32763 };
enum {
    kApplicationSupportFolderType = VELNOR_FOUR_CHAR_CODE('a', 's', 'u', 'p'), // XDG data home
    kDesktopFolderType = VELNOR_FOUR_CHAR_CODE('d', 'e', 's', 'k') // as user-dirs.dirs says
};

// domain is kUserDomain, createFolder false, else paramErr. fnfErr when the folder does not exist,
// is no folder, or cannot be named because there is no home: neither HOME nor the user database has
// one; permErr. Links are followed. Reads the environment at every call. Thread any, concurrent,
// may block.
VELNOR_PLATFORM_API OSErr FSFindFolder(SInt16 domain, OSType type, Boolean createFolder,
                                       FSRef* ref);

// Names the application-support folder whether it exists or not (not of the original interface; for
// tools that make it). fnfErr without a home, bdNamErr for a path that does not fit. Thread any,
// concurrent, may block.
VELNOR_PLATFORM_API OSErr PlatformNameDataHome(FSRef* ref);

// Names a folder for the data of all users (not of the original interface): the index-th of
// XDG_DATA_DIRS, most important first, whether it exists or not. fnfErr beyond the last, bdNamErr
// for a path that does not fit. Thread any, concurrent, may block.
VELNOR_PLATFORM_API OSErr PlatformNameDataFolder(UInt32 index, FSRef* ref);

VELNOR_END_C

#endif

// Copying an object of the file system.
#ifndef VELNOR_PLATFORM_FILECOPY_H
#define VELNOR_PLATFORM_FILECOPY_H

#include "platform/CFBase.h"
#include "platform/FileRef.h"

VELNOR_BEGIN_C

enum { kFSFileOperationDefaultOptions = 0, kFSFileOperationOverwrite = 1 };

// Copies source into the folder under the name (null: its own): a file with its permissions and
// date, a link as a link, or a folder with all that it holds. Works through a temporary name, so
// that no other process sees an unfinished copy, and a failure leaves none and an existing object
// untouched. target may be null.
// dupFNErr when the name exists and overwrite is not asked for; fnfErr (source), dirNFErr (folder),
// bdNamErr; permErr when the source cannot be read, wrPermErr when the folder cannot be written;
// dskFulErr; paramErr when the copy would hold itself or replace a folder that holds the source;
// ioErr, also for a folder with something else in it than files, links and folders.
// Thread any, concurrent, may block.
VELNOR_PLATFORM_API OSStatus FSCopyObjectSync(const FSRef* source, const FSRef* folder,
                                              CFStringRef name, FSRef* target, UInt32 options);

VELNOR_END_C

#endif

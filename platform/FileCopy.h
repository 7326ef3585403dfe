/* Copying an object of the file system. */
#ifndef VELNOR_PLATFORM_FILECOPY_H
#define VELNOR_PLATFORM_FILECOPY_H

#include "platform/CFBase.h"
#include "platform/FileRef.h"

VELNOR_BEGIN_C

enum { kFSFileOperationDefaultOptions = 0, kFSFileOperationOverwrite = 1 };

/* Copies source (a file with its permissions, or a folder with all that it holds) into the folder
 * under the name (null: its own), through a temporary name, so that a failure leaves no half copy
 * and an existing object untouched. dupFNErr when the name exists and overwrite is not asked for;
 * permErr, wrPermErr, dskFulErr, ioErr. target may be null. */
VELNOR_PLATFORM_API OSStatus FSCopyObjectSync(const FSRef* source, const FSRef* folder,
                                              CFStringRef name, FSRef* target, UInt32 options);

VELNOR_END_C

#endif

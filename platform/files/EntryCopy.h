// Copying an entry of one open folder into another.
#ifndef VELNOR_PLATFORM_FILES_ENTRYCOPY_H
#define VELNOR_PLATFORM_FILES_ENTRYCOPY_H

#include "platform/Types.h"

#include <string>

namespace velnor {

// Makes the entry targetName, which must not exist, of the folder target: a file with its
// permission bits and date, a link as a link, or a folder with all that it holds. Failures of
// reading and of writing have their own statuses; ioErr for anything that is none of the three.
// What a failure has left under the name is the caller's to remove.
OSErr CopyEntry(int source, const std::string& sourceName, int target,
                const std::string& targetName);

} // namespace velnor

#endif

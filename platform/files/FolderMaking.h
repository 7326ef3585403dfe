// Folders and files made for whom they belong to.
#ifndef VELNOR_PLATFORM_FILES_FOLDERMAKING_H
#define VELNOR_PLATFORM_FILES_FOLDERMAKING_H

#include <string>
#include <sys/types.h>

namespace velnor {

// Gives an open file that this process has made to the owner of another, where it may: only the
// administrator can. False when that fails.
bool TakeOwner(int fd, const std::string& model);

// Makes the folder and those above it, each for the owner of the one that it lies in; false when it
// is none afterwards.
bool MakeFolders(const std::string& path, mode_t mode);

} // namespace velnor

#endif

// What the file calls share.
#ifndef VELNOR_PLATFORM_FILES_FILESYSTEM_H
#define VELNOR_PLATFORM_FILES_FILESYSTEM_H

#include "platform/FileRef.h"

#include <cstddef>
#include <dirent.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// The status for an errno value, or 0, of a read access (permErr) or of a write access (wrPermErr).
OSErr StatusOfErrno(int error);
OSErr WriteStatusOfErrno(int error);

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using UniqueFolder = std::unique_ptr<DIR, CloseFolder>;

inline bool IsDotOrDotDot(std::string_view name) {
    return name == "." || name == "..";
}

// True for the name of a single entry: not empty, at most 255 bytes, no "/" or zero byte, and
// neither "." nor "..".
bool IsEntryName(std::string_view name);

// Names the entry of that name in the folder, which need not exist. bdNamErr when the name is none
// or the path grows too long.
OSErr MakeChildRef(const FSRef& folder, std::string_view name, FSRef& child);

// False when the path does not fit; ref is unchanged then.
bool AssignPath(FSRef& ref, std::string_view path);

bool IsFolder(const std::string& path);

// The path without links, "." and ".."; nothing when it names no object.
std::optional<std::string> CanonicalPath(const std::string& path);

// Where writing to the path leads: links at its end are followed, also to a file that does not
// exist. Nothing when they lead in a circle.
std::optional<std::string> FollowLinks(std::string path);

// The part before the last "/".
std::string FolderOf(const std::string& path);

// All of it, whatever pieces the system takes it in. Gives 0 or what errno says.
int WriteAll(int fd, std::string_view bytes);

// The content of a regular file of at most limit bytes; nothing otherwise, also for a device or a
// pipe, which it does not wait for.
std::optional<std::string> ReadRegularFile(const std::string& path, std::size_t limit);

} // namespace velnor

#endif

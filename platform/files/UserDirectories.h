// The user's named folders, as the desktop's tools write them to user-dirs.dirs.
#ifndef VELNOR_PLATFORM_FILES_USERDIRECTORIES_H
#define VELNOR_PLATFORM_FILES_USERDIRECTORIES_H

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// The XDG_DESKTOP_DIR of the user's user-dirs.dirs, else ~/Desktop; nothing without a home.
std::optional<std::string> DesktopFolder();

// The value that the content of such a file gives a key: lines KEY="$HOME/path" or KEY="/path", a
// backslash before a character that stands for itself, the last such line wins. The file is written
// for a shell but none reads it here; any other line counts as a comment.
std::optional<std::string> UserDirectory(std::string_view content, std::string_view key,
                                         const std::string& home);

} // namespace velnor

#endif

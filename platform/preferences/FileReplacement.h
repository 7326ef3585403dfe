// Replacement of a file as a whole.
#ifndef VELNOR_PLATFORM_PREFERENCES_FILEREPLACEMENT_H
#define VELNOR_PLATFORM_PREFERENCES_FILEREPLACEMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace velnor {

// Gives the path the content: readers see the old file or the new one at every moment, and so does
// the disk. The new file stands in the path's folder under the name ".velnor-preferences.new"
// before it takes its place, so that writers of one folder must exclude each other. It has the old
// file's permissions, else mode; made by the administrator, it belongs to the old file's owner,
// else to the folder's. Gives what the new file is known by; nothing, with the old file untouched,
// when the file system refuses.
std::optional<struct stat> ReplaceFile(const std::string& path, std::string_view content,
                                       mode_t mode);

// Makes sure that the file is found under another name of its folder too, NAME.damaged or
// NAME.damaged-2 and so on, before the path is replaced. False when that cannot be done.
bool KeepUnderOtherName(const std::string& path);

} // namespace velnor

#endif

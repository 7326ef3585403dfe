// The base folders of the XDG specification.
#ifndef VELNOR_PLATFORM_FILES_XDGFOLDERS_H
#define VELNOR_PLATFORM_FILES_XDGFOLDERS_H

#include <optional>
#include <string>
#include <vector>

namespace velnor {

// HOME, else the home in the user database; either where it is an absolute path.
std::optional<std::string> HomeFolder();

// XDG_DATA_HOME, else ~/.local/share; XDG_CONFIG_HOME, else ~/.config. A relative value counts as
// none. The folder need not exist.
std::optional<std::string> DataHomeFolder();
std::optional<std::string> ConfigHomeFolder();

// XDG_DATA_DIRS, else /usr/local/share and /usr/share; XDG_CONFIG_DIRS, else /etc/xdg: most
// important first, relative ones left out.
std::vector<std::string> DataFolders();
std::vector<std::string> ConfigFolders();

// The absolute paths of a list that is separated by colons.
std::vector<std::string> AbsolutePaths(const std::string& list);

} // namespace velnor

#endif

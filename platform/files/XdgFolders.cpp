#include "platform/files/XdgFolders.h"

#include "platform/files/UserDatabase.h"

#include <cstdlib>
#include <sstream>
#include <unistd.h>

namespace velnor {
namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::optional<std::string> UserFolder(const char* variable, const char* belowHome) {
    std::string value = Variable(variable);
    if (value.starts_with('/')) {
        return value;
    }
    const auto home = HomeFolder();
    return home ? std::optional(*home + belowHome) : std::nullopt;
}

std::vector<std::string> SystemFolders(const char* variable, const char* otherwise) {
    const std::string value = Variable(variable);
    return AbsolutePaths(value.empty() ? otherwise : value);
}

} // namespace

std::optional<std::string> HomeFolder() {
    std::string home = Variable("HOME");
    if (home.starts_with('/')) {
        return home;
    }
    const auto user = FindUser(getuid());
    return user && user->home.starts_with('/') ? std::optional(user->home) : std::nullopt;
}

std::optional<std::string> DataHomeFolder() {
    return UserFolder("XDG_DATA_HOME", "/.local/share");
}

std::optional<std::string> ConfigHomeFolder() {
    return UserFolder("XDG_CONFIG_HOME", "/.config");
}

std::vector<std::string> DataFolders() {
    return SystemFolders("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
}

std::vector<std::string> ConfigFolders() {
    return SystemFolders("XDG_CONFIG_DIRS", "/etc/xdg");
}

std::vector<std::string> AbsolutePaths(const std::string& list) {
    std::vector<std::string> paths;
    std::istringstream stream(list);
    for (std::string path; std::getline(stream, path, ':');) {
        if (path.starts_with('/')) {
            paths.push_back(path);
        }
    }
    return paths;
}

} // namespace velnor

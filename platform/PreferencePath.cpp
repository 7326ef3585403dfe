#include "platform/PreferencePath.h"

#include "platform/Percent.h"
#include "platform/XdgFolders.h"

#include <optional>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace velnor {
namespace {

const std::string& NodeName() {
    static const std::string name = [] {
        utsname system;
        return uname(&system) == 0 ? std::string(system.nodename) : std::string();
    }();
    return name;
}

/* The home of a process without HOME. */
std::optional<std::string> HomeInUserDatabase() {
    std::vector<char> buffer(16384);
    passwd entry;
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_dir == nullptr || found->pw_dir[0] != '/') {
        return std::nullopt;
    }
    return found->pw_dir;
}

std::optional<std::string> UserFolder() {
    if (auto folder = ConfigHomeFolder()) {
        return folder;
    }
    const auto home = HomeInUserDatabase();
    return home ? std::optional(*home + "/.config") : std::nullopt;
}

std::vector<std::string> Folders(bool anyUser) {
    if (anyUser) {
        return ConfigFolders();
    }
    const auto folder = UserFolder();
    return folder ? std::vector{*folder} : std::vector<std::string>();
}

/* A domain cannot lead out of the folder: it has no separator left. */
std::string FileName(std::string_view domain, bool anyHost) {
    const auto keep = [](unsigned char byte) {
        return byte >= 0x20 && byte != 0x7F && byte != '/' && byte != '%';
    };
    std::string name = PercentEncode(domain, keep);
    if (!anyHost) {
        name += '.' + PercentEncode(NodeName(), keep);
    }
    return name + ".plist";
}

} // namespace

std::vector<std::string> PreferencePaths(std::string_view domain, PreferenceScope scope) {
    if (domain.empty()) {
        return {};
    }
    const std::string name = FileName(domain, scope.anyHost);
    std::vector<std::string> paths = Folders(scope.anyUser);
    for (std::string& path : paths) {
        path += "/velnor/" + name;
    }
    return paths;
}

} // namespace velnor

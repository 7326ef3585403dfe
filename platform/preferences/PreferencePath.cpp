#include "platform/preferences/PreferencePath.h"

#include "platform/files/XdgFolders.h"
#include "platform/values/Percent.h"

#include <sys/utsname.h>

namespace velnor {
namespace {

const std::string& NodeName() {
    static const std::string name = [] {
        utsname system;
        return uname(&system) == 0 ? std::string(system.nodename) : std::string();
    }();
    return name;
}

std::vector<std::string> Folders(bool anyUser) {
    if (anyUser) {
        return ConfigFolders();
    }
    const auto folder = ConfigHomeFolder();
    return folder ? std::vector{*folder} : std::vector<std::string>();
}

bool IsPlain(unsigned char byte) {
    return byte >= 0x20 && byte != 0x7F && byte != '/' && byte != '%';
}

// Below the domains' folder. A domain cannot lead out of it: it has no separator left. A host has
// no
// "." left, so that no two pairs have one name.
std::string FileName(std::string_view domain, bool anyHost) {
    const std::string name = PercentEncode(domain, IsPlain);
    if (anyHost) {
        return name + ".plist";
    }
    const auto keep = [](unsigned char byte) { return IsPlain(byte) && byte != '.'; };
    return "ByHost/" + name + "." + PercentEncode(NodeName(), keep) + ".plist";
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

#include "platform/PreferencePath.h"

#include "platform/Percent.h"
#include "platform/XdgFolders.h"

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

#include "host/InstallChecks.h"

#include "bridge/OrmoEngine.h"
#include "host/ComponentFinder.h"
#include "host/Installation.h"
#include "host/JobError.h"
#include "host/PlatformText.h"
#include "host/Terminal.h"
#include "platform/CFBundle.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

/* The folder itself, or the one in which it will be made. */
void requireWritableFolder(fs::path folder) {
    std::error_code error;
    while (!fs::exists(fs::symlink_status(folder, error)) && folder.has_relative_path())
        folder = folder.parent_path();
    if (!fs::is_directory(folder, error))
        throw JobError(folder.string() + ": not a folder");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        throw JobError(folder.string() + ": " + std::strerror(errno));
}

void requireWritablePreferences(const std::string& domain) {
    const std::string path = preferencePath(domain);
    std::error_code error;
    if (fs::exists(path, error) && !fs::is_regular_file(path, error))
        throw JobError(path + ": not a file");
    if (fs::exists(path, error) && access(path.c_str(), R_OK) != 0)
        throw JobError(path + ": " + std::strerror(errno));
    if (!path.empty())
        requireWritableFolder(fs::path(path).parent_path());
}

} // namespace

void requireUtf8(const std::string& path) {
    if (!platformString(path))
        throw JobError(path + ": the path is not UTF-8, which preferences need");
}

void requireUtf8Home() {
    if (!platformString(dataHome()))
        throw JobError(dataHome() + ": the home folder's path is not UTF-8, which preferences "
                                    "need; set HOME or XDG_DATA_HOME to another");
}

void requireEngine(const std::string& path) {
    const CFRef<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, platformString(path).Get(), kCFURLPOSIXPathStyle, true));
    const CFRef<CFBundleRef> bundle(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
    if (!bundle)
        throw JobError(path + ": not an engine bundle: it has no readable Contents/Info.plist");
    if (!CFBundleGetFunctionPointerForName(bundle.Get(), platformString(ORMO_ENTRY_NAME).Get()))
        throw JobError(path +
                       ": the engine does not load: " + PlatformBundleGetLoadError(bundle.Get()));
}

void requireDataFolder(const std::string& path) {
    std::error_code error;
    if (!fs::is_directory(path, error))
        throw JobError(path + ": not a folder; name the folder with the engine's sounds");
    if (path.size() >= kOrmoDataDirSize)
        throw JobError(path + ": the path is too long; " + std::to_string(kOrmoDataDirSize - 1) +
                       " bytes are the most");
}

void requireWritableTargets(const ProductNames& names) {
    requireWritableFolder(componentsFolder());
    requireWritableFolder(enginesFolder());
    requireWritablePreferences(kEngineDomain);
    requireWritablePreferences(names.domain());
}

void warnOfSameCodes(const std::string& component) {
    const std::vector<Component> installed = installedComponents();
    const ComponentDescription codes = descriptionOf(findInstrument(component));
    const std::string copy = componentsFolder() + "/" + fs::path(component).filename().string();
    for (Component other : installed) {
        const ComponentDescription its = descriptionOf(other);
        const std::string path = bundlePathOf(other);
        std::error_code error;
        if (its.componentType == codes.componentType &&
            its.componentSubType == codes.componentSubType &&
            its.componentManufacturer == codes.componentManufacturer &&
            !fs::equivalent(path, component, error) && !fs::equivalent(path, copy, error))
            printNotice(path + " has the same codes, subtype " + codeText(codes.componentSubType) +
                        ": hosts find only one of the two");
    }
}

} // namespace velnor::host

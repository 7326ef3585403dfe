#include "host/install/InstallChecks.h"

#include "bridge/OrmoEngine.h"
#include "host/install/Installation.h"
#include "host/install/PreferenceCheck.h"
#include "host/instrument/ComponentFinder.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "host/job/Terminal.h"
#include "platform/CFBundle.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

// The folder itself, or the one in which it will be made.
void requireWritableFolder(fs::path folder) {
    std::error_code error;
    while (!fs::exists(fs::symlink_status(folder, error)) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    if (!fs::is_directory(folder, error)) {
        throw JobError(folder.string() + ": not a folder");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw JobError(folder.string() + ": " + std::strerror(errno));
    }
}

std::string infoText(CFBundleRef bundle, CFStringRef key) {
    const CFTypeRef value = CFBundleGetValueForInfoDictionaryKey(bundle, key);
    const bool isText = value && CFGetTypeID(value) == CFStringGetTypeID();
    return isText ? textOf(static_cast<CFStringRef>(value)) : "unnamed";
}

// What tells one engine from another: its identifier and version.
std::string engineName(const std::string& path) {
    const CFRef<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, platformString(path).Get(), kCFURLPOSIXPathStyle, true));
    const CFRef<CFBundleRef> bundle(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
    return bundle ? infoText(bundle.Get(), platformString("CFBundleIdentifier").Get()) + " " +
                        infoText(bundle.Get(), platformString("CFBundleVersion").Get())
                  : "";
}

// Those of the user and of all users, whether a search finds them or another of the same codes.
std::vector<fs::path> componentBundles() {
    std::vector<std::string> folders = sharedFolders("Components");
    folders.push_back(componentsFolder());
    std::vector<fs::path> bundles;
    for (const std::string& folder : folders) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error)) {
            bundles.push_back(entry.path());
        }
    }
    return bundles;
}

// The products of the installed bundles but for one, as "Acme Piano 3, Tavo Tarn 12".
std::string productsBeside(const std::string& component) {
    std::set<std::string> products;
    const std::string copy = componentsFolder() + "/" + fs::path(component).filename().string();
    for (const fs::path& bundle : componentBundles()) {
        std::error_code error;
        if (fs::equivalent(bundle, component, error) || bundle == copy) {
            continue;
        }
        try {
            const ProductNames names = productOfBundle(bundle);
            products.insert(names.vendor + " " + names.product);
        } catch (const JobError&) { // no product of ours
        }
    }
    std::string text;
    for (const std::string& product : products) {
        text += (text.empty() ? "" : ", ") + product;
    }
    return text;
}

} // namespace

void requirePreferencePath(const std::string& path) {
    if (!platformString(path)) {
        throw JobError(path + ": the path is not UTF-8, which preferences need");
    }
    if (path.find('\n') != std::string::npos) {
        throw JobError(path + ": the path holds a line feed");
    }
}

void requireUtf8Home() {
    if (!platformString(dataHome())) {
        throw JobError(dataHome() + ": the home folder's path is not UTF-8, which preferences "
                                    "need; set HOME or XDG_DATA_HOME to another");
    }
}

void requireEngine(const std::string& path) {
    const CFRef<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, platformString(path).Get(), kCFURLPOSIXPathStyle, true));
    const CFRef<CFBundleRef> bundle(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
    if (!bundle) {
        throw JobError(path + ": not an engine bundle: it has no readable Contents/Info.plist");
    }
    if (!CFBundleGetFunctionPointerForName(bundle.Get(), platformString(ORMO_ENTRY_NAME).Get())) {
        throw JobError(path +
                       ": the engine does not load: " + PlatformBundleGetLoadError(bundle.Get()));
    }
}

void requireDataFolder(const std::string& path) {
    std::error_code error;
    if (!fs::is_directory(path, error)) {
        throw JobError(path + ": not a folder; name the folder with the engine's sounds");
    }
    if (path.size() >= kOrmoDataDirSize) {
        throw JobError(path + ": the path is too long; " + std::to_string(kOrmoDataDirSize - 1) +
                       " bytes are the most");
    }
}

void requireWritablePreferences(const std::string& domain) {
    const std::string path = preferencePath(domain);
    std::error_code error;
    if (fs::exists(path, error) && !fs::is_regular_file(path, error)) {
        throw JobError(path + ": not a file");
    }
    if (fs::exists(path, error) && access(path.c_str(), R_OK) != 0) {
        throw JobError(path + ": " + std::strerror(errno));
    }
    if (const PreferenceCheck check = checkPreferenceFile(path);
        check.trouble == PreferenceTrouble::foreign) {
        throw JobError(check.problem);
    }
    if (!path.empty()) {
        requireWritableFolder(fs::path(path).parent_path());
    }
}

void requireWritableTargets(const ProductNames& names) {
    for (const std::string& folder : {componentsFolder(), enginesFolder(), receiptsFolder()}) {
        std::error_code error;
        if (fs::is_symlink(folder, error)) {
            throw JobError(folder + ": it is a link; install needs a folder of its own there");
        }
        requireWritableFolder(folder);
    }
    requireWritablePreferences(ORMO_ENGINE_DOMAIN);
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
            !fs::equivalent(path, component, error) && !fs::equivalent(path, copy, error)) {
            printNotice(path + " has the same codes, subtype " + codeText(codes.componentSubType) +
                        ": hosts find only one of the two");
        }
    }
}

void warnOfOthersWithEngine(const std::string& component, const std::string& engine,
                            const std::string& path) {
    const std::string others = productsBeside(component);
    const std::string before = searchPreference(ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY);
    if (others.empty() || before.empty()) {
        return;
    }
    const std::string start =
        "all products share one engine: that of " + others + " changes, too, ";
    if (before != path) {
        printNotice(start + "from " + before + " to " + path);
    } else if (engineName(path) != engineName(engine)) {
        printNotice(start + "from " + engineName(path) + " to " + engineName(engine) + " at " +
                    path);
    }
}

} // namespace velnor::host

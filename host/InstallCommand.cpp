#include "host/InstallCommand.h"

#include "bridge/OrmoEngine.h"
#include "host/ComponentFinder.h"
#include "host/Installation.h"
#include "host/JobError.h"
#include "host/PartialFile.h"
#include "host/PlatformText.h"
#include "host/ProductFile.h"
#include "platform/CFBundle.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

std::string absolutePath(const std::string& path) {
    std::string absolute = fs::absolute(path).lexically_normal();
    while (absolute.size() > 1 && absolute.back() == '/')
        absolute.pop_back();
    return absolute;
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

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '"')
            out += "&quot;";
        else
            out += c;
    }
    return out;
}

void writeSetupFile(const std::string& data, const ProductNames& names) {
    const std::string path = data + ORMO_SETUP_FILE;
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (error)
        throw JobError(path + ": " + error.message());
    if (exists)
        return;
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<OrmoSetup>\n"
                             "    <Property name=\"vendor\" value=\"" +
                             escaped(names.vendor) +
                             "\"/>\n    <Property name=\"product\" value=\"" +
                             escaped(names.product) + "\"/>\n</OrmoSetup>\n";
    PartialFile file(path);
    errno = 0;
    if (write(file.descriptor(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw JobError(path + ": " + std::strerror(errno != 0 ? errno : ENOSPC));
    file.commit();
}

void removeTree(const std::string& path) {
    std::error_code error;
    if (fs::remove_all(path, error) == static_cast<std::uintmax_t>(-1))
        throw JobError(path + ": " + error.message());
}

} // namespace

void installCommand(const InstallOptions& options) {
    const std::string component = absolutePath(options.component);
    const std::string engine = absolutePath(options.engine);
    const std::string data = absolutePath(options.data);
    const ProductNames names = productOfBundle(component);
    requireEngine(engine);
    requireDataFolder(data);

    const std::string installed = copyBundle(component, componentsFolder());
    const std::string installedEngine = copyBundle(engine, enginesFolder());
    writePreference(kEngineDomain, kEnginePathKey, installedEngine);
    writePreference(names.domain(), kDataDirKey, data);
    if (options.writeSetup)
        writeSetupFile(data, names);
    std::printf("%s %s: %s\nengine: %s\ndata: %s\n", names.vendor.c_str(), names.product.c_str(),
                installed.c_str(), installedEngine.c_str(), data.c_str());
}

void uninstallCommand(const std::string& word) {
    const std::string component = bundlePathOf(findInstrument(word));
    if (fs::path(component).parent_path() != componentsFolder())
        throw JobError(component + ": not installed by this user; only what lies in " +
                       componentsFolder() + " is removed");
    const ProductNames names = productOfBundle(component);
    removeTree(component);
    writePreference(names.domain(), kDataDirKey, "");
    std::printf("removed %s\n", component.c_str());
    const bool othersLeft = !fs::is_empty(componentsFolder());
    const std::string engine = readPreference(kEngineDomain, kEnginePathKey);
    if (othersLeft || fs::path(engine).parent_path() != enginesFolder())
        return;
    removeTree(engine);
    writePreference(kEngineDomain, kEnginePathKey, "");
    std::printf("removed %s\n", engine.c_str());
}

} // namespace velnor::host

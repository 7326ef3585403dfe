#include "host/commands/InstallCommand.h"

#include "bridge/OrmoEngine.h"
#include "host/install/BundleInstall.h"
#include "host/install/InstallChecks.h"
#include "host/install/Installation.h"
#include "host/install/ProductFile.h"
#include "host/job/JobError.h"
#include "host/job/PartialFile.h"
#include "host/job/Terminal.h"

#include <filesystem>
#include <memory>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kComponentExtension = ".component";

std::string absolutePath(const std::string& path) {
    std::string absolute = fs::absolute(path).lexically_normal();
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else if (c == '"') {
            out += "&quot;";
        } else {
            out += c;
        }
    }
    return out;
}

// Complete but for its name, so that nothing of it can fail late; null where there is one.
std::unique_ptr<PartialFile> makeSetupFile(const std::string& data, const ProductNames& names) {
    const std::string path = data + ORMO_SETUP_FILE;
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (error) {
        throw JobError(path + ": " + error.message());
    }
    if (exists) {
        return nullptr;
    }
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<OrmoSetup>\n"
                             "    <Property name=\"vendor\" value=\"" +
                             escaped(names.vendor) +
                             "\"/>\n    <Property name=\"product\" value=\"" +
                             escaped(names.product) + "\"/>\n</OrmoSetup>\n";
    auto file = std::make_unique<PartialFile>(path);
    file->write(text);
    return file;
}

} // namespace

void installCommand(const InstallOptions& options) {
    const std::string component = absolutePath(options.component);
    const std::string engine = absolutePath(options.engine);
    const std::string data = absolutePath(options.data);
    for (const std::string& path : {component, engine, data}) {
        requirePreferencePath(path);
    }
    requireUtf8Home();
    const ProductNames names = productOfBundle(component);
    if (fs::path(component).extension() != kComponentExtension) {
        throw JobError(component + ": hosts find a component only when its name ends in " +
                       kComponentExtension);
    }
    BundleInstall componentInstall(component, componentsFolder());
    BundleInstall engineInstall(engine, enginesFolder());
    requireEngine(engine);
    requireDataFolder(data);
    requireWritableTargets(names);
    componentInstall.warnOfReplaced();
    engineInstall.warnOfReplaced();
    warnOfSameCodes(component);
    warnOfOthersWithEngine(component, engine, engineInstall.path());
    const std::unique_ptr<PartialFile> setup =
        options.writeSetup ? makeSetupFile(data, names) : nullptr;

    componentInstall.prepare(names.domain(), data);
    engineInstall.prepare();
    componentInstall.commit();
    engineInstall.commit();
    writePreference(ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY, engineInstall.path());
    writePreference(names.domain(), ORMO_DATA_DIR_KEY, data);
    if (setup) {
        setup->commit();
    }
    printLine(names.vendor + " " + names.product + ": " + componentInstall.path());
    printLine("engine: " + engineInstall.path());
    printLine("data: " + data);
}

} // namespace velnor::host

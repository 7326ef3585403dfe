#include "host/InstallCommand.h"

#include "bridge/OrmoEngine.h"
#include "host/ComponentFinder.h"
#include "host/InstallChecks.h"
#include "host/Installation.h"
#include "host/JobError.h"
#include "host/PartialFile.h"
#include "host/ProductFile.h"
#include "host/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kComponentExtension = ".component";
constexpr const char* kEngineExtension = ".engine";

std::string absolutePath(const std::string& path) {
    std::string absolute = fs::absolute(path).lexically_normal();
    while (absolute.size() > 1 && absolute.back() == '/')
        absolute.pop_back();
    return absolute;
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

/* Complete but for its name, so that nothing of it can fail late; null where there is one. */
std::unique_ptr<PartialFile> makeSetupFile(const std::string& data, const ProductNames& names) {
    const std::string path = data + ORMO_SETUP_FILE;
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (error)
        throw JobError(path + ": " + error.message());
    if (exists)
        return nullptr;
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<OrmoSetup>\n"
                             "    <Property name=\"vendor\" value=\"" +
                             escaped(names.vendor) +
                             "\"/>\n    <Property name=\"product\" value=\"" +
                             escaped(names.product) + "\"/>\n</OrmoSetup>\n";
    auto file = std::make_unique<PartialFile>(path);
    errno = 0;
    if (write(file->descriptor(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw JobError(path + ": " + std::strerror(errno != 0 ? errno : ENOSPC));
    return file;
}

void removeTree(const std::string& path) {
    std::error_code error;
    if (fs::remove_all(path, error) == static_cast<std::uintmax_t>(-1))
        throw JobError(path + ": " + error.message());
}

bool isBundle(const fs::directory_entry& entry, const char* extension) {
    return entry.path().extension() == extension;
}

/* The path of an installed bundle that does not say what it is any more: word is its path, its name
 * in the folder, or empty when it lies there alone. Empty when there is none. */
std::string damagedBundle(const std::string& word) {
    std::error_code error;
    const fs::path folder = componentsFolder();
    if (!word.empty()) {
        const fs::path named =
            absolutePath(word.find('/') == std::string::npos ? folder / word : fs::path(word));
        return named.extension() == kComponentExtension &&
                       fs::exists(fs::symlink_status(named, error))
                   ? named.string()
                   : "";
    }
    std::string found;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (!isBundle(entry, kComponentExtension))
            continue;
        if (!found.empty())
            return "";
        found = entry.path();
    }
    return found;
}

std::string bundleOf(const std::string& word) {
    try {
        return bundlePathOf(findInstrument(word));
    } catch (const JobError&) {
        const std::string path = damagedBundle(word);
        if (path.empty())
            throw;
        return path;
    }
}

/* Nothing when it does not say any more. */
std::optional<ProductNames> productOf(const std::string& component) {
    try {
        return productOfBundle(component);
    } catch (const JobError& error) {
        printNotice(std::string(error.what()) +
                    " (damaged; the preference that names its data stays)");
        return std::nullopt;
    }
}

/* Every engine that install copied; earlier ones lie there, too. */
void removeEngines() {
    std::error_code error;
    const fs::path folder = enginesFolder();
    std::vector<fs::path> engines;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        if (isBundle(entry, kEngineExtension))
            engines.push_back(entry.path());
    const fs::path chosen = readPreference(kEngineDomain, kEnginePathKey);
    const bool isOurs = chosen.parent_path() == folder;
    if (isOurs && chosen.extension() != kEngineExtension)
        engines.push_back(chosen);
    for (const fs::path& engine : engines) {
        removeTree(engine);
        std::printf("removed %s\n", engine.c_str());
    }
    if (isOurs)
        writePreference(kEngineDomain, kEnginePathKey, "");
}

} // namespace

void installCommand(const InstallOptions& options) {
    const std::string component = absolutePath(options.component);
    const std::string engine = absolutePath(options.engine);
    const std::string data = absolutePath(options.data);
    for (const std::string& path : {component, engine, data})
        requireUtf8(path);
    requireUtf8Home();
    const ProductNames names = productOfBundle(component);
    if (fs::path(component).extension() != kComponentExtension)
        throw JobError(component + ": hosts find a component only when its name ends in " +
                       kComponentExtension);
    requireEngine(engine);
    requireDataFolder(data);
    requireWritableTargets(names);
    warnOfSameCodes(component);
    const std::unique_ptr<PartialFile> setup =
        options.writeSetup ? makeSetupFile(data, names) : nullptr;

    const std::string installed = copyBundle(component, componentsFolder());
    const std::string installedEngine = copyBundle(engine, enginesFolder());
    writePreference(kEngineDomain, kEnginePathKey, installedEngine);
    writePreference(names.domain(), kDataDirKey, data);
    if (setup)
        setup->commit();
    std::printf("%s %s: %s\nengine: %s\ndata: %s\n", names.vendor.c_str(), names.product.c_str(),
                installed.c_str(), installedEngine.c_str(), data.c_str());
}

void uninstallCommand(const std::string& word) {
    const std::string component = bundleOf(word);
    std::error_code error;
    const fs::path folder = componentsFolder();
    if (!fs::equivalent(fs::path(component).parent_path(), folder, error))
        throw JobError(component + ": not installed by this user; only what lies in " +
                       folder.string() + " is removed");
    const std::optional<ProductNames> names = productOf(component);
    removeTree(component);
    if (names)
        writePreference(names->domain(), kDataDirKey, "");
    std::printf("removed %s\n", component.c_str());
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        if (isBundle(entry, kComponentExtension))
            return;
    removeEngines();
}

} // namespace velnor::host

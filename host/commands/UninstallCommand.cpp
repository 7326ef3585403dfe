#include "host/commands/UninstallCommand.h"

#include "bridge/OrmoEngine.h"
#include "host/install/BundleRemoval.h"
#include "host/install/InstallChecks.h"
#include "host/install/Installation.h"
#include "host/install/PreferenceCheck.h"
#include "host/install/ProductFile.h"
#include "host/install/Receipt.h"
#include "host/instrument/ComponentFinder.h"
#include "host/job/JobError.h"
#include "host/job/ShellWord.h"
#include "host/job/Terminal.h"

#include <algorithm>
#include <filesystem>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kComponentExtension = ".component";
constexpr const char* kEngineExtension = ".engine";

using Names = std::vector<std::string>;

std::string componentPath(const std::string& name) {
    return componentsFolder() + "/" + name;
}

Names bundlesIn(const std::string& folder, const char* extension) {
    Names names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        std::error_code unreadable;
        const fs::path& path = entry.path();
        if (path.extension() == extension && fs::exists(path / "Contents/Info.plist", unreadable)) {
            names.push_back(path.filename());
        }
    }
    return names;
}

// The bundles that lie in the user's folder or have a receipt, ascending.
Names installedBundles(const std::string& folder, const char* extension) {
    Names names = receiptedBundles(folder);
    const Names lying = bundlesIn(folder, extension);
    names.insert(names.end(), lying.begin(), lying.end());
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

Names installedNames() {
    return installedBundles(componentsFolder(), kComponentExtension);
}

// The name of the bundle at a path, which install must have put or left there.
std::string nameAt(const fs::path& path) {
    const std::string name = path.filename();
    std::error_code error;
    if (path.extension() == kComponentExtension) {
        if (fs::equivalent(path.parent_path(), componentsFolder(), error)) {
            return name;
        }
        const std::optional<Receipt> receipt = readReceipt(componentsFolder(), name);
        if (receipt && fs::path(receipt->path) == path) {
            return name;
        }
    }
    throw JobError(path.string() + ": not installed by this user");
}

std::string onlyName() {
    const Names names = installedNames();
    if (names.empty()) {
        throw JobError("nothing is installed by this user");
    }
    if (names.size() == 1) {
        return names.front();
    }
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    throw JobError("several components are installed; name one: " + list, kExitUsage);
}

std::string nameOfWord(const std::string& word) {
    if (word.empty()) {
        return onlyName();
    }
    if (word.find('/') != std::string::npos) {
        return nameAt(fs::path(fs::absolute(word).lexically_normal().string() + "/").parent_path());
    }
    if (!word.ends_with(kComponentExtension)) {
        return nameAt(bundlePathOf(findInstrument(word)));
    }
    const Names names = installedNames();
    if (std::find(names.begin(), names.end(), word) == names.end()) {
        throw JobError(word + ": not installed by this user");
    }
    return word;
}

// A component that an earlier version installed, or someone by hand: it cannot be told which.
[[noreturn]] void refuseWithoutReceipt(const std::string& name) {
    const std::string path = componentPath(name);
    printLine("What is there, should you want to remove it by hand:");
    printLine("  rm -r " + shellWord(path));
    try {
        printLine("  key " ORMO_DATA_DIR_KEY " in " +
                  preferencePath(productOfBundle(path).domain()));
    } catch (const JobError&) { // it does not say which product it is
    }
    if (installedNames().size() == 1) {
        for (const std::string& engine : installedBundles(enginesFolder(), kEngineExtension)) {
            printLine("  rm -r " + shellWord(enginesFolder() + "/" + engine));
        }
        printLine("  key " ORMO_ENGINE_PATH_KEY " in " + preferencePath(ORMO_ENGINE_DOMAIN));
    }
    throw JobError(path + ": there is no receipt of its installation, so nothing was removed; "
                          "install it again, and it can be uninstalled");
}

// A bundle, and the preference that install wrote for it.
struct Part {
    std::string folder;
    std::string name;
    std::optional<Receipt> receipt; // what has none stays
    std::string domain;
    const char* key;
    std::string value; // empty: another component needs it

    std::string path() const { return folder + "/" + name; }
    bool wasCopied() const { return receipt && !receipt->entries.empty(); }
};

void takeBackBundle(const Part& part) {
    if (!part.receipt) {
        return printLine(part.path() + " stays: there is no receipt of it");
    }
    if (!part.wasCopied()) {
        return printLine(part.receipt->path + " was not copied by install and stays");
    }
    switch (removeBundle(part.folder, part.name, part.receipt->entries)) {
    case Removal::kDone:
        return printLine("removed " + part.path());
    case Removal::kGone:
        return printLine(part.path() + " is gone already");
    case Removal::kHoldsMore:
        return printLine(part.path() + " stays: it holds more than install copied");
    }
}

// The value that install wrote; another stays.
void takeBackPreference(const std::string& domain, const char* key, const std::string& value) {
    const PreferenceCheck check = checkPreferenceFile(preferencePath(domain));
    if (check.trouble == PreferenceTrouble::foreign ||
        check.trouble == PreferenceTrouble::unreadable) {
        printNotice(check.problem + "; if the setting " + key + " is in it, it stays");
    } else if (!value.empty() && readPreference(domain, key) == value) {
        writePreference(domain, key, "");
    }
}

bool hasDomain(const std::string& bundleName, const std::string& domain) {
    try {
        const std::optional<Receipt> receipt = readReceipt(componentsFolder(), bundleName);
        return receipt && receipt->domain == domain;
    } catch (const JobError&) {
        return false;
    }
}

bool isDomainOfOthers(const std::string& domain, const Names& others) {
    return std::any_of(others.begin(), others.end(),
                       [&](const std::string& other) { return hasDomain(other, domain); });
}

// With the last component go the engines.
std::vector<Part> partsOf(const std::string& name, const Receipt& receipt, const Names& others) {
    const bool isShared = isDomainOfOthers(receipt.domain, others);
    std::vector<Part> parts = {{componentsFolder(), name, receipt, receipt.domain,
                                ORMO_DATA_DIR_KEY, isShared ? "" : receipt.baseDir}};
    if (!others.empty()) {
        return parts;
    }
    for (const std::string& engine : installedBundles(enginesFolder(), kEngineExtension)) {
        const std::optional<Receipt> its = readReceipt(enginesFolder(), engine);
        parts.push_back({enginesFolder(), engine, its, ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY,
                         its ? its->path : ""});
    }
    return parts;
}

void requireTakingBack(const Part& part) {
    if (part.wasCopied()) {
        requireRemovable(part.folder, part.name);
    }
    if (!part.value.empty() && readPreference(part.domain, part.key) == part.value) {
        requireWritablePreferences(part.domain);
    }
}

} // namespace

void uninstallCommand(const std::string& word) {
    const std::string name = nameOfWord(word);
    const std::optional<Receipt> receipt = readReceipt(componentsFolder(), name);
    if (!receipt) {
        refuseWithoutReceipt(name);
    }
    Names others = installedNames();
    std::erase(others, name);
    const std::vector<Part> parts = partsOf(name, *receipt, others);
    std::for_each(parts.begin(), parts.end(), requireTakingBack);
    for (const Part& part : parts) {
        takeBackBundle(part);
        takeBackPreference(part.domain, part.key, part.value);
    }
    // The component's is the last, so that what failed can be repeated.
    std::for_each(parts.rbegin(), parts.rend(),
                  [](const Part& part) { removeReceipt(part.folder, part.name); });
}

} // namespace velnor::host

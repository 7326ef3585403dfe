#include "host/commands/DoctorCommand.h"

#include "bridge/OrmoEngine.h"
#include "host/install/InstallChecks.h"
#include "host/install/Installation.h"
#include "host/install/NextStep.h"
#include "host/install/PreferenceCheck.h"
#include "host/install/ProductFile.h"
#include "host/install/SetupFileCheck.h"
#include "host/instrument/ComponentFinder.h"
#include "host/instrument/Instrument.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "host/job/Terminal.h"
#include "platform/CFBundle.h"
#include "platform/CFDictionary.h"
#include "platform/CFPreferences.h"
#include "support/ProductDomain.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLogLines = 8;

// Facts as they are found; the first that is wrong is what the last sentence names.
class Findings {
public:
    void good(const std::string& what) { printLine("ok  " + what); }
    void note(const std::string& what) { printLine("    " + what); }
    void bad(const std::string& what, const std::string& remedy) {
        printLine("!!  " + what);
        if (mRemedy.empty()) {
            mRemedy = remedy;
        }
    }
    bool conclude(const std::string& name) const {
        printLine("");
        if (mRemedy.empty()) {
            printLine(name + " is ready to play.");
        } else {
            printLine(name + " will not play: " + mRemedy + ".");
        }
        return mRemedy.empty();
    }

private:
    std::string mRemedy;
};

// The user's. False when nothing can be read of it, which is bad where the value is needed.
bool examinePreferenceFile(Findings& findings, const std::string& domain, bool isNeeded) {
    const std::string path = preferencePath(domain);
    const PreferenceCheck check = checkPreferenceFile(path);
    std::error_code error;
    if (check.trouble != PreferenceTrouble::none && !isNeeded) {
        findings.note(check.problem);
        return false;
    }
    switch (check.trouble) {
    case PreferenceTrouble::none:
        findings.note(path + (fs::exists(path, error) ? "" : " (not there)"));
        break;
    case PreferenceTrouble::damaged:
        findings.bad(check.problem,
                     "the preferences in " + path + " are damaged; install it again");
        break;
    case PreferenceTrouble::foreign:
        findings.bad(check.problem, "the preferences in " + path +
                                        " can be read by other programs only; save them as an XML "
                                        "property list in UTF-8, or move the file away and install "
                                        "it again");
        break;
    case PreferenceTrouble::unreadable:
        findings.bad(check.problem, path +
                                        " cannot be read; give yourself access to it, or move it "
                                        "away and install it again");
        break;
    }
    return check.trouble == PreferenceTrouble::none;
}

// The value that the instrument reads. Empty when there is none: what is wrong then is said.
std::string examinePreference(Findings& findings, const std::string& domain, const char* key,
                              const std::string& command) {
    const std::string value = searchPreference(domain, key);
    const bool isSound = examinePreferenceFile(findings, domain, value.empty());
    if (value.empty() && isSound) {
        findings.bad(std::string(key) + " is not set", "it is not set up for you; run: " + command);
    } else if (readPreference(domain, key) != value) {
        findings.note(std::string(key) + " is that of this host, or of all users");
    }
    return value;
}

// command sets the component up.
void examineData(Findings& findings, const ProductNames& names, const std::string& command) {
    findings.note("preferences of the product:");
    const std::string data =
        examinePreference(findings, names.domain(), ORMO_DATA_DIR_KEY, command);
    if (data.empty()) {
        return;
    }
    std::error_code error;
    if (!fs::is_directory(data, error)) {
        return findings.bad("base_dir: " + data + " is no folder",
                            "the sounds' folder is gone; install again with --data DIR");
    }
    findings.good("base_dir: " + data);
    const std::string problem = checkSetupFile(data + ORMO_SETUP_FILE, names);
    if (problem.empty()) {
        findings.good("setup file: " + data + ORMO_SETUP_FILE);
    } else {
        findings.note("setup file: " + data + ORMO_SETUP_FILE + ": " + problem);
    }
}

std::string versionOf(OrmoOpcodeProc proc) {
    char text[kOrmoVersionTextSize + 1] = {};
    proc(0, kOpGetVersion, reinterpret_cast<OrmoWord>(text), 0, 0, 0, 0, 0, 0);
    return text;
}

void examineEngine(Findings& findings, const std::string& command) {
    findings.note("preferences of the engine:");
    const std::string path =
        examinePreference(findings, ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY, command);
    if (path.empty()) {
        return;
    }
    const CFRef<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, platformString(path).Get(), kCFURLPOSIXPathStyle, true));
    const CFRef<CFBundleRef> bundle(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
    if (!bundle) {
        return findings.bad("engine: " + path + " is no bundle",
                            "the engine is gone; install it again with --engine BUNDLE");
    }
    void* entry =
        CFBundleGetFunctionPointerForName(bundle.Get(), platformString(ORMO_ENTRY_NAME).Get());
    if (!entry) {
        return findings.bad("engine: " + path + ": " + PlatformBundleGetLoadError(bundle.Get()),
                            "the engine does not load; install one for this machine");
    }
    findings.good("engine: " + path + ", version " +
                  versionOf(reinterpret_cast<OrmoOpcodeProc>(entry)));
}

CFDictionaryRef childOf(CFTypeRef node, const char* key) {
    if (!node || CFGetTypeID(node) != CFDictionaryGetTypeID()) {
        return nullptr;
    }
    const void* child =
        CFDictionaryGetValue(static_cast<CFDictionaryRef>(node), platformString(key).Get());
    const bool isDictionary = child && CFGetTypeID(child) == CFDictionaryGetTypeID();
    return isDictionary ? static_cast<CFDictionaryRef>(child) : nullptr;
}

std::string leafOf(CFTypeRef node, const char* key) {
    const void* leaf =
        node && CFGetTypeID(node) == CFDictionaryGetTypeID()
            ? CFDictionaryGetValue(static_cast<CFDictionaryRef>(node), platformString(key).Get())
            : nullptr;
    const bool isText = leaf && CFGetTypeID(leaf) == CFStringGetTypeID();
    return isText ? textOf(static_cast<CFStringRef>(leaf)) : "";
}

void examineRegistry(Findings& findings, const ProductNames& names) {
    const CFRef<CFPropertyListRef> plugins(CFPreferencesCopyValue(
        platformString(kRegistryKey).Get(), platformString(names.domain()).Get(),
        kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    const CFDictionaryRef list = childOf(plugins.Get(), "AU");
    if (!list) {
        return findings.note("registry: no installation has been opened yet");
    }
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(list)));
    std::vector<const void*> values(keys.size());
    CFDictionaryGetKeysAndValues(list, keys.data(), values.data());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::string path = leafOf(values[i], kRegistryPathKey);
        std::error_code error;
        findings.note("registry " + textOf(static_cast<CFStringRef>(keys[i])) + ": " + path + " (" +
                      leafOf(values[i], kRegistryVersionKey) + ")" +
                      (fs::exists(path, error) ? "" : ", gone since"));
    }
}

// The youngest log of the product, or an empty path.
fs::path youngestLog(const fs::path& folder) {
    fs::path youngest;
    fs::file_time_type best{};
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const auto time = entry.last_write_time(error);
        if (entry.path().extension() == ".log" && entry.is_regular_file(error) &&
            (youngest.empty() || time > best)) {
            youngest = entry.path();
            best = time;
        }
    }
    return youngest;
}

void examineLog(Findings& findings, const ProductNames& names) {
    const fs::path folder = fs::path(dataHome()) / names.vendor / names.product;
    const fs::path log = youngestLog(folder);
    if (log.empty()) {
        return findings.note("log: none yet in " + folder.string());
    }
    findings.note("log: " + log.string() + ", its last lines:");
    std::ifstream file(log);
    std::deque<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
        if (lines.size() > kLogLines) {
            lines.pop_front();
        }
    }
    for (const std::string& line : lines) {
        findings.note("  " + line);
    }
}

// Opens and initialises the instrument itself: what a host would see.
void examineInstrument(Findings& findings, Component component) {
    try {
        Instrument instrument(component);
        instrument.setMaximumFrames(512);
        instrument.initialize();
        if (instrument.hasEngine()) {
            findings.good("the instrument opens its engine");
        } else {
            findings.bad("the instrument has no running engine",
                         "the engine refuses to open; look at the lines above and at its data");
        }
    } catch (const JobError& error) {
        findings.bad(error.what(), "the component does not open; install it again");
    }
}

// What lies where components are installed and registers no instrument.
std::vector<std::string> damagedBundles(const std::string& folder) {
    std::vector<std::string> problems;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() != ".component") {
            continue;
        }
        try {
            findInstrument(entry.path());
        } catch (const JobError& problem) {
            problems.push_back(problem.what());
        }
    }
    return problems;
}

Component examineRegistration(Findings& findings, const std::string& word) {
    Component component = nullptr;
    std::string folder;
    std::string problem;
    try {
        requireUtf8Home();
        folder = componentsFolder();
        component = findInstrument(word);
        findings.good("component: " + bundlePathOf(component));
    } catch (const JobError& error) {
        problem = error.what();
    }
    const std::vector<std::string> damaged = damagedBundles(folder);
    const bool mayBeMeant = !component && word.empty();
    if (!component && !word.empty()) {
        findings.bad(problem, "it is not installed");
    }
    for (const std::string& line : damaged) {
        if (mayBeMeant) {
            findings.bad(line, "the component is damaged; install it again");
        } else {
            findings.note(line);
        }
    }
    if (mayBeMeant) {
        findings.bad(problem, problem);
    }
    return component;
}

std::optional<ProductNames> examineProduct(Findings& findings, const std::string& bundle) {
    try {
        ProductNames names = productOfBundle(bundle);
        findings.good("product: " + names.vendor + " " + names.product);
        return names;
    } catch (const JobError& error) {
        findings.bad(error.what(), "the component is damaged; install it again");
        return std::nullopt;
    }
}

} // namespace

bool doctorCommand(const std::string& word) {
    Findings findings;
    const Component component = examineRegistration(findings, word);
    if (!component) {
        return findings.conclude(word.empty() ? "The instrument" : word);
    }
    const std::optional<ProductNames> names = examineProduct(findings, bundlePathOf(component));
    const std::string command = setUpCommand(bundlePathOf(component));
    if (names) {
        examineData(findings, *names, command);
    }
    examineEngine(findings, command);
    examineInstrument(findings, component);
    if (!names) {
        return findings.conclude(nameOf(component));
    }
    examineRegistry(findings, *names);
    examineLog(findings, *names);
    return findings.conclude(names->vendor + " " + names->product);
}

} // namespace velnor::host

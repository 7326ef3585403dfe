#include "host/install/Installation.h"

#include "host/install/PreferenceCheck.h"
#include "host/instrument/Instrument.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "platform/CFPreferences.h"
#include "platform/FileCopy.h"
#include "platform/Folders.h"
#include "support/ConfigStore.h"

#include <filesystem>

namespace velnor::host {

namespace {

FSRef resolved(const std::string& path) {
    FSRef ref = {};
    const OSStatus status =
        FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
    if (status != noErr) {
        throw JobError(path + ": it does not exist, or cannot be reached");
    }
    return ref;
}

} // namespace

std::string dataHome() {
    FSRef folder;
    if (PlatformNameDataHome(&folder) != noErr) {
        throw JobError("there is no home folder; set HOME");
    }
    return folder.path;
}

std::string componentsFolder() {
    return dataHome() + "/velnor/Components";
}

std::string enginesFolder() {
    return dataHome() + "/velnor/Engines";
}

std::string receiptsFolder() {
    return dataHome() + "/velnor/Receipts";
}

std::vector<std::string> sharedFolders(const char* name) {
    std::vector<std::string> folders;
    FSRef folder;
    for (UInt32 i = 0; PlatformNameDataFolder(i, &folder) != fnfErr; ++i) {
        folders.push_back(std::string(folder.path) + "/velnor/" + name);
    }
    return folders;
}

void makeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) {
        throw JobError(path + ": " + error.message());
    }
}

std::string readPreference(const std::string& domain, const char* key) {
    const CFRef<CFPropertyListRef> value(
        CFPreferencesCopyValue(platformString(key).Get(), platformString(domain).Get(),
                               kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    if (!value || CFGetTypeID(value.Get()) != CFStringGetTypeID()) {
        return "";
    }
    return textOf(static_cast<CFStringRef>(value.Get()));
}

std::string searchPreference(const std::string& domain, const char* key) {
    std::string value;
    readConfigStringValue(domain, key, value, CONFIG_LEVEL_SEARCH);
    return value;
}

void writePreference(const std::string& domain, const char* key, const std::string& value) {
    const CFRef<CFStringRef> domainText = platformString(domain);
    const CFRef<CFStringRef> text = value.empty() ? CFRef<CFStringRef>() : platformString(value);
    if (!value.empty() && !text) {
        throw JobError(value + ": the path is not UTF-8, which preferences need");
    }
    CFPreferencesSetValue(platformString(key).Get(), text.Get(), domainText.Get(),
                          kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    if (!CFPreferencesSynchronize(domainText.Get(), kCFPreferencesCurrentUser,
                                  kCFPreferencesAnyHost)) {
        const std::string path = preferencePath(domain);
        const PreferenceCheck check = checkPreferenceFile(path);
        throw JobError(check.trouble == PreferenceTrouble::foreign
                           ? check.problem
                           : path + ": the preferences cannot be written");
    }
}

std::string preferencePath(const std::string& domain) {
    const CFRef<CFStringRef> path(PlatformPreferencesCopyPath(
        platformString(domain).Get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    return textOf(path.Get());
}

void copyBundle(const std::string& bundle, const std::string& folder) {
    makeFolder(folder);
    const std::string name = std::filesystem::path(bundle).filename();
    const FSRef source = resolved(bundle);
    const FSRef target = resolved(folder);
    const OSStatus status = FSCopyObjectSync(&source, &target, platformString(name).Get(), nullptr,
                                             kFSFileOperationOverwrite);
    if (status != noErr) {
        throw JobError(folder + "/" + name + ": the copy failed: " + statusText(status));
    }
}

} // namespace velnor::host

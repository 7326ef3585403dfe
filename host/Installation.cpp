#include "host/Installation.h"

#include "host/Instrument.h"
#include "host/JobError.h"
#include "host/PlatformText.h"
#include "platform/CFPreferences.h"
#include "platform/FileCopy.h"

#include <cstdlib>
#include <filesystem>

#include <pwd.h>
#include <unistd.h>

namespace velnor::host {

namespace {

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home == '/')
        return home;
    if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir)
        return entry->pw_dir;
    throw JobError("there is no home folder; set HOME");
}

FSRef resolved(const std::string& path) {
    FSRef ref = {};
    const OSStatus status =
        FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
    if (status != noErr)
        throw JobError(path + ": it does not exist, or cannot be reached");
    return ref;
}

void makeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error)
        throw JobError(path + ": " + error.message());
}

} // namespace

std::string dataHome() {
    const char* folder = std::getenv("XDG_DATA_HOME");
    return folder && *folder == '/' ? folder : homeFolder() + "/.local/share";
}

std::string componentsFolder() {
    return dataHome() + "/velnor/Components";
}

std::string enginesFolder() {
    return dataHome() + "/velnor/Engines";
}

std::string readPreference(const std::string& domain, const char* key) {
    const CFRef<CFPropertyListRef> value(
        CFPreferencesCopyValue(platformString(key).Get(), platformString(domain).Get(),
                               kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    if (!value || CFGetTypeID(value.Get()) != CFStringGetTypeID())
        return "";
    return textOf(static_cast<CFStringRef>(value.Get()));
}

void writePreference(const std::string& domain, const char* key, const std::string& value) {
    const CFRef<CFStringRef> domainText = platformString(domain);
    const CFRef<CFStringRef> text = value.empty() ? CFRef<CFStringRef>() : platformString(value);
    if (!value.empty() && !text)
        throw JobError(value + ": the path is not UTF-8, which preferences need");
    CFPreferencesSetValue(platformString(key).Get(), text.Get(), domainText.Get(),
                          kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    if (!CFPreferencesSynchronize(domainText.Get(), kCFPreferencesCurrentUser,
                                  kCFPreferencesAnyHost))
        throw JobError(preferencePath(domain) + ": the preferences cannot be written");
}

std::string preferencePath(const std::string& domain) {
    const CFRef<CFStringRef> path(PlatformPreferencesCopyPath(
        platformString(domain).Get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    return textOf(path.Get());
}

std::string copyBundle(const std::string& bundle, const std::string& folder) {
    makeFolder(folder);
    const FSRef source = resolved(bundle);
    const std::string name = std::filesystem::path(source.path).filename();
    const std::string copy = folder + "/" + name;
    std::error_code ignored;
    if (std::filesystem::equivalent(source.path, copy, ignored))
        return copy;
    const FSRef target = resolved(folder);
    const OSStatus status = FSCopyObjectSync(&source, &target, platformString(name).Get(), nullptr,
                                             kFSFileOperationOverwrite);
    if (status != noErr)
        throw JobError(copy + ": the copy failed: " + statusText(status));
    return copy;
}

} // namespace velnor::host

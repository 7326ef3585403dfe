#include "platform/Process.h"

#include "platform/CFString.h"
#include "platform/files/UserDatabase.h"
#include "platform/system/MappedFile.h"
#include "platform/values/CFStringObject.h"

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <unistd.h>

namespace velnor {
namespace {

struct ProcessName {
    std::mutex mutex;
    std::optional<std::string> replacement;
};

ProcessName& Replacement() {
    static ProcessName name;
    return name;
}

std::string BaseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string ExecutableName() {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length > 0) {
        return BaseName(WithoutDeletedMark({path, static_cast<std::size_t>(length)}));
    }
    return program_invocation_name ? BaseName(program_invocation_name) : std::string();
}

// Names of files and users are bytes; those that are not UTF-8 are read as legacy text.
CFStringRef CreateName(const std::string& bytes) {
    const CFStringRef text = CreateString(bytes);
    return text ? text
                : CFStringCreateWithCString(kCFAllocatorDefault, bytes.c_str(),
                                            CFStringGetSystemEncoding());
}

struct UserNames {
    std::string login;
    std::string full;
};

// The first field of the comment, with "&" standing for the capitalised login name.
std::string FullName(const std::string& comment, const std::string& login) {
    std::string capitalised = login;
    if (!capitalised.empty() && capitalised[0] >= 'a' && capitalised[0] <= 'z') {
        capitalised[0] = static_cast<char>(capitalised[0] - 'a' + 'A');
    }
    std::string name;
    for (const char c : comment.substr(0, comment.find(','))) {
        name += c == '&' ? capitalised : std::string(1, c);
    }
    return name.empty() ? login : name;
}

UserNames CurrentUser() {
    const auto user = FindUser(getuid());
    if (user && !user->login.empty()) {
        return {user->login, FullName(user->comment, user->login)};
    }
    for (const char* variable : {"LOGNAME", "USER"}) {
        const char* value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return {value, value};
        }
    }
    const std::string number = std::to_string(getuid());
    return {number, number};
}

} // namespace
} // namespace velnor

OSStatus CopyProcessName(const ProcessSerialNumber* psn, CFStringRef* name) {
    if (psn == nullptr || psn->highLongOfPSN != 0 || psn->lowLongOfPSN != kCurrentProcess ||
        name == nullptr) {
        return paramErr;
    }
    auto& replacement = velnor::Replacement();
    const std::lock_guard lock(replacement.mutex);
    const std::string text =
        replacement.replacement ? *replacement.replacement : velnor::ExecutableName();
    if (text.empty()) {
        return procNotFound;
    }
    *name = velnor::CreateName(text);
    return noErr;
}

void PlatformSetProcessName(const char* name) {
    auto& replacement = velnor::Replacement();
    const std::lock_guard lock(replacement.mutex);
    replacement.replacement = name ? std::optional<std::string>(name) : std::nullopt;
}

CFStringRef CSCopyUserName(Boolean useShortName) {
    const auto names = velnor::CurrentUser();
    return velnor::CreateName(useShortName ? names.login : names.full);
}

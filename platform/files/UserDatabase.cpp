#include "platform/files/UserDatabase.h"

#include <cerrno>
#include <pwd.h>
#include <vector>

namespace velnor {
namespace {

constexpr std::size_t kLargestEntry = std::size_t{1} << 20;

std::string TextOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

std::optional<UserEntry> FindUser(uid_t user) {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    int error = 0;
    while ((error = getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found)) == ERANGE &&
           buffer.size() < kLargestEntry) {
        buffer.resize(buffer.size() * 2);
    }
    if (error != 0 || found == nullptr) {
        return std::nullopt;
    }
    return UserEntry{TextOrEmpty(entry.pw_name), TextOrEmpty(entry.pw_gecos),
                     TextOrEmpty(entry.pw_dir)};
}

} // namespace velnor

// What the system's database says about a user.
#ifndef VELNOR_PLATFORM_FILES_USERDATABASE_H
#define VELNOR_PLATFORM_FILES_USERDATABASE_H

#include <optional>
#include <string>
#include <sys/types.h>

namespace velnor {

struct UserEntry {
    std::string login;
    std::string comment; // the full name and other fields, separated by commas
    std::string home;
};

// Nothing when it does not know the user. Thread any, concurrent, may block.
std::optional<UserEntry> FindUser(uid_t user);

} // namespace velnor

#endif

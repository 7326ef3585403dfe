// Where the files of a preference domain lie; the layout stands in CFPreferences.h.
#ifndef VELNOR_PLATFORM_PREFERENCES_PREFERENCEPATH_H
#define VELNOR_PLATFORM_PREFERENCES_PREFERENCEPATH_H

#include <string>
#include <string_view>
#include <vector>

namespace velnor {

struct PreferenceScope {
    bool anyUser;
    bool anyHost;
};

// The files that hold a scope's values together, the most important first, which is the one that is
// written. One at most for the current user; none for an empty domain or without a folder.
std::vector<std::string> PreferencePaths(std::string_view domain, PreferenceScope scope);

} // namespace velnor

#endif

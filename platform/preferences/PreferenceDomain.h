// The files of one preference domain.
#ifndef VELNOR_PLATFORM_PREFERENCES_PREFERENCEDOMAIN_H
#define VELNOR_PLATFORM_PREFERENCES_PREFERENCEDOMAIN_H

#include "platform/preferences/CachedPreferences.h"
#include "platform/preferences/PreferencePath.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace velnor {

class PreferenceDomain {
public:
    using Files = std::vector<CachedPreferences*>;

    explicit PreferenceDomain(const std::string& name);

    // As PreferencePaths tells.
    const Files& Of(PreferenceScope scope) const { return mFiles[scope.anyUser][scope.anyHost]; }
    // Those of all scopes, in the order of a search.
    const Files& Search() const { return mSearch; }

private:
    std::array<std::array<Files, 2>, 2> mFiles;
    Files mSearch;
};

// The domain's files as the environment places them now. Thread any, concurrent.
std::shared_ptr<const PreferenceDomain> FindPreferenceDomain(const std::string& name);

} // namespace velnor

#endif

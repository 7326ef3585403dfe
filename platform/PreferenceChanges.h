/* Changes of a preference file that are not written yet. Internal to the platform library. */
#ifndef VELNOR_PLATFORM_PREFERENCECHANGES_H
#define VELNOR_PLATFORM_PREFERENCECHANGES_H

#include "platform/CFRef.h"
#include "platform/CacheHold.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velnor {

/* What one key becomes: an immutable value, or nothing for its removal. */
struct PreferenceChange {
    std::string key;
    CFRef<CFTypeRef> value;
};

/* The changes up to one moment. */
struct PreferenceChangeList {
    std::vector<PreferenceChange> changes;
    std::uint64_t moment = 0;
};

/* The last change of each key. Not for use from two threads at a time. */
class PreferenceChanges {
public:
    struct Entry {
        CacheHold<CFTypeRef> value;
        std::uint64_t moment;
    };
    using Entries = std::map<std::string, Entry, std::less<>>;

    void Put(std::string_view key, CFRef<CFTypeRef> value);
    const Entries& All() const { return mEntries; }
    PreferenceChangeList List() const;
    /* Forgets the changes of the list, but not later ones of the same keys. */
    void Forget(const PreferenceChangeList& list);

private:
    Entries mEntries;
    std::uint64_t mMoment = 0;
};

} // namespace velnor

#endif

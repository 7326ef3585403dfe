// Changes of a preference file that are not written yet.
#ifndef VELNOR_PLATFORM_PREFERENCES_PREFERENCECHANGES_H
#define VELNOR_PLATFORM_PREFERENCES_PREFERENCECHANGES_H

#include "platform/CFRef.h"
#include "platform/values/CacheHold.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velnor {

// What one key becomes: an immutable value, or nothing for its removal.
struct PreferenceChange {
    std::string key;
    CFRef<CFTypeRef> value;
    // What the file had when the change was made. One that failed to reach the file once gives way
    // where the file has something else by now: as a whole, or in a tree entry by entry.
    CFRef<CFTypeRef> base;
    bool hasFailed = false;
};

// The changes up to one moment.
struct PreferenceChangeList {
    std::vector<PreferenceChange> changes;
    std::uint64_t moment = 0;
};

// The last change of each key. Not for use from two threads at a time.
class PreferenceChanges {
public:
    struct Entry {
        CacheHold<CFTypeRef> value;
        CacheHold<CFTypeRef> base;
        std::uint64_t moment;
        bool hasFailed = false; // the file counts until the change is in it
    };
    using Entries = std::map<std::string, Entry, std::less<>>;

    // base is what the file has now. A change on top of one that was not tried yet keeps that
    // one's; one on top of a failed one keeps what that changed in other parts of a tree.
    void Put(std::string_view key, CFRef<CFTypeRef> value, CFRef<CFTypeRef> base);
    // The change that a reader sees, or null.
    const Entry* FindVisible(std::string_view key) const;
    const Entries& All() const { return mEntries; }
    PreferenceChangeList List() const;
    // Forgets the changes of the list, but not later ones of the same keys.
    void Forget(const PreferenceChangeList& list);
    // Notes that all changes failed to reach the file.
    void Fail();

private:
    Entries mEntries;
    std::uint64_t mMoment = 0;
};

} // namespace velnor

#endif

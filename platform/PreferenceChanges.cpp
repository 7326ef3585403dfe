#include "platform/PreferenceChanges.h"

namespace velnor {

void PreferenceChanges::Put(std::string_view key, CFRef<CFTypeRef> value) {
    ++mMoment;
    mEntries.insert_or_assign(std::string(key),
                              Entry{CacheHold<CFTypeRef>(std::move(value)), mMoment});
}

PreferenceChangeList PreferenceChanges::List() const {
    PreferenceChangeList list;
    list.moment = mMoment;
    for (const auto& [key, entry] : mEntries) {
        list.changes.push_back({key, entry.value.Share()});
    }
    return list;
}

void PreferenceChanges::Forget(const PreferenceChangeList& list) {
    std::erase_if(mEntries,
                  [&list](const auto& entry) { return entry.second.moment <= list.moment; });
}

} // namespace velnor

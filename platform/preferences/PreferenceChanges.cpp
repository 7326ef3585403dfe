#include "platform/preferences/PreferenceChanges.h"

#include "platform/preferences/TreeMerge.h"

namespace velnor {

void PreferenceChanges::Put(std::string_view key, CFRef<CFTypeRef> value, CFRef<CFTypeRef> base) {
    ++mMoment;
    if (const auto earlier = mEntries.find(key); earlier != mEntries.end()) {
        const Entry& entry = earlier->second;
        if (entry.hasFailed) {
            value = MergeChanges(entry.base.Get(), entry.value.Get(), value.Get());
        } else {
            base = entry.base.Share();
        }
    }
    mEntries.insert_or_assign(std::string(key),
                              Entry{CacheHold<CFTypeRef>(std::move(value)),
                                    CacheHold<CFTypeRef>(std::move(base)), mMoment});
}

const PreferenceChanges::Entry* PreferenceChanges::FindVisible(std::string_view key) const {
    const auto found = mEntries.find(key);
    return found == mEntries.end() || found->second.hasFailed ? nullptr : &found->second;
}

void PreferenceChanges::Fail() {
    for (auto& [key, entry] : mEntries) {
        entry.hasFailed = true;
    }
}

PreferenceChangeList PreferenceChanges::List() const {
    PreferenceChangeList list;
    list.moment = mMoment;
    for (const auto& [key, entry] : mEntries) {
        list.changes.push_back({key, entry.value.Share(), entry.base.Share(), entry.hasFailed});
    }
    return list;
}

void PreferenceChanges::Forget(const PreferenceChangeList& list) {
    std::erase_if(mEntries,
                  [&list](const auto& entry) { return entry.second.moment <= list.moment; });
}

} // namespace velnor

#include "platform/preferences/CachedPreferences.h"

#include "platform/preferences/PreferenceWriter.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFStringObject.h"

#include <ctime>
#include <unordered_map>

namespace velnor {
namespace {

// By the clock that file systems take times from.
timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return now;
}

} // namespace

CachedPreferences::CachedPreferences(std::string path)
    : mPath(std::move(path)), mKnown(std::make_shared<const PreferenceFile>()) {}

const DictionaryObject* CachedPreferences::Tree() const {
    return CastIf<DictionaryObject>(mKnown->tree.Get());
}

void CachedPreferences::Learn(PreferenceFile file) {
    mKnown = std::make_shared<const PreferenceFile>(std::move(file));
    mStamp = mKnown->stamp;
}

void CachedPreferences::Refresh() {
    PreferenceFile seen = LookAtPreferenceFile(mPath);
    if (!HasContent(seen.state)) {
        if (mKnown->state != seen.state) {
            Learn(std::move(seen));
        }
        return;
    }
    if (mSettled && HasContent(mKnown->state) && seen.stamp == mStamp) {
        return;
    }
    const timespec before = Now();
    PreferenceFile loaded = LoadPreferenceFile(mPath);
    mSettled = loaded.stamp.IsSettledAt(before);
    if (HasContent(loaded.state) && HasContent(mKnown->state) &&
        loaded.content == mKnown->content) {
        mStamp = loaded.stamp;
        return;
    }
    if (HasContent(loaded.state)) {
        ParsePreferenceFile(loaded);
    }
    Learn(std::move(loaded));
}

CFRef<CFTypeRef> CachedPreferences::Value(std::string_view key) {
    const std::lock_guard lock(mMutex);
    if (const PreferenceChanges::Entry* change = mChanges.FindVisible(key)) {
        return change->value.Share();
    }
    return ValueInFile(key);
}

CFRef<CFTypeRef> CachedPreferences::ValueInFile(std::string_view key) {
    Refresh();
    const DictionaryObject* tree = Tree();
    return CFRef<CFTypeRef>::Retained(tree == nullptr ? nullptr : tree->Find(key));
}

void CachedPreferences::AddKeysTo(Keys& keys) {
    const std::lock_guard lock(mMutex);
    Refresh();
    if (const DictionaryObject* tree = Tree()) {
        for (const auto& [key, value] : tree->All()) {
            if (mChanges.FindVisible(TextOf(key.Get())) == nullptr) {
                keys.try_emplace(TextOf(key.Get()), key.Share());
            }
        }
    }
    for (const auto& [key, change] : mChanges.All()) {
        if (!change.hasFailed && change.value.Get() != nullptr) {
            keys.try_emplace(key, CreateString(key));
        }
    }
}

void CachedPreferences::Put(std::string_view key, CFRef<CFTypeRef> value) {
    const std::lock_guard lock(mMutex);
    mChanges.Put(key, std::move(value), ValueInFile(key));
}

bool CachedPreferences::Synchronize(bool shared) {
    {
        const std::lock_guard lock(mMutex);
        if (mChanges.All().empty()) {
            return true;
        }
    }
    PreferenceWriter writer(mPath, shared);
    if (!writer.IsReady()) {
        const std::lock_guard lock(mMutex);
        mChanges.Fail();
        return false;
    }
    // Taken under the writer's lock: a thread that writes later has all that was put earlier.
    std::unique_lock lock(mMutex);
    const PreferenceChangeList list = mChanges.List();
    const auto known = mKnown;
    lock.unlock();
    auto written = writer.Merge(list.changes, *known);
    lock.lock();
    if (!written) {
        mChanges.Fail();
        return false;
    }
    mSettled = false;
    Learn(std::move(written->file));
    mChanges.Forget(list);
    return written->isWhole;
}

CachedPreferences& PreferencesAt(const std::string& path) {
    static auto& mutex = *new std::mutex;
    static auto& all = *new std::unordered_map<std::string, std::unique_ptr<CachedPreferences>>;
    const std::lock_guard lock(mutex);
    auto& entry = all[path];
    if (!entry) {
        entry = std::make_unique<CachedPreferences>(path);
    }
    return *entry;
}

} // namespace velnor

#include "platform/CFPreferences.h"

#include "platform/CFArrayObject.h"
#include "platform/CFDictionaryObject.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"
#include "platform/CFStringObject.h"
#include "platform/PreferenceCache.h"
#include "platform/PreferencePath.h"

#include <optional>

const CFStringRef kCFPreferencesCurrentUser = velnor::ImmortalString("current user");
const CFStringRef kCFPreferencesAnyUser = velnor::ImmortalString("any user");
const CFStringRef kCFPreferencesCurrentHost = velnor::ImmortalString("current host");
const CFStringRef kCFPreferencesAnyHost = velnor::ImmortalString("any host");

namespace velnor {
namespace {

bool IsText(CFStringRef string) {
    return CastIf<StringObject>(string) != nullptr;
}

/* Whether string is the first of two texts or the second; nothing when it is neither. */
std::optional<bool> IsSecond(CFStringRef string, CFStringRef first, CFStringRef second) {
    if (!IsText(string) || (!CFEqual(string, first) && !CFEqual(string, second))) {
        return std::nullopt;
    }
    return CFEqual(string, second);
}

/* One domain's file, or the files that stand for one. */
struct Place {
    std::vector<std::string> paths;
    bool shared = false; /* for all users */
};

Place FindPlace(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto anyUser = IsSecond(user, kCFPreferencesCurrentUser, kCFPreferencesAnyUser);
    const auto anyHost = IsSecond(host, kCFPreferencesCurrentHost, kCFPreferencesAnyHost);
    if (!IsText(domain) || !anyUser || !anyHost) {
        return {};
    }
    return {PreferencePaths(TextOf(domain), {*anyUser, *anyHost}), *anyUser};
}

CFPropertyListRef CopyFirstValue(CFStringRef key, const std::vector<std::string>& paths) {
    if (!IsText(key)) {
        return nullptr;
    }
    for (const std::string& path : paths) {
        if (auto value = PreferencesAt(path).Value(TextOf(key))) {
            return value.Detach();
        }
    }
    return nullptr;
}

/* The file forms have no place for a zero character in text. */
bool HoldsZeroCharacter(const CFObject& object) {
    const auto* string = CastIf<StringObject>(RefOf<CFTypeRef>(&object));
    bool found = string != nullptr && string->Text().find('\0') != std::string::npos;
    object.ForEachChild([&found](CFObject& child) { found = found || HoldsZeroCharacter(child); });
    return found;
}

/* An immutable copy of what a file can hold under the key; empty for anything else. */
CFRef<CFTypeRef> CopyForFile(CFStringRef key, CFPropertyListRef value) {
    DictionaryObject::Entries entries;
    entries.emplace(CFRef<CFStringRef>::Retained(key), CFRef<CFTypeRef>::Retained(value));
    const CFRef<CFTypeRef> root(RefOf<CFTypeRef>(new DictionaryObject(std::move(entries), false)));
    const CFRef<CFTypeRef> copy(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, root.Get(), kCFPropertyListImmutable));
    if (!copy || HoldsZeroCharacter(ObjectOf(copy.Get()))) {
        return {};
    }
    return CFRef<CFTypeRef>::Retained(Cast<DictionaryObject>(copy.Get()).Find(TextOf(key)));
}

} // namespace
} // namespace velnor

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef domain) {
    if (!velnor::IsText(domain)) {
        return nullptr;
    }
    return velnor::CopyFirstValue(key, velnor::PreferenceSearchPaths(velnor::TextOf(domain)));
}

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef domain, CFStringRef user,
                                         CFStringRef host) {
    return velnor::CopyFirstValue(key, velnor::FindPlace(domain, user, host).paths);
}

CFArrayRef CFPreferencesCopyKeyList(CFStringRef domain, CFStringRef user, CFStringRef host) {
    velnor::CachedPreferences::Keys keys;
    for (const std::string& path : velnor::FindPlace(domain, user, host).paths) {
        velnor::PreferencesAt(path).AddKeysTo(keys);
    }
    velnor::ArrayObject::Items items;
    for (const auto& [text, key] : keys) {
        items.push_back(velnor::CFRef<CFTypeRef>::Retained(key.Get()));
    }
    return items.empty()
               ? nullptr
               : velnor::RefOf<CFArrayRef>(new velnor::ArrayObject(std::move(items), false));
}

void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef domain,
                           CFStringRef user, CFStringRef host) {
    const auto place = velnor::FindPlace(domain, user, host);
    if (place.paths.empty() || !velnor::IsText(key)) {
        return;
    }
    auto copy = value == nullptr ? velnor::CFRef<CFTypeRef>() : velnor::CopyForFile(key, value);
    if (copy || value == nullptr) {
        velnor::PreferencesAt(place.paths.front()).Put(velnor::TextOf(key), std::move(copy));
    }
}

Boolean CFPreferencesSynchronize(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto place = velnor::FindPlace(domain, user, host);
    return !place.paths.empty() &&
           velnor::PreferencesAt(place.paths.front()).Synchronize(place.shared);
}

CFStringRef PlatformPreferencesCopyPath(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto place = velnor::FindPlace(domain, user, host);
    return place.paths.empty() ? nullptr : velnor::CreateString(place.paths.front());
}

CFIndex PlatformPreferencesParseCount(void) {
    return velnor::PreferenceFileParseCount();
}

#include "platform/CFPreferences.h"

#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"
#include "platform/preferences/PreferenceDomain.h"
#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFStringObject.h"

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

// Whether string is the first of two texts or the second; nothing when it is neither.
std::optional<bool> IsSecond(CFStringRef string, CFStringRef first, CFStringRef second) {
    if (!IsText(string) || (!CFEqual(string, first) && !CFEqual(string, second))) {
        return std::nullopt;
    }
    return CFEqual(string, second);
}

// The files that stand for one scope of a domain, empty for a wrong argument.
struct Place {
    PreferenceDomain::Files files;
    bool shared = false; // for all users
};

Place FindPlace(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto anyUser = IsSecond(user, kCFPreferencesCurrentUser, kCFPreferencesAnyUser);
    const auto anyHost = IsSecond(host, kCFPreferencesCurrentHost, kCFPreferencesAnyHost);
    if (!IsText(domain) || !anyUser || !anyHost) {
        return {};
    }
    return {FindPreferenceDomain(TextOf(domain))->Of({*anyUser, *anyHost}), *anyUser};
}

CFPropertyListRef CopyFirstValue(CFStringRef key, const PreferenceDomain::Files& files) {
    if (!IsText(key)) {
        return nullptr;
    }
    for (CachedPreferences* file : files) {
        if (auto value = file->Value(TextOf(key))) {
            return value.Detach();
        }
    }
    return nullptr;
}

// The file forms have no place for a zero character in text.
bool HoldsZeroCharacter(const CFObject& object) {
    const auto* string = CastIf<StringObject>(RefOf<CFTypeRef>(&object));
    bool found = string != nullptr && string->Text().find('\0') != std::string::npos;
    object.ForEachChild([&found](CFObject& child) { found = found || HoldsZeroCharacter(child); });
    return found;
}

// An immutable copy of what a file can hold under the key; empty for anything else.
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
    const auto found = velnor::FindPreferenceDomain(velnor::TextOf(domain));
    return velnor::CopyFirstValue(key, found->Search());
}

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef domain, CFStringRef user,
                                         CFStringRef host) {
    return velnor::CopyFirstValue(key, velnor::FindPlace(domain, user, host).files);
}

CFArrayRef CFPreferencesCopyKeyList(CFStringRef domain, CFStringRef user, CFStringRef host) {
    velnor::CachedPreferences::Keys keys;
    const auto place = velnor::FindPlace(domain, user, host);
    for (velnor::CachedPreferences* file : place.files) {
        file->AddKeysTo(keys);
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
    if (place.files.empty() || !velnor::IsText(key)) {
        return;
    }
    auto copy = value == nullptr ? velnor::CFRef<CFTypeRef>() : velnor::CopyForFile(key, value);
    if (copy || value == nullptr) {
        place.files.front()->Put(velnor::TextOf(key), std::move(copy));
    }
}

Boolean CFPreferencesSynchronize(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto place = velnor::FindPlace(domain, user, host);
    return !place.files.empty() && place.files.front()->Synchronize(place.shared);
}

CFStringRef PlatformPreferencesCopyPath(CFStringRef domain, CFStringRef user, CFStringRef host) {
    const auto place = velnor::FindPlace(domain, user, host);
    return place.files.empty() ? nullptr : velnor::CreateString(place.files.front()->Path());
}

CFIndex PlatformPreferencesParseCount(void) {
    return velnor::PreferenceFileParseCount();
}

// A temporary home whose preferences are written and read in short form.
#ifndef VELNOR_PLATFORM_TESTS_PREFERENCESHOME_H
#define VELNOR_PLATFORM_TESTS_PREFERENCESHOME_H

#include "platform/CFPreferences.h"
#include "testing/Testing.h"

namespace velnor::testing {

constexpr const char* kDomain = "com.example.test";

// Which of a domain's files.
struct Scope {
    CFStringRef user = kCFPreferencesCurrentUser;
    CFStringRef host = kCFPreferencesAnyHost;
};

inline void Put(std::string_view key, CFTypeRef value, std::string_view domain = kDomain,
                Scope scope = {}) {
    CFPreferencesSetValue(String(key).Get(), value, String(domain).Get(), scope.user, scope.host);
}
inline bool Synchronize(std::string_view domain = kDomain, Scope scope = {}) {
    return CFPreferencesSynchronize(String(domain).Get(), scope.user, scope.host);
}
inline bool Save(std::string_view key, CFTypeRef value, std::string_view domain = kDomain,
                 Scope scope = {}) {
    Put(key, value, domain, scope);
    return Synchronize(domain, scope);
}
inline CFRef<CFTypeRef> Load(std::string_view key, std::string_view domain = kDomain,
                             Scope scope = {}) {
    return CFRef<CFTypeRef>(
        CFPreferencesCopyValue(String(key).Get(), String(domain).Get(), scope.user, scope.host));
}
inline std::string Search(std::string_view key, std::string_view domain = kDomain) {
    return Text(
        CFRef<CFTypeRef>(CFPreferencesCopyAppValue(String(key).Get(), String(domain).Get())).Get());
}
inline std::string PathOf(std::string_view domain = kDomain, Scope scope = {}) {
    return Text(CFRef<CFStringRef>(
                    PlatformPreferencesCopyPath(String(domain).Get(), scope.user, scope.host))
                    .Get());
}
inline Texts KeyList(Scope scope = {}) {
    const CFRef<CFArrayRef> list(
        CFPreferencesCopyKeyList(String(kDomain).Get(), scope.user, scope.host));
    Texts keys;
    for (CFIndex i = 0; list && i < CFArrayGetCount(list.Get()); ++i) {
        keys.push_back(Text(CFArrayGetValueAtIndex(list.Get(), i)));
    }
    return keys;
}

} // namespace velnor::testing

#endif

#include "fuzz/PreferenceFiles.h"

#include "fuzz/FuzzCheck.h"
#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFPreferences.h"
#include "platform/CFPropertyList.h"

#include <filesystem>

namespace velnor::fuzz {

namespace {

struct ScopeNames {
    CFStringRef user;
    CFStringRef host;
    std::vector<std::size_t> places; // where its files are in the search
};

const ScopeNames& NamesOf(PreferenceFiles::Scope scope) {
    static const ScopeNames kNames[] = {{kCFPreferencesCurrentUser, kCFPreferencesCurrentHost, {0}},
                                        {kCFPreferencesCurrentUser, kCFPreferencesAnyHost, {1}},
                                        {kCFPreferencesAnyUser, kCFPreferencesCurrentHost, {2, 3}},
                                        {kCFPreferencesAnyUser, kCFPreferencesAnyHost, {4, 5}}};
    return kNames[scope];
}

CFRef<CFStringRef> MakeText(const std::string& text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

CFRef<CFMutableDictionaryRef> MakeDictionary() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, PlatformTypeKeyCallBacks, PlatformTypeValueCallBacks));
}

CFRef<CFDataRef> MakeData(const std::string& bytes) {
    return CFRef<CFDataRef>(CFDataCreate(kCFAllocatorDefault,
                                         reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
}

CFDictionaryRef AsDictionary(const CFRef<CFTypeRef>& tree) {
    return static_cast<CFDictionaryRef>(tree.Get());
}

// Calls visit with every key and value.
template <class Visit>
void ForEach(CFDictionaryRef dictionary, const Visit& visit) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (std::size_t i = 0; i < count; ++i) {
        visit(static_cast<CFStringRef>(keys[i]), values[i]);
    }
}

std::string PathOfUserHost(CFStringRef domain) {
    const CFRef<CFStringRef> path(
        PlatformPreferencesCopyPath(domain, kCFPreferencesCurrentUser, kCFPreferencesCurrentHost));
    char text[1024];
    FUZZ_CHECK(CFStringGetCString(path.Get(), text, sizeof text, kCFStringEncodingUTF8));
    return text;
}

} // namespace

PreferenceFiles::PreferenceFiles(const std::string& domain)
    : mFolders("XDG_CONFIG_DIRS", (mHome.ConfigDirs() + ":" + mHome.ConfigDirs() + "2").c_str()),
      mDomain(MakeText(domain)) {
    const std::string any = "/velnor/" + domain + ".plist";
    const std::string host = PathOfUserHost(mDomain.Get()).substr(mHome.ConfigHome().size());
    FUZZ_CHECK(host.starts_with("/velnor/ByHost/" + domain + "."));
    const std::string first = mHome.ConfigDirs();
    mPaths = {mHome.ConfigHome() + host,
              mHome.ConfigHome() + any,
              first + host,
              first + "2" + host,
              first + any,
              first + "2" + any};
}

void PreferenceFiles::Remove() {
    const auto remove = [this] {
        for (const std::string& folder :
             {mHome.ConfigHome(), mHome.ConfigDirs(), mHome.ConfigDirs() + "2"}) {
            std::filesystem::remove_all(folder + "/velnor");
        }
    };
    remove();
    for (int scope = 0; scope < kScopes; ++scope) {
        const auto& [user, host, places] = NamesOf(static_cast<Scope>(scope));
        FUZZ_CHECK(CFPreferencesSynchronize(mDomain.Get(), user, host));
    }
    remove();
}

void PreferenceFiles::Write(unsigned places, const std::string& content) {
    for (std::size_t place = 0; place < kFiles; ++place) {
        if ((places >> place & 1U) != 0) {
            testing::WriteFile(mPaths[place], content);
        }
    }
}

// Null where there is no dictionary.
CFRef<CFTypeRef> PreferenceFiles::TreeIn(std::size_t place) const {
    const std::string content = testing::ReadFile(mPaths[place]);
    const CFRef<CFDataRef> data(MakeData(content));
    CFRef<CFTypeRef> tree(CFPropertyListCreateWithData(kCFAllocatorDefault, data.Get(),
                                                       kCFPropertyListImmutable, nullptr, nullptr));
    const bool isDictionary = tree && CFGetTypeID(tree.Get()) == CFDictionaryGetTypeID();
    return isDictionary ? std::move(tree) : CFRef<CFTypeRef>();
}

// What the files say together: of several values, the first.
CFRef<CFTypeRef> PreferenceFiles::Merged(const std::vector<std::size_t>& places) const {
    CFRef<CFMutableDictionaryRef> merged = MakeDictionary();
    for (const std::size_t place : places) {
        if (const CFRef<CFTypeRef> tree = TreeIn(place)) {
            ForEach(AsDictionary(tree), [&](CFStringRef key, const void* value) {
                CFDictionaryAddValue(merged.Get(), key, value);
            });
        }
    }
    return CFRef<CFTypeRef>(merged.Detach());
}

void PreferenceFiles::CheckReading() const {
    const CFStringRef domain = mDomain.Get();
    const CFRef<CFTypeRef> found = Merged({0, 1, 2, 3, 4, 5});
    ForEach(AsDictionary(found), [domain](CFStringRef key, const void* value) {
        const CFRef<CFTypeRef> read(CFPreferencesCopyAppValue(key, domain));
        FUZZ_CHECK(read && CFEqual(read.Get(), value));
    });
    for (int scope = 0; scope < kScopes; ++scope) {
        const auto& [user, host, places] = NamesOf(static_cast<Scope>(scope));
        const CFRef<CFTypeRef> own = Merged(places);
        const CFRef<CFArrayRef> keys(CFPreferencesCopyKeyList(domain, user, host));
        FUZZ_CHECK((keys ? CFArrayGetCount(keys.Get()) : 0) ==
                   CFDictionaryGetCount(AsDictionary(own)));
        ForEach(AsDictionary(found), [&](CFStringRef key, const void*) {
            const void* const value = CFDictionaryGetValue(AsDictionary(own), key);
            const CFRef<CFTypeRef> read(CFPreferencesCopyValue(key, domain, user, host));
            FUZZ_CHECK(bool(read) == (value != nullptr));
            FUZZ_CHECK(!read || CFEqual(read.Get(), value));
        });
    }
}

std::vector<std::string> PreferenceFiles::Contents() const {
    std::vector<std::string> contents;
    for (const std::string& path : mPaths) {
        contents.push_back(testing::ReadFile(path));
    }
    return contents;
}

bool PreferenceFiles::IsWritable(Scope scope) const {
    const std::string content = testing::ReadFile(mPaths[NamesOf(scope).places.front()]);
    const CFRef<CFDataRef> data(MakeData(content));
    const CFRef<CFTypeRef> list(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    return list ? CFGetTypeID(list.Get()) == CFDictionaryGetTypeID()
                : !PlatformPropertyListIsForeign(data.Get());
}

void PreferenceFiles::CheckWriting(Scope scope) const {
    const bool isWritable = IsWritable(scope);
    const auto& [user, host, places] = NamesOf(scope);
    const CFRef<CFStringRef> text = MakeText("new");
    const CFRef<CFTypeRef> expected = Merged({places.front()});
    CFDictionarySetValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(expected.Get())),
                         text.Get(), text.Get());
    const std::vector<std::string> before = Contents();
    CFPreferencesSetValue(text.Get(), text.Get(), mDomain.Get(), user, host);
    const bool isWritten = CFPreferencesSynchronize(mDomain.Get(), user, host);
    const std::vector<std::string> after = Contents();
    for (std::size_t place = 0; place < kFiles; ++place) {
        const bool isTarget = isWritable && place == places.front();
        FUZZ_CHECK(isTarget || after[place] == before[place]);
    }
    const CFRef<CFTypeRef> tree = TreeIn(places.front());
    FUZZ_CHECK(!isWritten || (isWritable && tree && CFEqual(tree.Get(), expected.Get())));
}

} // namespace velnor::fuzz

#include "platform/CFPropertyList.h"
#include "platform/tests/PreferencesHome.h"

#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace velnor::testing {
namespace {

struct Preferences : Test {
    TempHome mHome;
};

ino_t InodeOf(const std::string& path) {
    struct stat info{};
    return stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

TEST_F(Preferences, TheSearchPrefersTheUserAndThenTheHost) {
    const Scope scopes[] = {{kCFPreferencesAnyUser, kCFPreferencesAnyHost},
                            {kCFPreferencesAnyUser, kCFPreferencesCurrentHost},
                            {kCFPreferencesCurrentUser, kCFPreferencesAnyHost},
                            {kCFPreferencesCurrentUser, kCFPreferencesCurrentHost}};
    for (const Scope& scope : scopes) {
        const std::string path = PathOf(kDomain, scope);
        EXPECT_TRUE(Save("key", Value(path).Get(), kDomain, scope));
        EXPECT_EQ(Search("key"), path) << "the later ones hide the earlier ones";
        EXPECT_EQ(Text(Load("key", kDomain, scope).Get()), path);
    }
    utsname system{};
    ASSERT_EQ(uname(&system), 0);
    EXPECT_EQ(Search("key", std::string(kDomain) + "." + system.nodename), "<none>");
    Put("key", nullptr, kDomain, scopes[3]);
    EXPECT_EQ(Search("key"), PathOf(kDomain, scopes[2])) << "a removal counts before it is written";
    EXPECT_EQ(CFPreferencesCopyValue(String("key").Get(), String(kDomain).Get(),
                                     String("someone").Get(), kCFPreferencesAnyHost),
              nullptr);
}

TEST_F(Preferences, SeveralSystemFoldersCountAsOneFile) {
    const std::string more = mHome.Root() + "/more";
    const std::string list = "relative::" + mHome.ConfigDirs() + ":" + more;
    const ScopedEnv folders("XDG_CONFIG_DIRS", list.c_str());
    const Scope all = {kCFPreferencesAnyUser, kCFPreferencesAnyHost};
    const std::string file = std::string("/velnor/") + kDomain + ".plist";
    WriteFile(more + file, PlistFile("<key>a</key><string>low</string><key>b</key><true/>"));
    EXPECT_EQ(PathOf(kDomain, all), mHome.ConfigDirs() + file);
    EXPECT_TRUE(Save("a", Value("high").Get(), kDomain, all));
    EXPECT_EQ(Search("a"), "high");
    EXPECT_THAT(KeyList(all), ElementsAre("a", "b"));
    EXPECT_TRUE(Save("a", nullptr, kDomain, all));
    EXPECT_EQ(Search("a"), "low");
    EXPECT_EQ(ModeOf(mHome.ConfigDirs() + file) & 0044, mode_t{0044});
}

TEST_F(Preferences, AWriteShowsAtOnceHereAndAfterSynchronizeInTheFile) {
    Put("b", Value("x").Get());
    Put("a", Value(SInt32{7}).Get());
    EXPECT_EQ(Search("b"), "x");
    EXPECT_THAT(KeyList(), ElementsAre("a", "b"));
    EXPECT_FALSE(std::filesystem::exists(mHome.ConfigHome()));
    EXPECT_TRUE(Synchronize());
    EXPECT_THAT(ReadFile(PathOf()), HasSubstr("<string>x</string>"));
    EXPECT_EQ(ModeOf(PathOf()), mode_t{0600});
    EXPECT_EQ(ModeOf(mHome.ConfigHome()), mode_t{0700});

    const ino_t inode = InodeOf(PathOf());
    EXPECT_TRUE(Save("b", Value("x").Get()));
    EXPECT_TRUE(Save("absent", nullptr));
    EXPECT_EQ(InodeOf(PathOf()), inode) << "nothing changed, nothing written";
    EXPECT_TRUE(Save("a", Value(7.0).Get()));
    EXPECT_THAT(ReadFile(PathOf()), HasSubstr("<real>7"));
    EXPECT_TRUE(Save("a", nullptr) && Save("b", nullptr));
    EXPECT_THAT(KeyList(), IsEmpty());
}

TEST_F(Preferences, NeighboursOfEveryTypeSurviveInTheirForm) {
    const std::string others =
        "<key>date</key><date>2031-05-06T07:08:09Z</date><key>real</key><real>0.1</real>"
        "<key>list</key><array><true/><integer>-3</integer><string>&amp;\xF0\x9F\x98\x80</string>"
        "</array><key>big</key><integer>18446744073709551615</integer><key>data</key><data>AAE="
        "</data><key></key><false/>";
    WriteFile(PathOf(), PlistFile(others));
    ASSERT_EQ(chmod(PathOf().c_str(), 0640), 0);
    for (const CFPropertyListFormat format :
         {kCFPropertyListXMLFormat_v1_0, kCFPropertyListBinaryFormat_v1_0}) {
        auto read = [](const std::string& path, CFPropertyListFormat* found) {
            return CFRef<CFTypeRef>(
                CFPropertyListCreateWithData(nullptr, Data(ReadFile(path)).Get(),
                                             kCFPropertyListMutableContainers, found, nullptr));
        };
        CFPropertyListFormat found = 0;
        const auto before = read(PathOf(), &found);
        const CFRef<CFDataRef> file(
            CFPropertyListCreateData(nullptr, before.Get(), format, 0, nullptr));
        WriteFile(PathOf(), Bytes(file.Get()));
        EXPECT_TRUE(Save("new", Value("&<>\u00E9").Get()));
        auto after = read(PathOf(), &found);
        EXPECT_EQ(found, format);
        EXPECT_EQ(Text(Get(after.Get(), "new")), "&<>\u00E9");
        CFDictionaryRemoveValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(after.Get())),
                                String("new").Get());
        EXPECT_TRUE(CFEqual(after.Get(), before.Get()));
        EXPECT_EQ(ModeOf(PathOf()), mode_t{0640});
        EXPECT_TRUE(Save("new", nullptr));
    }
}

TEST_F(Preferences, TextThatXmlCannotHoldIsKeptToo) {
    EXPECT_TRUE(Save("plain", Value("x").Get()) && Save("bell", Value("\a\uFFFE").Get()));
    EXPECT_EQ(ReadFile(PathOf()).substr(0, 8), "bplist00");
    EXPECT_EQ(Search("bell"), "\a\uFFFE");
    EXPECT_TRUE(Save("zero", Value(std::string_view("a\0b", 3)).Get()));
    EXPECT_EQ(Search("zero"), "<none>") << "what no file can hold is not taken";
    EXPECT_TRUE(Save("more", Value("y").Get()));
}

TEST_F(Preferences, WhatHasNoRoomInTheFileKeepsNothingElseOut) {
    const auto list = Array();
    for (int i = 0; i < 70000; ++i) {
        CFArrayAppendValue(list.Get(), kCFBooleanTrue);
    }
    Put("half", list.Get());
    Put("other half", list.Get());
    EXPECT_FALSE(Save("small", Value("x").Get()));
    EXPECT_THAT(ReadFile(PathOf()), HasSubstr("<string>x</string>"));
    EXPECT_THAT(KeyList(), ElementsAre("half", "small"));
    for (int i = 0; i < 70000; ++i) {
        CFArrayAppendValue(list.Get(), kCFBooleanTrue);
    }
    EXPECT_TRUE(Save("whole", list.Get()));
    EXPECT_THAT(KeyList(), ElementsAre("half", "small"));
}

TEST_F(Preferences, DamagedFilesReadAsAbsentAndAreKept) {
    int number = 0;
    for (const std::string& content :
         {std::string(), std::string("<plist><dict><key>a</key><tru"), PlistFile("<true/>"),
          std::string("{ a = 1; b = "), std::string("bplist00")}) {
        WriteFile(PathOf(), content);
        EXPECT_EQ(Search("a"), "<none>");
        EXPECT_TRUE(Save("a", nullptr));
        EXPECT_EQ(ReadFile(PathOf()), content) << "nothing to write, nothing replaced";
        EXPECT_TRUE(Save("a", Value("new").Get()));
        EXPECT_EQ(Search("a"), "new");
        const std::string suffix = ++number == 1 ? "" : "-" + std::to_string(number);
        EXPECT_EQ(ReadFile(PathOf() + ".damaged" + suffix), content);
        EXPECT_TRUE(std::filesystem::exists(PathOf() + ".damaged" + suffix));
    }
}

std::string Repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

TEST_F(Preferences, FilesThatOnlyOthersReadReadAsAbsentAndAreLeftAsTheyAre) {
    const std::string entry = "<key>a</key><true/>";
    std::string wide = "\xFF\xFE";
    for (const char c : PlistFile(entry)) {
        wide += {c, '\0'};
    }
    for (const std::string& content :
         {PlistFile(entry + "<key>b</key><array>" + Repeated("<true/>", 1 << 17) + "</array>"),
          PlistFile(entry + "<key>b</key>" + Repeated("<array>", 256) + Repeated("</array>", 256)),
          wide, std::string("<plist><array/></plist>"), std::string("{ a = 1; }"),
          std::string("{\"a\": 1}")}) {
        WriteFile(PathOf(), content);
        const CFIndex parsed = PlatformPreferencesParseCount();
        EXPECT_EQ(Search("a"), "<none>");
        EXPECT_THAT(KeyList(), IsEmpty());
        EXPECT_FALSE(Save("a", nullptr));
        EXPECT_FALSE(Save("b", Value("new").Get())) << "and not at the next try";
        EXPECT_FALSE(Synchronize());
        EXPECT_EQ(Search("b"), "<none>") << "until it is written the file counts";
        EXPECT_EQ(PlatformPreferencesParseCount(), parsed + 1);
        EXPECT_EQ(ReadFile(PathOf()), content);
        EXPECT_FALSE(std::filesystem::exists(PathOf() + ".damaged"));
        WriteFile(PathOf(), PlistFile("<key>c</key><string>x</string>"));
        EXPECT_EQ(Search("c"), "x") << "mended";
        EXPECT_TRUE(Synchronize());
        EXPECT_THAT(KeyList(), ElementsAre("b", "c"));
    }
}

TEST_F(Preferences, WhatCannotBeReadIsNeverReplaced) {
    std::filesystem::create_directories(PathOf() + "/something");
    EXPECT_FALSE(Save("a", Value("x").Get()));
    EXPECT_TRUE(std::filesystem::exists(PathOf() + "/something"));
    EXPECT_EQ(Search("a"), "<none>") << "until it is written the file counts";
    std::filesystem::remove_all(PathOf());
    EXPECT_TRUE(Synchronize());
    EXPECT_THAT(ReadFile(PathOf()), HasSubstr("<string>x</string>"));

    ASSERT_EQ(mkfifo((mHome.ConfigHome() + "/velnor/pipe.plist").c_str(), 0600), 0);
    EXPECT_FALSE(Load("a", "pipe"));
    EXPECT_FALSE(Save("a", Value("x").Get(), "pipe"));
}

TEST_F(Preferences, LinksAreFollowedNotReplaced) {
    const std::string target = mHome.Root() + "/dotfiles/real.plist";
    WriteFile(target, PlistFile("<key>old</key><true/>"));
    std::filesystem::create_directories(mHome.ConfigHome() + "/velnor");
    std::filesystem::create_symlink(target, PathOf());
    std::filesystem::create_symlink("../../new.plist", PathOf("dangling"));
    std::filesystem::create_symlink(PathOf("circle"), PathOf("circle"));
    EXPECT_TRUE(Save("new", Value("x").Get()));
    EXPECT_TRUE(std::filesystem::is_symlink(PathOf()));
    EXPECT_THAT(KeyList(), ElementsAre("new", "old"));
    EXPECT_THAT(ReadFile(target), HasSubstr("<string>x</string>"));
    EXPECT_TRUE(Save("a", Value("x").Get(), "dangling"));
    EXPECT_THAT(ReadFile(mHome.Home() + "/new.plist"), HasSubstr("<string>x</string>"));
    EXPECT_FALSE(Save("a", Value("x").Get(), "circle"));
}

TEST_F(Preferences, WhatTheAdministratorMakesBelongsToTheHomesOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the administrator can give files away";
    }
    constexpr uid_t kUser = 65534;
    ASSERT_EQ(chown(mHome.Home().c_str(), kUser, kUser), 0);
    EXPECT_TRUE(Save("k", Value("v").Get()));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mHome.ConfigHome())) {
        struct stat info{};
        EXPECT_EQ(stat(entry.path().c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, kUser) << entry.path();
    }
}

TEST_F(Preferences, DomainsCannotLeadOutOfTheFolder) {
    const std::string folder = mHome.ConfigHome() + "/velnor/";
    for (const auto& [domain, file] :
         Rows<std::string, std::string>{{"../x", "..%2Fx.plist"},
                                        {"/etc/passwd", "%2Fetc%2Fpasswd.plist"},
                                        {"a%2Fb\n\x7F", "a%252Fb%0A%7F.plist"},
                                        {"..", "...plist"},
                                        {"\u00E9 x", "\u00E9 x.plist"}}) {
        EXPECT_EQ(PathOf(domain), folder + file);
        EXPECT_TRUE(Save("k", Value("v").Get(), domain)) << domain;
        EXPECT_TRUE(std::filesystem::exists(folder + file)) << domain;
    }
    EXPECT_TRUE(Save("k", Value("v").Get(), std::string(249, 'd')));
    EXPECT_FALSE(Save("k", Value("v").Get(), std::string(250, 'd')));
    EXPECT_FALSE(Save("k", Value("v").Get(), std::string(100000, '/')));
    EXPECT_FALSE(Save("k", Value("v").Get(), ""));
    EXPECT_EQ(PathOf(""), "<none>");
    WriteFile(PathOf(std::string(248, 'd')), "damaged");
    EXPECT_TRUE(Save("k", Value("v").Get(), std::string(248, 'd'))) << "the kept name is shortened";
}

TEST_F(Preferences, FoldersFollowTheBaseDirectoryRules) {
    const std::string file = std::string("/velnor/") + kDomain + ".plist";
    const passwd* user = getpwuid(getuid());
    for (const char* useless : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        const ScopedEnv config("XDG_CONFIG_HOME", useless);
        EXPECT_EQ(PathOf(), mHome.Home() + "/.config" + file);
        const ScopedEnv home("HOME", useless);
        EXPECT_EQ(PathOf(), (user ? std::string(user->pw_dir) + "/.config" + file : "<none>"));
    }
    const ScopedEnv folders("XDG_CONFIG_DIRS", "");
    EXPECT_EQ(PathOf(kDomain, {kCFPreferencesAnyUser, kCFPreferencesAnyHost}), "/etc/xdg" + file);
}

TEST_F(Preferences, AnUnchangedFileIsParsedOnceAndAChangedOneSeenAtOnce) {
    std::string entries = "<key>tree</key><dict>";
    for (int i = 0; i < 1000; ++i) {
        entries += "<key>" + std::to_string(i) + "</key><string>value</string>";
    }
    WriteFile(PathOf(), PlistFile(entries + "</dict><key>k</key><string>a</string>"));
    const CFIndex parsed = PlatformPreferencesParseCount();
    const CFIndex alive = PlatformLiveObjectCount();
    for (int i = 0; i < 3000; ++i) {
        ASSERT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(Load("tree").Get())), 1000);
    }
    EXPECT_EQ(PlatformPreferencesParseCount(), parsed + 1);
    EXPECT_EQ(PlatformLiveObjectCount(), alive) << "the cache's own objects do not count";
    EXPECT_TRUE(Save("k", Value("b").Get()));
    EXPECT_EQ(Search("k"), "b");
    EXPECT_EQ(PlatformPreferencesParseCount(), parsed + 1) << "what was written is known";
    EXPECT_EQ(PlatformLiveObjectCount(), alive);
    for (const char* value : {"c", "d", "e"}) {
        WriteFile(PathOf(), PlistFile("<key>k</key><string>" + std::string(value) + "</string>"));
        ASSERT_EQ(Search("k"), value) << "same length, same tick of the clock";
    }
    std::filesystem::remove(PathOf());
    EXPECT_EQ(Search("k"), "<none>");
}

TEST_F(Preferences, ValuesHandedOutAreCountedAndOutliveTheCache) {
    const CFIndex alive = PlatformLiveObjectCount();
    {
        const auto inner = Dictionary();
        Set(inner.Get(), "leaf", Value("x").Get());
        EXPECT_TRUE(Save("tree", inner.Get()));
        Set(inner.Get(), "leaf", Value("changed later").Get());
    }
    EXPECT_EQ(PlatformLiveObjectCount(), alive);
    auto held = Load("tree");
    EXPECT_EQ(PlatformLiveObjectCount(), alive + 1);
    auto* shared = static_cast<CFMutableDictionaryRef>(const_cast<void*>(held.Get()));
    Set(shared, "leaf", Value("y").Get());
    CFDictionaryRemoveValue(shared, String("leaf").Get());
    EXPECT_EQ(Text(Get(Load("tree").Get(), "leaf")), "x");
    EXPECT_TRUE(Save("tree", nullptr));
    EXPECT_EQ(Text(Get(held.Get(), "leaf")), "x");
    EXPECT_EQ(PlatformLiveObjectCount(), alive + 3) << "the map, its key and its leaf";
    held.Reset();
    EXPECT_EQ(PlatformLiveObjectCount(), alive);
}

} // namespace
} // namespace velnor::testing

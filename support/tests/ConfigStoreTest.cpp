#include "support/ConfigStore.h"

#include "testing/Testing.h"

namespace velnor::testing {
namespace {

using Path = Texts;

const std::string kDomain = "com.Tavo.Tarn 12";
constexpr auto kUser = CONFIG_LEVEL_USER;
constexpr auto kSearch = CONFIG_LEVEL_SEARCH;

class ConfigStore : public ::testing::Test {
protected:
    static std::string file(const std::string& folder) {
        return folder + "/velnor/" + kDomain + ".plist";
    }
    static void store(const std::string& folder, const std::string& entries) {
        WriteFile(file(folder), PlistFile(entries));
    }
    std::string stored() const { return ReadFile(file(mHome.ConfigHome())); }
    // The text at the key path, or "-".
    static std::string text(const Path& path, CONFIG_LEVEL level = kSearch) {
        std::string out = "-";
        return readConfigStringValue(kDomain, path, out, level) ? out : "-";
    }
    static bool write(const Path& path, const std::string& value) {
        return writeConfigStringValue(kDomain, path, value, kSearch);
    }
    // The keys at the path, or "no".
    static Path keys(const Path& path) {
        Path out;
        return listConfigKeys(kDomain, path, out, kSearch) ? out : Path{"no"};
    }

    const TempHome mHome;
};

TEST_F(ConfigStore, TextAndIntegersAreReadAsWhatTheyAre) {
    EXPECT_TRUE(writeConfigStringValue(kDomain, "text", "12 <&> \xF0\x9F\x8E\xB9", kUser));
    EXPECT_TRUE(writeConfigIntValue(kDomain, "number", -2147483647 - 1, kUser));
    std::string text = "old";
    int number = 5;
    for (const char* key : {"base_dir", "number"}) {
        EXPECT_FALSE(readConfigStringValue(kDomain, key, text, kSearch)) << key;
    }
    EXPECT_FALSE(readConfigIntValue(kDomain, "text", number, kUser));
    EXPECT_EQ(text + std::to_string(number), "old5");
    EXPECT_TRUE(readConfigStringValue(kDomain, "text", text, kUser));
    EXPECT_TRUE(readConfigIntValue(kDomain, "number", number, kUser));
    EXPECT_EQ(text, "12 <&> \xF0\x9F\x8E\xB9");
    EXPECT_EQ(number, -2147483647 - 1);
    store(mHome.ConfigHome(), "<key>a</key><integer>2147483648</integer><key>b</key><real>1.5"
                              "</real><key>c</key><true/>");
    for (const char* key : {"a", "b", "c"}) {
        EXPECT_FALSE(readConfigIntValue(kDomain, key, number, kSearch)) << key;
    }
}

TEST_F(ConfigStore, TextPastTheBufferIsWrittenButNotRead) {
    for (const std::size_t length : {2047U, 2048U}) {
        const std::string value(length, 'v');
        const std::string readable = length == 2047 ? value : "-";
        EXPECT_TRUE(writeConfigStringValue(kDomain, "long", value, kUser));
        EXPECT_TRUE(write({"tree", "leaf"}, value));
        EXPECT_EQ(text({"long"}), readable);
        EXPECT_EQ(text({"tree", "leaf"}), readable);
        EXPECT_THAT(stored(), HasSubstr(">" + value + "<"));
    }
    EXPECT_TRUE(writeConfigStringValue(kDomain, std::string(2048, 'k'), "v", kUser));
    EXPECT_THAT(keys({}), ElementsAre("long", "tree"));
}

TEST_F(ConfigStore, TextThatIsNotUtf8IsRefusedEverywhere) {
    const std::string bad = "\xFF";
    Path list;
    EXPECT_FALSE(writeConfigStringValue(kDomain, "key", bad, kUser));
    EXPECT_FALSE(writeConfigStringValue(kDomain, bad, "value", kUser));
    EXPECT_FALSE(writeConfigIntValue(bad, "key", 1, kUser));
    EXPECT_FALSE(write({"tree", bad, "leaf"}, "value"));
    EXPECT_FALSE(write({"tree", "leaf"}, bad));
    EXPECT_FALSE(listConfigKeys(bad, Path{}, list, kUser));
    EXPECT_TRUE(deleteConfigValue(kDomain, bad, kUser));
    EXPECT_EQ(text({bad}) + text({"tree", bad}) + stored(), "--");
}

TEST_F(ConfigStore, DeletingIsAlwaysTrueAndPlaceholdersDoNothing) {
    ASSERT_TRUE(writeConfigStringValue(kDomain, "key", "value", kUser));
    Path out;
    EXPECT_FALSE(deleteConfigKey(kDomain, "key", kUser));
    EXPECT_FALSE(listConfigStringKeys(kDomain, "key", out, kUser));
    EXPECT_EQ(text({"key"}), "value");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(deleteConfigValue(kDomain, "key", kUser));
        EXPECT_EQ(text({"key"}), "-");
    }
}

TEST_F(ConfigStore, OnlyReadsByKeyPathHeedTheLevel) {
    store(mHome.ConfigDirs(), "<key>key</key><string>all</string><key>tree</key><dict><key>a</key>"
                              "<string>all</string><key>b</key><string>all</string></dict>");
    EXPECT_EQ(text({"tree", "a"}, kSearch), "all");
    EXPECT_EQ(text({"tree", "a"}, kUser), "-");
    EXPECT_EQ(text({"key"}, kUser), "all") << "a path of one element is a key";
    EXPECT_THAT(keys({"tree"}), ElementsAre("a", "b"));
    EXPECT_THAT(keys({}), ElementsAre("no"));
    ASSERT_TRUE(write({"tree", "a"}, "own")) << "a write starts from the user's own value";
    EXPECT_EQ(text({"tree", "a"}, kUser) + text({"tree", "a"}, kSearch), "ownown");
    EXPECT_EQ(text({"tree", "b"}, kSearch), "-") << "the first tree found is the one walked";
}

TEST_F(ConfigStore, KeyPathWritesGrowTheTreeAndReplaceTextOnly) {
    store(mHome.ConfigHome(), "<key>number</key><integer>7</integer><key>tree</key><dict><key>n"
                              "</key><integer>8</integer><key>date</key><date>"
                              "2026-11-16T18:54:07Z</date></dict>");
    EXPECT_TRUE(write({"Plugins", "A", "B"}, "x"));
    EXPECT_TRUE(write({"Plugins", "A", "E"}, "y"));
    EXPECT_TRUE(write({"Plugins", "A", "B"}, "x2"));
    EXPECT_TRUE(write({"Plugins", "N", "M", "L"}, "z"));
    EXPECT_TRUE(write({"K", "L"}, "v"));
    EXPECT_TRUE(write({"tree", "text"}, "new"));
    EXPECT_TRUE(write(Path(256, "d"), "deep"));
    EXPECT_EQ(text(Path(256, "d")), "deep");
    const std::string before = stored();
    EXPECT_THAT(before, AllOf(HasSubstr("<integer>8<"), HasSubstr("2026-11-16T18:54")));
    for (const Path& path :
         {Path{}, Path(257, "e"), Path{"Plugins"}, Path{"none"}, Path{"Plugins", "A"},
          Path{"Plugins", "A", "B", "deeper"}, Path{"Plugins", "A", "B", "much", "deeper"},
          Path{"number"}, Path{"number", "x"}, Path{"tree", "n"}, Path{"tree", "n", "x"}}) {
        EXPECT_FALSE(write(path, "no")) << PrintToString(path);
        EXPECT_EQ(text(path), "-") << PrintToString(path);
    }
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(text({"Plugins", "A", "B"}) + text({"Plugins", "A", "E"}) + text({"K", "L"}), "x2yv");
    EXPECT_EQ(text({"Plugins", "N", "M", "L"}) + text({"tree", "text"}), "znew");
}

TEST_F(ConfigStore, ListsAppendTheKeysOfDictionariesOnly) {
    Path out = {"kept"};
    EXPECT_FALSE(listConfigKeys(kDomain, "", out, kUser));
    ASSERT_TRUE(write({"Root", "a"}, "1"));
    ASSERT_TRUE(write({"Root", "dict", "b"}, "1"));
    EXPECT_TRUE(listConfigKeys(kDomain, "", out, kUser));
    EXPECT_TRUE(listConfigKeys(kDomain, Path{"Root", "dict"}, out, kUser));
    EXPECT_THAT(out, ElementsAre("kept", "a", "dict", "b"));
    EXPECT_THAT(keys({""}), ElementsAre("a", "dict")) << "an empty key stands for Root in a path";
    store(mHome.ConfigHome(), "<key>Root</key><dict><key>empty</key><dict/></dict>");
    for (const Path& path : {Path{"Root", "empty"}, Path{"Root", "none"}, Path{"Root", "a", "b"}}) {
        EXPECT_THAT(keys(path), ElementsAre("no"));
    }
}

} // namespace
} // namespace velnor::testing

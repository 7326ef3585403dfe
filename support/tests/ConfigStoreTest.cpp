#include "support/ConfigStore.h"

#include "platform/tests/TempHome.h"

#include <gmock/gmock.h>

namespace {

using namespace velnor;
using testing::ElementsAre;
using testing::IsEmpty;
using velnor::test::ReadFile;
using velnor::test::TempHome;
using velnor::test::WriteFile;

using Path = std::vector<std::string>;

const std::string kDomain = "com.Tavo.Tarn 12";
constexpr auto kUser = CONFIG_LEVEL_USER;
constexpr auto kSearch = CONFIG_LEVEL_SEARCH;

class ConfigStore : public testing::Test {
protected:
    std::string userFile() const { return mHome.ConfigHome() + "/velnor/" + kDomain + ".plist"; }
    std::string systemFile() const { return mHome.ConfigDirs() + "/velnor/" + kDomain + ".plist"; }

    static std::string plist(const std::string& entries) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" +
               entries + "</dict></plist>\n";
    }

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
    EXPECT_FALSE(readConfigStringValue(kDomain, "base_dir", text, kSearch));
    EXPECT_FALSE(readConfigStringValue(kDomain, "number", text, kUser));
    EXPECT_FALSE(readConfigIntValue(kDomain, "text", number, kUser));
    EXPECT_FALSE(readConfigIntValue("com.none", "number", number, kUser));
    EXPECT_EQ(text, "old");
    EXPECT_EQ(number, 5);
    EXPECT_TRUE(readConfigStringValue(kDomain, "text", text, kUser));
    EXPECT_TRUE(readConfigIntValue(kDomain, "number", number, kUser));
    EXPECT_EQ(text, "12 <&> \xF0\x9F\x8E\xB9");
    EXPECT_EQ(number, -2147483647 - 1);
}

TEST_F(ConfigStore, NumbersThatAreNo32BitIntegerAreNotRead) {
    WriteFile(userFile(), plist("<key>big</key><integer>2147483648</integer><key>real</key>"
                                "<real>1.5</real><key>flag</key><true/><key>fits</key>"
                                "<integer>2147483647</integer>"));
    int number = 5;
    for (const char* key : {"big", "real", "flag"})
        EXPECT_FALSE(readConfigIntValue(kDomain, key, number, kSearch)) << key;
    EXPECT_EQ(number, 5);
    EXPECT_TRUE(readConfigIntValue(kDomain, "fits", number, kSearch));
    EXPECT_EQ(number, 2147483647);
}

TEST_F(ConfigStore, TextPastTheBufferIsWrittenButNotRead) {
    for (const auto& [length, readable] : {std::pair(2047, true), {2048, false}, {3000, false}}) {
        const std::string value(static_cast<std::size_t>(length), 'v');
        EXPECT_TRUE(writeConfigStringValue(kDomain, "long", value, kUser));
        EXPECT_TRUE(writeConfigStringValue(kDomain, Path{"tree", "leaf"}, value, kUser));
        std::string out = "old";
        EXPECT_EQ(readConfigStringValue(kDomain, "long", out, kUser), readable) << length;
        EXPECT_EQ(out, readable ? value : "old");
        EXPECT_EQ(text({"tree", "leaf"}), readable ? value : "-") << length;
        EXPECT_THAT(ReadFile(userFile()), testing::HasSubstr(">" + value + "<"));
    }
    EXPECT_TRUE(writeConfigStringValue(kDomain, std::string(2048, 'k'), "v", kUser));
    EXPECT_THAT(keys({}), ElementsAre("long", "tree"));
}

TEST_F(ConfigStore, TextThatIsNotUtf8IsRefusedEverywhere) {
    const std::string bad = "\xFF";
    std::string out;
    Path list;
    EXPECT_FALSE(writeConfigStringValue(kDomain, "key", bad, kUser));
    EXPECT_FALSE(writeConfigStringValue(kDomain, bad, "value", kUser));
    EXPECT_FALSE(writeConfigIntValue(bad, "key", 1, kUser));
    EXPECT_FALSE(write({"tree", bad, "leaf"}, "value"));
    EXPECT_FALSE(write({"tree", "leaf"}, bad));
    EXPECT_FALSE(readConfigStringValue(bad, "key", out, kUser));
    EXPECT_FALSE(listConfigKeys(bad, Path{}, list, kUser));
    EXPECT_TRUE(deleteConfigValue(kDomain, bad, kUser));
    EXPECT_EQ(ReadFile(userFile()), "");
}

TEST_F(ConfigStore, DeletingIsAlwaysTrueAndPlaceholdersDoNothing) {
    ASSERT_TRUE(writeConfigStringValue(kDomain, "key", "value", kUser));
    Path out;
    EXPECT_FALSE(deleteConfigKey(kDomain, "key", kUser));
    EXPECT_FALSE(listConfigStringKeys(kDomain, "key", out, kUser));
    EXPECT_THAT(out, IsEmpty());
    EXPECT_EQ(text({"key"}), "value");
    EXPECT_TRUE(deleteConfigValue(kDomain, "key", kUser));
    EXPECT_EQ(text({"key"}), "-");
    EXPECT_TRUE(deleteConfigValue(kDomain, "key", kUser));
}

TEST_F(ConfigStore, OnlyReadsByKeyPathHeedTheLevel) {
    WriteFile(systemFile(),
              plist("<key>key</key><string>all</string><key>tree</key><dict><key>a</key>"
                    "<string>all</string><key>b</key><string>all</string></dict>"));
    EXPECT_EQ(text({"tree", "a"}, kSearch), "all");
    EXPECT_EQ(text({"tree", "a"}, kUser), "-");
    EXPECT_EQ(text({"key"}, kUser), "all") << "a path of one element is a key";
    EXPECT_THAT(keys({"tree"}), ElementsAre("a", "b"));
    EXPECT_THAT(keys({}), ElementsAre("no"));

    ASSERT_TRUE(write({"tree", "a"}, "own")) << "a write starts from the user's own value";
    EXPECT_EQ(text({"tree", "a"}, kUser), "own");
    EXPECT_EQ(text({"tree", "a"}, kSearch), "own");
    EXPECT_EQ(text({"tree", "b"}, kSearch), "-")
        << "the first tree found is the one that is walked";
}

TEST_F(ConfigStore, KeyPathWritesGrowTheTreeAndReplaceTextOnly) {
    EXPECT_TRUE(write({"Plugins", "A", "B"}, "x"));
    EXPECT_TRUE(write({"Plugins", "A", "E"}, "y"));
    EXPECT_THAT(keys({"Plugins"}), ElementsAre("A"));
    EXPECT_THAT(keys({"Plugins", "A"}), ElementsAre("B", "E"));
    EXPECT_TRUE(write({"Plugins", "A", "B"}, "x2"));
    EXPECT_TRUE(write({"Plugins", "N", "M", "L"}, "z"));
    EXPECT_TRUE(write({"K", "L"}, "v"));
    const std::string before = ReadFile(userFile());
    const Path refused[] = {{},
                            {"Plugins"},
                            {"none"},
                            {"Plugins", "A"},
                            {"Plugins", "A", "B", "deeper"},
                            {"Plugins", "A", "B", "much", "deeper"}};
    for (const Path& path : refused)
        EXPECT_FALSE(write(path, "no"));
    EXPECT_EQ(ReadFile(userFile()), before);
    EXPECT_EQ(text({"Plugins", "A", "B"}), "x2");
    EXPECT_EQ(text({"Plugins", "A", "E"}), "y");
    EXPECT_EQ(text({"Plugins", "N", "M", "L"}), "z");
    EXPECT_EQ(text({"K", "L"}), "v");
}

TEST_F(ConfigStore, LeavesOfOtherTypesAreNeitherReadNorReplaced) {
    ASSERT_TRUE(writeConfigIntValue(kDomain, "number", 7, kUser));
    WriteFile(userFile(), plist("<key>number</key><integer>7</integer><key>tree</key><dict>"
                                "<key>number</key><integer>8</integer><key>date</key>"
                                "<date>2026-11-16T18:54:07Z</date></dict>"));
    for (const Path& path : {Path{"number"}, Path{"number", "x"}, Path{"tree"},
                             Path{"tree", "number"}, Path{"tree", "number", "x"}, Path{}}) {
        EXPECT_EQ(text(path), "-");
        EXPECT_FALSE(write(path, "new"));
        if (path.size() > 1 || path == Path{"number"}) {
            EXPECT_THAT(keys(path), ElementsAre("no"));
        }
    }
    EXPECT_TRUE(write({"tree", "text"}, "new"));
    EXPECT_THAT(ReadFile(userFile()), testing::AllOf(testing::HasSubstr("<integer>8<"),
                                                     testing::HasSubstr("2026-11-16T18:54:07Z")));
}

TEST_F(ConfigStore, ListsAppend) {
    Path out = {"kept"};
    EXPECT_FALSE(listConfigKeys(kDomain, "", out, kUser));
    ASSERT_TRUE(write({"Root", "a"}, "1"));
    ASSERT_TRUE(write({"Root", "dict", "b"}, "1"));
    EXPECT_TRUE(listConfigKeys(kDomain, "", out, kUser));
    EXPECT_TRUE(listConfigKeys(kDomain, Path{"Root", "dict"}, out, kUser));
    EXPECT_THAT(out, ElementsAre("kept", "a", "dict", "b"));
    WriteFile(userFile(), plist("<key>Root</key><dict><key>empty</key><dict/></dict>"));
    EXPECT_THAT(keys({"Root", "empty"}), ElementsAre("no"));
    EXPECT_THAT(keys({"Root", "none"}), ElementsAre("no"));
    EXPECT_THAT(keys({}), ElementsAre("Root"));
    EXPECT_THAT(keys({""}), ElementsAre("empty")) << "an empty key stands for Root in a path too";
}

} // namespace

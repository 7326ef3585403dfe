#include "support/Text.h"

#include "support/Allocator.h"
#include "support/Comments.h"
#include "support/PathStrings.h"
#include "support/Random.h"
#include "support/TextFiles.h"
#include "testing/Testing.h"

#include <cstdlib>
#include <random>
#include <sstream>

namespace velnor::testing {
namespace {

TEST(Text, EachTrimTakesOffItsOwnCharacters) {
    for (const auto& [function, in, expected] :
         Rows<void (*)(const std::string&, std::string&), const char*, const char*>{
             {trim, "\x01 \t a b\xA0\t\n", "a b\xA0"},
             {trim, "\x1F\r ", ""},
             {trim_left, " \t a ", "\t a "},
             {trim_right, " a\t ", " a\t"},
             {trim_space_tabs, " \t\n a\t ", "\n a"},
             {uppercase, "az\xC3\xA9[", "AZ\xC3\xA9["},
             {lowercase, "AZ\xC3\x89[", "az\xC3\x89["}}) {
        std::string text = in;
        function(text, text);
        EXPECT_EQ(text, expected);
    }
}

TEST(Text, TokensAreThePiecesBetweenDelimiters) {
    const auto tokens = [](const std::string& text, const std::string& delimiter) {
        Texts out;
        PSimpleStringTokenizer(text, delimiter, out);
        return out;
    };
    EXPECT_THAT(tokens("a,,b,", ","), ElementsAre("a", "", "b", ""));
    EXPECT_THAT(tokens("abc", ","), IsEmpty());
    EXPECT_THAT(tokens("abc", ""), IsEmpty());
    EXPECT_THAT(tokens("a--b---c", "--"), ElementsAre("a", "b", "-c"));
    std::string text = "aaaXa";
    PStringReplacer(text, text, "aa", "b");
    EXPECT_EQ(text, "baXa");
    PStringReplacer("abc", text, "x", "y");
    EXPECT_EQ(text, "abc");
}

TEST(PathStrings, SplitAtTheLastSeparator) {
    for (const auto& [path, folder, file, stripped, extension, relative] :
         Rows<const char*, const char*, const char*, const char*, const char*, bool>{
             {"", "", "", "", "", true},
             {"file.txt", ".", "file.txt", "file", "txt", true},
             {"/file.txt", "", "file.txt", "/file", "txt", false},
             {"a/b/c", "a/b", "c", "a/b/c", "", true},
             {"dir/", "dir", "", "dir/", "", true},
             {"archive.tar.gz", ".", "archive.tar.gz", "archive.tar", "gz", true}}) {
        EXPECT_EQ(getPathFromFile(path), folder) << path;
        EXPECT_EQ(getFileFromPath(path), file) << path;
        EXPECT_EQ(stripFileExtension(path), stripped) << path;
        EXPECT_EQ(getFileExtension(path), extension) << path;
        EXPECT_EQ(pathIsRelative(path), relative) << path;
    }
}

TEST(PathStrings, CleansAndConverts) {
    std::string text = "a/b:c d?\\*><|\xC3\xA9.";
    cleanPathName(text);
    EXPECT_EQ(text, "a_b_c_d______\xC3\xA9.");
    PToPosix("dir\\sub\\file", text);
    EXPECT_EQ(text, "dir/sub/file");
    PToPosix(std::string(3000, '\\'), text);
    EXPECT_EQ(text, std::string(2047, '/'));
}

TEST(RemoveComments, ErasesBlockThenLineComments) {
    for (const auto& [in, expected] :
         Rows<const char*, const char*>{{"a /* b */ c // d\ne", "a  c \ne"},
                                        {"a//b\r\nc//d\re", "a\r\nc\re"},
                                        {"x //* y */\nz", "x \nz"},
                                        {"//**a\n*/b", "\n*/b"},
                                        {"/*/ a */b", "b"},
                                        {"a/*b*//*c*/d", "ad"},
                                        {"/ /*b*/*c*/", "/ *c*/"},
                                        {"\"http://x\" y", "\"http:"},
                                        {"/", "/"},
                                        {"a/* b // c\nd", "a"}}) {
        std::string text = in;
        std::ostringstream err;
        removeComments(text, &err);
        EXPECT_EQ(text, expected) << in;
        EXPECT_EQ(err.str(), text == "a" ? "removeComments /* comment not closed\n" : "") << in;
    }
    std::string text = "a/*";
    removeComments(text, nullptr);
    EXPECT_EQ(text, "a");
}

TEST(GetLine, TakesEveryLineEndAndStopsWhereTheStreamFails) {
    std::istringstream in("a\r\nb\rc\n\n\r\rx");
    Texts lines;
    std::string line;
    while (getLine(in, line)) {
        lines.push_back(line);
    }
    EXPECT_THAT(lines, ElementsAre("a", "b", "c", "", "", "", "x"));
    std::istringstream failed("a");
    failed.setstate(std::ios::badbit);
    EXPECT_FALSE(getLine(failed, line));
}

TEST(CreateStringMap, LaterLinesOverrideAndBothSidesAreTrimmed) {
    const TempFolder folder;
    std::map<std::string, std::string> map = {{"kept", "1"}};
    EXPECT_TRUE(createStringMap(
        WriteFile(folder / "map", " k = v=w \r\nskipped\n=\nn\xC3\xA9=\xC3\xA9\nk=2"), map, '='));
    EXPECT_THAT(map, ElementsAre(Pair("", ""), Pair("k", "2"), Pair("kept", "1"),
                                 Pair("n\xC3\xA9", "\xC3\xA9")));
    EXPECT_FALSE(createStringMap(folder / "none", map, '='));
    EXPECT_TRUE(createStringMap(folder.Path(), map, '=')) << "a folder opens, and holds no line";
}

TEST(Random, DrawsScaleTheStandardGenerator) {
    std::srand(7);
    const int drawn[] = {std::rand(), std::rand(), std::rand(), std::rand()};
    std::srand(7);
    EXPECT_DOUBLE_EQ(PUrand(), drawn[0] / 2147483647.0);
    EXPECT_FLOAT_EQ(PUrandf(), static_cast<float>(drawn[1] / 2147483647.0));
    EXPECT_DOUBLE_EQ(PBrand(), drawn[2] / 2147483647.0 * 2 - 1);
    EXPECT_FLOAT_EQ(PBrandf(), static_cast<float>(drawn[3] / 2147483647.0 * 2 - 1));
    EXPECT_EQ(RAND_MAX * oneOnRANDMAX2 - 1, 1);
}

TEST(Random, SeedingFillsTheTwisterState) {
    EXPECT_EQ(std::exchange(mti, 0), kTwisterNeverSeeded);
    Psrand(5489);
    EXPECT_EQ(std::exchange(mti, kTwisterNeverSeeded), 624);
    std::stringstream state;
    state << std::mt19937(5489);
    for (const uint32_t word : mt) {
        uint32_t expected = 0;
        state >> expected;
        ASSERT_EQ(word, expected);
    }
}

TEST(Allocator, BlocksComeFromTheOneThatIsGiven) {
    struct Counting final : Allocator {
        void* Allocate(unsigned long size) override { return mAsked = size, &mAsked; }
        void* Reallocate(void*, unsigned long) override { return nullptr; }
        void Free(void* block) override { mFreed = block; }
        unsigned long mAsked = 0;
        void* mFreed = nullptr;
    } allocator;
    THEFREE(THEALLOC(12, &allocator), &allocator);
    EXPECT_EQ(allocator.mAsked, 12U);
    EXPECT_EQ(allocator.mFreed, &allocator.mAsked);
    auto* bytes = static_cast<char*>(THEALLOC(64, nullptr));
    EXPECT_EQ(std::string(bytes, 64), std::string(64, '\0'));
    THEFREE(defaultRealloc(bytes, 4096), nullptr);
}

} // namespace
} // namespace velnor::testing

#include "support/Text.h"
#include "support/Allocator.h"
#include "support/Comments.h"
#include "support/Compression.h"
#include "support/Random.h"
#include "support/TextFiles.h"

#include "platform/tests/TempFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <random>
#include <sstream>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(Text, EachTrimTakesOffItsOwnCharacters) {
    const std::string in = " \t a\xC3\xA9 b\xA0\t ";
    const std::pair<void (*)(const std::string&, std::string&), const char*> cases[] = {
        {trim, "a\xC3\xA9 b\xA0"},
        {trim_left, "\t a\xC3\xA9 b\xA0\t "},
        {trim_right, " \t a\xC3\xA9 b\xA0\t"},
        {trim_space_tabs, "a\xC3\xA9 b\xA0"},
        {uppercase, " \t A\xC3\xA9 B\xA0\t "},
    };
    for (const auto& [function, expected] : cases) {
        std::string text = in;
        function(text, text);
        EXPECT_EQ(text, expected);
    }
    std::string out;
    trim("\x01\x1F\n \r", out);
    EXPECT_EQ(out, "");
    trim_space_tabs("\n a \n", out);
    EXPECT_EQ(out, "\n a \n");
    lowercase("AZ\xC3\x89[", out);
    EXPECT_EQ(out, "az\xC3\x89[");
}

TEST(Text, TokensAreThePiecesBetweenDelimiters) {
    const auto tokens = [](const std::string& text, const std::string& delimiter) {
        std::vector<std::string> out;
        PSimpleStringTokenizer(text, delimiter, out);
        return out;
    };
    EXPECT_THAT(tokens("a,,b,", ","), ElementsAre("a", "", "b", ""));
    EXPECT_THAT(tokens("abc", ","), IsEmpty());
    EXPECT_THAT(tokens("", ","), IsEmpty());
    EXPECT_THAT(tokens("abc", ""), IsEmpty());
    EXPECT_THAT(tokens("a--b---c", "--"), ElementsAre("a", "b", "-c"));
    EXPECT_THAT(tokens(",", ","), ElementsAre("", ""));
}

TEST(Text, ReplacesWithoutOverlapAndIntoItself) {
    std::string text = "aaaXa";
    PStringReplacer(text, text, "aa", "b");
    EXPECT_EQ(text, "baXa");
    PStringReplacer("abc", text, "x", "y");
    EXPECT_EQ(text, "abc");
    PStringReplacer("a.b", text, ".", "..");
    EXPECT_EQ(text, "a..b");
}

TEST(Text, PlaceholdersSaySo) {
    EXPECT_EQ(PcalcMD5("x"), "DUMMYMD5");
    EXPECT_EQ(VLNSConv("\xFF x"), "\xFF x");
    EXPECT_FALSE(PGzipFile("/dev/null", "/dev/null"));
}

TEST(RemoveComments, ErasesBlockThenLineComments) {
    const std::pair<const char*, const char*> cases[] = {
        {"a /* b */ c // d\ne", "a  c \ne"},
        {"a//b\r\nc//d\re", "a\r\nc\re"},
        {"x //* y */\nz", "x \nz"},
        {"x //*/ y\nz /* w */", "x \nz "},
        {"//**a\n*/b", "\n*/b"},
        {"/*/ a */b", "b"},
        {"a/*b*//*c*/d", "ad"},
        {"/ /*b*/*c*/", "/ *c*/"},
        {"\"http://x\" y", "\"http:"},
        {"/", "/"},
    };
    for (const auto& [in, expected] : cases) {
        std::string text = in;
        std::ostringstream err;
        removeComments(text, &err);
        EXPECT_EQ(text, expected) << in;
        EXPECT_EQ(err.str(), "") << in;
    }
}

TEST(RemoveComments, AnUnclosedCommentTakesTheRestAndIsReported) {
    std::ostringstream err;
    std::string text = "a/* b // c\nd";
    removeComments(text, &err);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(err.str(), "removeComments /* comment not closed\n");
    text = "a/*";
    removeComments(text, nullptr);
    EXPECT_EQ(text, "a");
}

TEST(GetLine, TakesEveryLineEnd) {
    const auto lines = [](const std::string& text) {
        std::istringstream in(text);
        std::vector<std::string> out;
        for (std::string line; getLine(in, line);)
            out.push_back(line);
        return out;
    };
    EXPECT_THAT(lines("a\r\nb\rc\n"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(lines("\n\r\rx"), ElementsAre("", "", "", "x"));
    EXPECT_THAT(lines(""), IsEmpty());
    std::istringstream failed("a");
    failed.setstate(std::ios::badbit);
    std::string line = "old";
    EXPECT_FALSE(getLine(failed, line));
    EXPECT_EQ(line, "");
}

TEST(CreateStringMap, LaterLinesOverrideAndBothSidesAreTrimmed) {
    const velnor::test::TempFolder folder;
    const std::string path = folder / "map";
    velnor::test::WriteFile(path, " k = v=w \r\nskipped\n=\nn\xC3\xA9=\xC3\xA9\nk=2\n");
    std::map<std::string, std::string> map = {{"kept", "1"}};
    EXPECT_TRUE(createStringMap(path, map, '='));
    EXPECT_THAT(map, ElementsAre(Pair("", ""), Pair("k", "2"), Pair("kept", "1"),
                                 Pair("n\xC3\xA9", "\xC3\xA9")));
    EXPECT_FALSE(createStringMap(path + ".none", map, '='));
    EXPECT_TRUE(createStringMap(folder.Path(), map, '=')) << "a folder opens, and holds no line";
}

TEST(Random, DrawsScaleTheStandardGenerator) {
    std::srand(7);
    const int expected[4] = {std::rand(), std::rand(), std::rand(), std::rand()};
    std::srand(7);
    EXPECT_DOUBLE_EQ(PUrand(), expected[0] / 2147483647.0);
    EXPECT_FLOAT_EQ(PUrandf(), static_cast<float>(expected[1] / 2147483647.0));
    EXPECT_DOUBLE_EQ(PBrand(), expected[2] / 2147483647.0 * 2 - 1);
    EXPECT_FLOAT_EQ(PBrandf(), static_cast<float>(expected[3] / 2147483647.0 * 2 - 1));
    EXPECT_EQ(RAND_MAX * oneOnRANDMAX, 1);
    EXPECT_EQ(RAND_MAX * oneOnRANDMAX2 - 1, 1);
}

TEST(Random, SeedingFillsTheTwisterState) {
    EXPECT_EQ(mti, 625);
    Psrand(5489);
    EXPECT_EQ(mti, 624);
    std::mt19937 twister(5489);
    std::stringstream state;
    state << twister;
    for (const uint32_t word : mt) {
        uint32_t expected = 0;
        state >> expected;
        ASSERT_EQ(word, expected);
    }
    mti = kTwisterNeverSeeded;
}

class CountingAllocator final : public velnor::Allocator {
public:
    void* Allocate(unsigned long size) override {
        mAsked = size;
        return &mAsked;
    }
    void* Reallocate(void*, unsigned long) override {
        ADD_FAILURE();
        return nullptr;
    }
    void Free(void* block) override { mFreed = block; }

    unsigned long mAsked = 0;
    void* mFreed = nullptr;
};

TEST(Allocator, BlocksComeFromTheOneThatIsGiven) {
    CountingAllocator allocator;
    void* block = velnor::THEALLOC(12, &allocator);
    EXPECT_EQ(allocator.mAsked, 12U);
    velnor::THEFREE(block, &allocator);
    EXPECT_EQ(allocator.mFreed, &allocator.mAsked);

    auto* bytes = static_cast<char*>(velnor::THEALLOC(64, nullptr));
    EXPECT_EQ(std::string(bytes, 64), std::string(64, '\0'));
    bytes[0] = 'x';
    bytes = static_cast<char*>(velnor::defaultRealloc(bytes, 4096));
    EXPECT_EQ(bytes[0], 'x');
    velnor::THEFREE(bytes, nullptr);
}

} // namespace

#include "testing/Testing.h"

#include <array>

namespace velnor::testing {
namespace {

TEST(String, RefusesWhatIsNotWellFormedUtf8) {
    for (const std::string_view bytes :
         {"\x80", "a\xC0\xAF", "\xC1\x81", "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xED\xA0\x80",
          "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xE2\x82", "\xC3(",
          "\xF0\x9F\x98"}) {
        EXPECT_FALSE(String(bytes)) << ::testing::PrintToString(bytes);
    }
    for (const std::string_view bytes :
         {"", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(Text(String(bytes).Get()), bytes);
    }
    EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "a", 0x7777), nullptr);
}

TEST(String, CountsAndCopiesUtf16Units) {
    const auto text = String("a\xC3\xA9\xF0\x9F\x98\x80z");
    const std::array<UniChar, 5> units = {'a', 0xE9, 0xD83D, 0xDE00, 'z'};
    ASSERT_EQ(CFStringGetLength(text.Get()), 5);
    std::array<UniChar, 5> copy{};
    CFStringGetCharacters(text.Get(), CFRangeMake(0, 5), copy.data());
    EXPECT_EQ(copy, units);
    CFStringGetCharacters(text.Get(), CFRangeMake(3, 2), copy.data());
    EXPECT_THAT(copy, ElementsAre(0xDE00, 'z', 0xD83D, 0xDE00, 'z'));

    const CFRef<CFStringRef> back(CFStringCreateWithCharacters(nullptr, units.data(), 5));
    EXPECT_TRUE(CFEqual(back.Get(), text.Get()));
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, units.data(), 3), nullptr) << "high alone";
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, units.data() + 3, 2), nullptr) << "low alone";
}

TEST(String, ConvertsTheLegacyEncodingBothWays) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        all.push_back(static_cast<char>(byte));
    }
    const CFRef<CFStringRef> text(
        CFStringCreateWithCString(nullptr, all.c_str(), CFStringGetSystemEncoding()));
    ASSERT_TRUE(text);
    EXPECT_EQ(CFStringGetLength(text.Get()), 255);
    char back[256];
    ASSERT_TRUE(CFStringGetCString(text.Get(), back, sizeof back, kCFStringEncodingMacRoman));
    EXPECT_EQ(back, all);

    const CFRef<CFStringRef> known(
        CFStringCreateWithCString(nullptr, "\x80\x8E\xDB\xFF", kCFStringEncodingMacRoman));
    EXPECT_EQ(Text(known.Get()), "\u00C4\u00E9\u20AC\u02C7");
    EXPECT_FALSE(
        CFStringGetCString(String("\u0416").Get(), back, sizeof back, kCFStringEncodingMacRoman));
}

TEST(String, FillsTheBufferOnlyWhenAllOfItFits) {
    for (const auto& [text, size, encoding, fits] :
         Rows<std::string_view, CFIndex, CFStringEncoding, bool>{
             {"abc", 4, kCFStringEncodingUTF8, true},
             {"abc", 3, kCFStringEncodingUTF8, false},
             {"", 1, kCFStringEncodingUTF8, true},
             {"", 0, kCFStringEncodingUTF8, false},
             {"\u00E9", 3, kCFStringEncodingUTF8, true},
             {"\u00E9", 2, kCFStringEncodingUTF8, false},
             {"\u00E9", 2, kCFStringEncodingMacRoman, true},
             {"\u00E9", 9, kCFStringEncodingASCII, false},
             {std::string_view("a\0b", 3), 9, kCFStringEncodingUTF8, false}}) {
        char buffer[16];
        EXPECT_EQ(CFStringGetCString(String(text).Get(), buffer, size, encoding), fits)
            << text << " in " << size;
    }
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "\x80", kCFStringEncodingASCII), nullptr);
}

TEST(String, LeavesAByteOrderMarkOutOnRequestOnly) {
    const auto* bytes = reinterpret_cast<const UInt8*>("\xEF\xBB\xBFx");
    const CFRef<CFStringRef> without(
        CFStringCreateWithBytes(nullptr, bytes, 4, kCFStringEncodingUTF8, true));
    const CFRef<CFStringRef> with(
        CFStringCreateWithBytes(nullptr, bytes, 4, kCFStringEncodingUTF8, false));
    EXPECT_EQ(Text(without.Get()), "x");
    EXPECT_EQ(CFStringGetLength(with.Get()), 2);
}

} // namespace
} // namespace velnor::testing

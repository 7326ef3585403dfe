#include "platform/CFDate.h"
#include "testing/Testing.h"

#include <cmath>
#include <limits>

namespace velnor::testing {
namespace {

using Limits32 = std::numeric_limits<SInt32>;
using Limits64 = std::numeric_limits<SInt64>;

TEST(Value, LiveCountCountsEachObjectOnce) {
    const CFIndex before = PlatformLiveObjectCount();
    const auto outer = Dictionary();
    const auto inner = Array();
    CFArrayAppendValue(inner.Get(), Value("text").Get());
    CFArrayAppendValue(inner.Get(), kCFBooleanTrue);
    Set(outer.Get(), "list", inner.Get());
    Set(outer.Get(), "list", inner.Get());
    const CFRef<CFMutableDictionaryRef> copy(
        CFDictionaryCreateMutableCopy(nullptr, 0, outer.Get()));
    EXPECT_EQ(PlatformLiveObjectCount(), before + 5) << "two maps, key, list, text";
}

TEST(Value, CountsSurviveSharingBetweenThreads) {
    const auto shared = Value("shared");
    InThreads(4, [&shared](int) {
        for (int round = 0; round < 5000; ++round) {
            const auto mine = shared.Share();
            const auto list = Array();
            CFArrayAppendValue(list.Get(), mine.Get());
        }
    });
    EXPECT_EQ(CFGetRetainCount(shared.Get()), 1);
}

template <class T>
std::pair<bool, T> Convert(CFTypeRef number, CFNumberType type) {
    T value{};
    const bool exact = CFNumberGetValue(static_cast<CFNumberRef>(number), type, &value);
    return {exact, value};
}

TEST(Number, ConvertsToThirtyTwoBitsWithoutLossOrSaysSo) {
    for (const auto& [number, exact, value] : Rows<CFRef<CFTypeRef>, bool, SInt32>{
             {Value(SInt64{Limits32::max()}), true, Limits32::max()},
             {Value(SInt64{Limits32::max()} + 1), false, Limits32::max()},
             {Value(SInt64{Limits32::min()}), true, Limits32::min()},
             {Value(Limits64::min()), false, Limits32::min()},
             {Value(-7.0), true, -7},
             {Value(2.75), false, 3},
             {Value(2147483647.75), false, Limits32::max()},
             {Value(-2147483648.0), true, Limits32::min()},
             {Value(-1e300), false, Limits32::min()},
             {Value(std::nan("")), false, 0}}) {
        EXPECT_EQ((Convert<SInt32>(number.Get(), kCFNumberSInt32Type)), std::pair(exact, value));
    }
}

TEST(Number, ConvertsBetweenWideIntegersAndReals) {
    const SInt64 odd = (SInt64{1} << 53) + 1;
    EXPECT_EQ((Convert<double>(Value(odd - 1).Get(), kCFNumberFloat64Type)),
              std::pair(true, 9007199254740992.0));
    EXPECT_FALSE(Convert<double>(Value(odd).Get(), kCFNumberFloat64Type).first);
    EXPECT_FALSE(Convert<double>(Value(Limits64::max()).Get(), kCFNumberFloat64Type).first);
    EXPECT_EQ((Convert<SInt64>(Value(9223372036854775808.0).Get(), kCFNumberSInt64Type)),
              std::pair(false, Limits64::max()));
    EXPECT_EQ((Convert<SInt64>(Value(-9223372036854775808.0).Get(), kCFNumberSInt64Type)),
              std::pair(true, Limits64::min()));
    EXPECT_EQ((Convert<float>(Value(0.5).Get(), kCFNumberFloat32Type)), std::pair(true, 0.5F));
    EXPECT_EQ((Convert<float>(Value(0.1).Get(), kCFNumberFloat32Type)), std::pair(false, 0.1F));
    EXPECT_EQ((Convert<float>(Value(-1e300).Get(), kCFNumberFloat32Type)),
              std::pair(false, -std::numeric_limits<float>::max()));
    EXPECT_TRUE(Convert<float>(Value(std::nan("")).Get(), kCFNumberFloat32Type).first);
}

TEST(Number, EqualityLooksAtTheValueAndKeepsIntegersApartFromReals) {
    EXPECT_TRUE(CFEqual(Value(SInt32{5}).Get(), Value(SInt64{5}).Get()));
    EXPECT_TRUE(CFEqual(Value(std::nan("")).Get(), Value(std::nan("")).Get()));
    EXPECT_FALSE(CFEqual(Value(SInt32{5}).Get(), Value(5.0).Get()));
    EXPECT_FALSE(CFEqual(Value(SInt32{1}).Get(), kCFBooleanTrue));
    EXPECT_EQ(CFNumberCreate(nullptr, 99, "12345678"), nullptr);
}

TEST(Dictionary, IteratesInByteOrderAndAddKeepsWhatIsThere) {
    const auto map = Dictionary();
    for (const char* key : {"b", "\u00E9", "B", "", "a\xF0\x9F\x98\x80", "a"}) {
        Set(map.Get(), key, kCFBooleanTrue);
    }
    EXPECT_THAT(Keys(map.Get()), ElementsAre("", "B", "a", "a\xF0\x9F\x98\x80", "b", "\u00E9"));
    CFDictionaryAddValue(map.Get(), String("a").Get(), Value("new").Get());
    EXPECT_EQ(Get(map.Get(), "a"), static_cast<CFTypeRef>(kCFBooleanTrue));
    CFDictionarySetValue(map.Get(), kCFBooleanTrue, kCFBooleanTrue);
    CFDictionarySetValue(map.Get(), String("null").Get(), nullptr);
    CFDictionaryRemoveValue(map.Get(), String("a").Get());
    CFDictionaryRemoveValue(map.Get(), String("absent").Get());
    EXPECT_EQ(CFDictionaryGetCount(map.Get()), 5);
    EXPECT_FALSE(CFDictionaryContainsKey(map.Get(), String("a").Get()));
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(map.Get(), kCFBooleanTrue, nullptr));
}

TEST(Value, EqualityComparesContent) {
    const auto a = Array();
    const auto b = Array();
    CFArrayAppendValue(a.Get(), Value("x").Get());
    CFArrayAppendValue(b.Get(), Value("x").Get());
    EXPECT_TRUE(CFEqual(a.Get(), b.Get()));
    CFArrayAppendValue(b.Get(), CFRef<CFDateRef>(CFDateCreate(nullptr, 1)).Get());
    EXPECT_FALSE(CFEqual(a.Get(), b.Get()));
    EXPECT_EQ(CFArrayGetValueAtIndex(b.Get(), 2), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(b.Get(), -1), nullptr);
    const CFRef<CFMutableDataRef> grown(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(grown.Get(), reinterpret_cast<const UInt8*>("ab"), 2);
    EXPECT_TRUE(CFEqual(grown.Get(), Data("ab").Get()));
}

} // namespace
} // namespace velnor::testing

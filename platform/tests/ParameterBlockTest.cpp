#include "platform/AudioUnit.h"
#include "platform/CarbonView.h"
#include "platform/ComponentParameterBlock.h"
#include "platform/tests/Testing.h"

#include <bit>
#include <functional>

namespace velnor::test {
namespace {

using Words = std::vector<std::uintptr_t>;

TEST(ParameterBlock, ArgumentsStandLastFirstAndComeBackAsTheirTypes) {
    int object = 0;
    auto block = encode(0x0102, SInt32{-3}, UInt32{0xFFFFFFFF}, Float32{-1.5f}, &object, SInt16{-4},
                        Boolean{1});
    ComponentParameters* params = block.Get();
    EXPECT_EQ(params->flags, 0);
    EXPECT_EQ(params->paramSize, 6 * sizeof(void*));
    EXPECT_EQ(params->what, 0x0102);
    EXPECT_THAT(Words(params->params, params->params + 6),
                ElementsAre(1, ~std::uintptr_t{3}, reinterpret_cast<std::uintptr_t>(&object),
                            0xBFC00000, 0xFFFFFFFF, ~std::uintptr_t{2}));
    EXPECT_EQ(argument<SInt32>(params, 0, 6), -3);
    EXPECT_EQ(argument<UInt32>(params, 1, 6), 0xFFFFFFFFu);
    EXPECT_EQ(argument<Float32>(params, 2, 6), -1.5f);
    EXPECT_EQ(argument<int*>(params, 3, 6), &object);
    EXPECT_EQ(argument<SInt16>(params, 4, 6), -4);
    EXPECT_EQ(argument<Boolean>(params, 5, 6), 1);
    EXPECT_TRUE(holdsArguments(params, 6));
    EXPECT_FALSE(holdsArguments(params, 7));
}

SInt16 gWhat = 0;
Words gWords; // in the order of the call
constexpr ComponentResult kAnswer = 77;

ComponentResult RecordingEntry(ComponentParameters* params, void*) {
    const std::size_t count = params->paramSize / sizeof(std::uintptr_t);
    gWhat = params->what;
    gWords.clear();
    for (std::size_t i = 0; i < count; ++i) {
        gWords.push_back(argument<std::uintptr_t>(params, i, count));
    }
    return params->what == kComponentOpenSelect ? noErr : kAnswer;
}

// A pointer of whatever type a call takes.
struct Ptr {
    std::uintptr_t address;
    template <typename T>
    operator T*() const {
        return reinterpret_cast<T*>(address);
    }
};
constexpr Ptr a{101}, b{102}, c{103};
const UInt32 kBits = std::bit_cast<UInt32>(0.25f);

TEST(ParameterBlock, EveryHostCallReachesTheEntryWithItsSelectorAndWords) {
    const ComponentDescription codes = {Code("test"), Code("rcrd"), Code("VELN"), 0, 0};
    const Component component = PlatformRegisterComponentEntry(&codes, RecordingEntry, "r", 1);
    const ComponentInstance instance = OpenComponent(component);
    ASSERT_NE(instance, nullptr);
    using Call = std::function<OSStatus(ComponentInstance)>;
    for (const auto& [selector, words, call] : Rows<SInt16, Words, Call>{
             {1, {}, AudioUnitInitialize},
             {2, {}, AudioUnitUninitialize},
             {3,
              {5, 6, 7, 101, 102},
              [](auto u) { return AudioUnitGetPropertyInfo(u, 5, 6, 7, a, b); }},
             {4,
              {5, 6, 7, 101, 102},
              [](auto u) { return AudioUnitGetProperty(u, 5, 6, 7, a, b); }},
             {5, {5, 6, 7, 101, 8}, [](auto u) { return AudioUnitSetProperty(u, 5, 6, 7, a, 8); }},
             {6, {5, 6, 7, 101}, [](auto u) { return AudioUnitGetParameter(u, 5, 6, 7, a); }},
             {7,
              {5, 6, 7, kBits, 9},
              [](auto u) { return AudioUnitSetParameter(u, 5, 6, 7, 0.25f, 9); }},
             {9, {6, 7}, [](auto u) { return AudioUnitReset(u, 6, 7); }},
             {10, {5, 101, 102}, [](auto u) { return AudioUnitAddPropertyListener(u, 5, a, b); }},
             {11, {5, 101}, [](auto u) { return AudioUnitRemovePropertyListener(u, 5, a); }},
             {14,
              {101, 102, 3, 64, 103},
              [](auto u) { return AudioUnitRender(u, a, b, 3, 64, c); }},
             {15, {101, 102}, [](auto u) { return AudioUnitAddRenderNotify(u, a, b); }},
             {16, {101, 102}, [](auto u) { return AudioUnitRemoveRenderNotify(u, a, b); }},
             {17, {101, 2}, [](auto u) { return AudioUnitScheduleParameters(u, a, 2); }},
             {0x101,
              {0x93, 60, 100, 5},
              [](auto u) { return MusicDeviceMIDIEvent(u, 0x93, 60, 100, 5); }},
             {0x102, {101, 9}, [](auto u) { return MusicDeviceSysEx(u, a, 9); }},
             {0x103, {4}, [](auto u) { return MusicDevicePrepareInstrument(u, 4); }},
             {0x104, {4}, [](auto u) { return MusicDeviceReleaseInstrument(u, 4); }},
             {0x105,
              {4, 1, 101, 16, 102},
              [](auto u) { return MusicDeviceStartNote(u, 4, 1, a, 16, b); }},
             {0x106, {1, 60, 16}, [](auto u) { return MusicDeviceStopNote(u, 1, 60, 16); }},
             {0x301,
              {101, 102, 103, 101, 102, 103},
              [](auto u) { return AudioUnitCarbonViewCreate(u, a, b, c, a, b, c); }},
             {-3, {0x101}, [](auto u) { return ComponentFunctionImplemented(u, 0x101); }},
             {-4, {}, GetComponentVersion}}) {
        SCOPED_TRACE(selector);
        EXPECT_EQ(call(instance), kAnswer);
        EXPECT_EQ(gWhat, selector);
        EXPECT_EQ(gWords, words);
        gWhat = 0;
        EXPECT_EQ(call(nullptr), badComponentInstance);
        EXPECT_EQ(gWhat, 0);
    }
    EXPECT_EQ(CloseComponent(instance), kAnswer);
}

} // namespace
} // namespace velnor::test

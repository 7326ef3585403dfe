#include "platform/AudioUnit.h"
#include "platform/CarbonView.h"
#include "platform/ComponentParameterBlock.h"
#include "testing/Testing.h"

#include <bit>
#include <type_traits>
#include <utility>

namespace velnor::testing {
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

template <typename T>
std::uintptr_t WordOf(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(value);
    } else if constexpr (std::is_same_v<T, Float32>) {
        return std::bit_cast<UInt32>(value);
    } else {
        return static_cast<std::uintptr_t>(value);
    }
}

// A pointer of whatever type a call takes.
struct Ptr {
    std::uintptr_t address;
    template <typename T>
    operator T*() const {
        return reinterpret_cast<T*>(address);
    }
};

struct EveryHostCall : Test {
    ~EveryHostCall() override { EXPECT_EQ(CloseComponent(instance), kAnswer); }
    template <typename... T>
    void Reaches(SInt16 selector, OSStatus (*call)(ComponentInstance, T...),
                 std::type_identity_t<T>... arguments) {
        SCOPED_TRACE(selector);
        EXPECT_EQ(call(instance, arguments...), kAnswer);
        EXPECT_EQ(std::exchange(gWhat, 0), selector);
        EXPECT_EQ(gWords, (Words{WordOf(arguments)...}));
        EXPECT_EQ(call(nullptr, arguments...), badComponentInstance);
        EXPECT_EQ(gWhat, 0);
    }

    const ComponentDescription codes = {Code("test"), Code("rcrd"), Code("VELN"), 0, 0};
    const ComponentInstance instance =
        OpenComponent(PlatformRegisterComponentEntry(&codes, RecordingEntry, "r", 1));
};

TEST_F(EveryHostCall, ReachesTheEntryWithItsSelectorAndWords) {
    constexpr Ptr a{101}, b{102}, c{103};
    ASSERT_NE(instance, nullptr);
    Reaches(1, AudioUnitInitialize);
    Reaches(2, AudioUnitUninitialize);
    Reaches(3, AudioUnitGetPropertyInfo, 5, 6, 7, a, b);
    Reaches(4, AudioUnitGetProperty, 5, 6, 7, a, b);
    Reaches(5, AudioUnitSetProperty, 5, 6, 7, a, 8);
    Reaches(6, AudioUnitGetParameter, 5, 6, 7, a);
    Reaches(7, AudioUnitSetParameter, 5, 6, 7, 0.25f, 9);
    Reaches(9, AudioUnitReset, 6, 7);
    Reaches(10, AudioUnitAddPropertyListener, 5, a, b);
    Reaches(11, AudioUnitRemovePropertyListener, 5, a);
    Reaches(14, AudioUnitRender, a, b, 3, 64, c);
    Reaches(15, AudioUnitAddRenderNotify, a, b);
    Reaches(16, AudioUnitRemoveRenderNotify, a, b);
    Reaches(17, AudioUnitScheduleParameters, a, 2);
    Reaches(0x101, MusicDeviceMIDIEvent, 0x93, 60, 100, 5);
    Reaches(0x102, MusicDeviceSysEx, a, 9);
    Reaches(0x103, MusicDevicePrepareInstrument, 4);
    Reaches(0x104, MusicDeviceReleaseInstrument, 4);
    Reaches(0x105, MusicDeviceStartNote, 4, 1, a, 16, b);
    Reaches(0x106, MusicDeviceStopNote, 1, 60, 16);
    Reaches(0x301, AudioUnitCarbonViewCreate, a, b, c, a, b, c);
    Reaches(-3, ComponentFunctionImplemented, 0x101);
    Reaches(-4, GetComponentVersion);
}

} // namespace
} // namespace velnor::testing

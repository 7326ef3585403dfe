#include "platform/AudioUnit.h"
#include "platform/CarbonView.h"
#include "platform/ComponentParameterBlock.h"
#include "platform/tests/FourCharCode.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <vector>

namespace {

using velnor::argument;
using velnor::encode;
using velnor::test::Code;

template <typename T>
T At(std::uintptr_t address) {
    return reinterpret_cast<T>(address);
}

TEST(ParameterBlock, ArgumentsStandLastFirstAndComeBackAsTheirTypes) {
    int object = 0;
    auto block = encode(0x0102, SInt32{-3}, UInt32{0xFFFFFFFF}, Float32{-1.5f}, &object, SInt16{-4},
                        Boolean{1});
    ComponentParameters* params = block.Get();
    EXPECT_EQ(params->flags, 0);
    EXPECT_EQ(params->paramSize, 6 * sizeof(void*));
    EXPECT_EQ(params->what, 0x0102);
    const std::uintptr_t* words = params->params;
    EXPECT_EQ(words[5], static_cast<std::uintptr_t>(-3));
    EXPECT_EQ(words[4], 0xFFFFFFFFu);
    EXPECT_EQ(words[3], 0xBFC00000u);
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ(argument<SInt32>(params, 0, 6), -3);
    EXPECT_EQ(argument<UInt32>(params, 1, 6), 0xFFFFFFFFu);
    EXPECT_EQ(argument<Float32>(params, 2, 6), -1.5f);
    EXPECT_EQ(argument<int*>(params, 3, 6), &object);
    EXPECT_EQ(argument<SInt16>(params, 4, 6), -4);
    EXPECT_EQ(argument<Boolean>(params, 5, 6), 1);
    EXPECT_TRUE(velnor::holdsArguments(params, 6));
    EXPECT_FALSE(velnor::holdsArguments(params, 7));
    EXPECT_EQ(encode(-4).Get()->paramSize, 0);
}

struct Received {
    SInt16 what = 0;
    std::vector<std::uintptr_t> words; // in the order of the call
};
Received gReceived;

ComponentResult RecordingEntry(ComponentParameters* params, void*) {
    const std::size_t count = params->paramSize / sizeof(std::uintptr_t);
    gReceived = {params->what, {}};
    for (std::size_t i = 0; i < count; ++i) {
        gReceived.words.push_back(argument<std::uintptr_t>(params, i, count));
    }
    return params->what > 0 ? 77 : noErr;
}

struct CallCase {
    SInt16 selector;
    std::vector<std::uintptr_t> words;
    std::function<OSStatus(ComponentInstance)> call;
};

const UInt32 kFloatBits = std::bit_cast<UInt32>(0.25f);

// Pointers stand as the small numbers 101 and up.
const CallCase kCalls[] = {
    {1, {}, AudioUnitInitialize},
    {2, {}, AudioUnitUninitialize},
    {3,
     {5, 6, 7, 101, 102},
     [](auto u) {
         return AudioUnitGetPropertyInfo(u, 5, 6, 7, At<UInt32*>(101), At<Boolean*>(102));
     }},
    {4,
     {5, 6, 7, 101, 102},
     [](auto u) { return AudioUnitGetProperty(u, 5, 6, 7, At<void*>(101), At<UInt32*>(102)); }},
    {5,
     {5, 6, 7, 101, 8},
     [](auto u) { return AudioUnitSetProperty(u, 5, 6, 7, At<void*>(101), 8); }},
    {6,
     {5, 6, 7, 101},
     [](auto u) { return AudioUnitGetParameter(u, 5, 6, 7, At<Float32*>(101)); }},
    {7,
     {5, 6, 7, kFloatBits, 9},
     [](auto u) { return AudioUnitSetParameter(u, 5, 6, 7, 0.25f, 9); }},
    {9, {6, 7}, [](auto u) { return AudioUnitReset(u, 6, 7); }},
    {10,
     {5, 101, 102},
     [](auto u) {
         return AudioUnitAddPropertyListener(u, 5, At<AudioUnitPropertyListenerProc>(101),
                                             At<void*>(102));
     }},
    {11,
     {5, 101},
     [](auto u) {
         return AudioUnitRemovePropertyListener(u, 5, At<AudioUnitPropertyListenerProc>(101));
     }},
    {14,
     {101, 102, 3, 64, 103},
     [](auto u) {
         return AudioUnitRender(u, At<UInt32*>(101), At<AudioTimeStamp*>(102), 3, 64,
                                At<AudioBufferList*>(103));
     }},
    {15,
     {101, 102},
     [](auto u) { return AudioUnitAddRenderNotify(u, At<AURenderCallback>(101), At<void*>(102)); }},
    {16,
     {101, 102},
     [](auto u) {
         return AudioUnitRemoveRenderNotify(u, At<AURenderCallback>(101), At<void*>(102));
     }},
    {17,
     {101, 2},
     [](auto u) { return AudioUnitScheduleParameters(u, At<AudioUnitParameterEvent*>(101), 2); }},
    {0x101, {0x93, 60, 100, 5}, [](auto u) { return MusicDeviceMIDIEvent(u, 0x93, 60, 100, 5); }},
    {0x102, {101, 9}, [](auto u) { return MusicDeviceSysEx(u, At<UInt8*>(101), 9); }},
    {0x103, {4}, [](auto u) { return MusicDevicePrepareInstrument(u, 4); }},
    {0x104, {4}, [](auto u) { return MusicDeviceReleaseInstrument(u, 4); }},
    {0x105,
     {4, 1, 101, 16, 102},
     [](auto u) {
         return MusicDeviceStartNote(u, 4, 1, At<UInt32*>(101), 16,
                                     At<MusicDeviceNoteParams*>(102));
     }},
    {0x106, {1, 60, 16}, [](auto u) { return MusicDeviceStopNote(u, 1, 60, 16); }},
    {0x301,
     {101, 102, 103, 104, 105, 106},
     [](auto u) {
         return AudioUnitCarbonViewCreate(u, At<AudioUnit>(101), At<WindowRef>(102),
                                          At<ControlRef>(103), At<HIPoint*>(104), At<HIPoint*>(105),
                                          At<ControlRef*>(106));
     }},
    {-3, {0x101}, [](auto u) { return ComponentFunctionImplemented(u, 0x101) + 77; }},
    {-4, {}, [](auto u) { return GetComponentVersion(u) + 77; }},
};

TEST(ParameterBlock, EveryHostCallReachesTheEntryWithItsSelectorAndWords) {
    const ComponentDescription codes = {Code("test"), Code("rcrd"), Code("VELN"), 0, 0};
    const Component component = PlatformRegisterComponentEntry(&codes, RecordingEntry, "r", 1);
    const ComponentInstance instance = OpenComponent(component);
    ASSERT_NE(instance, nullptr);
    for (const CallCase& test : kCalls) {
        SCOPED_TRACE(test.selector);
        EXPECT_EQ(test.call(instance), 77);
        EXPECT_EQ(gReceived.what, test.selector);
        EXPECT_EQ(gReceived.words, test.words);
        gReceived = {};
        const OSStatus onNull = test.call(nullptr);
        EXPECT_TRUE(onNull == badComponentInstance || onNull == badComponentInstance + 77);
        EXPECT_EQ(gReceived.what, 0);
    }
    EXPECT_EQ(CloseComponent(instance), noErr);
}

} // namespace

#include "bridge/tests/TestHost.h"

#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFNumber.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velnor::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

struct State {
    CFRef<CFPropertyListRef> list;
    OSStatus status;
    CFDictionaryRef dictionary() const { return static_cast<CFDictionaryRef>(list.Get()); }
};

State save(Instrument& instrument) {
    CFPropertyListRef list = nullptr;
    const OSStatus status = instrument.get(kAudioUnitProperty_ClassInfo, list);
    return {CFRef<CFPropertyListRef>(list), status};
}

OSStatus restore(Instrument& instrument, CFPropertyListRef state) {
    return instrument.set(kAudioUnitProperty_ClassInfo, state);
}

CFRef<CFStringRef> string(const char* text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

std::optional<std::string> chunkIn(const State& state) {
    const void* value = CFDictionaryGetValue(state.dictionary(), string("OrmoData").Get());
    if (value == nullptr)
        return {};
    const auto data = static_cast<CFDataRef>(value);
    return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                       static_cast<std::size_t>(CFDataGetLength(data)));
}

TEST(Properties, SizesAndWritabilityByScope) {
    struct Row {
        AudioUnitPropertyID id;
        AudioUnitScope scope;
        UInt32 size; /* 0: there is no such property */
        Boolean writable;
    };
    constexpr AudioUnitScope kGlobal = kAudioUnitScope_Global;
    constexpr AudioUnitScope kOutput = kAudioUnitScope_Output;
    const Row rows[] = {
        {64000, kGlobal, sizeof(void*), 0},
        {64001, kGlobal, 1024, 0},
        {64002, kGlobal, 4, 0},
        {64003, kGlobal, 0, 0},
        {65535, kGlobal, 0, 0},
        {65536, kGlobal, 4, 1},
        {0xFFFFFFFF, kGlobal, 4, 1},
        {64001, kOutput, 0, 0},
        {70000, kOutput, 0, 0},
        {kAudioUnitProperty_FactoryPresets, kGlobal, 0, 0},
        {kAudioUnitProperty_TailTime, kGlobal, 0, 0},
        {kAudioUnitProperty_AudioChannelLayout, kOutput, 0, 0},
        {kAudioUnitProperty_SupportedChannelLayoutTags, kOutput, 0, 0},
        {kAudioUnitProperty_ElementCount, kOutput, 4, 0},
        {kAudioUnitProperty_SupportedNumChannels, kGlobal, 4, 0},
    };
    TestHost host;
    Instrument instrument;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        UInt32 size = 0;
        Boolean writable = 0;
        const OSStatus status =
            AudioUnitGetPropertyInfo(instrument.unit(), row.id, row.scope, 0, &size, &writable);
        EXPECT_EQ(status, row.size != 0 ? 0 : OSStatus{kAudioUnitErr_InvalidProperty});
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(writable, row.writable);
    }
    EXPECT_THAT(takeCalls(), ElementsAre("8 0 ptr 0 0 0 0 0 0"));
}

TEST(Properties, WhatTheInstrumentSaysOfItself) {
    TestHost host;
    Instrument instrument;
    EXPECT_EQ(GetComponentVersion(instrument.unit()), 0x00010003);
    Float64 latency = -1;
    EXPECT_EQ(instrument.get(kAudioUnitProperty_Latency, latency), noErr);
    EXPECT_EQ(latency, 0.0);
    AUChannelInfo infos = {9, 9};
    EXPECT_EQ(instrument.get(kAudioUnitProperty_SupportedNumChannels, infos), noErr);
    EXPECT_EQ(infos.inChannels, 0);
    EXPECT_EQ(infos.outChannels, 2);
    ComponentDescription view = {};
    EXPECT_EQ(instrument.get(kAudioUnitProperty_GetUIComponentList, view), noErr);
    EXPECT_EQ(view.componentType, UInt32{kAudioUnitCarbonViewComponentType});
    EXPECT_EQ(std::memcmp(&view.componentSubType, "QXTA", 4), 0);
    EXPECT_EQ(view.componentManufacturer, VELNOR_FOUR_CHAR_CODE('Z', 'e', 'K', 'K'));
    EXPECT_EQ(view.componentFlags, 0U);
    EXPECT_EQ(view.componentFlagsMask, 0U);
    EXPECT_NE(FindNextComponent(nullptr, &view), nullptr) << "the view's registration agrees";
    AudioUnitParameterInfo info = {};
    EXPECT_EQ(instrument.get(kAudioUnitProperty_ParameterInfo, info),
              kAudioUnitErr_InvalidParameter);
    CFArrayRef strings = nullptr;
    EXPECT_EQ(instrument.get(kAudioUnitProperty_ParameterValueStrings, strings),
              kAudioUnitErr_InvalidProperty);
    EXPECT_EQ(instrument.setBusCount(2), kAudioUnitErr_PropertyNotWritable);
    const MusicDeviceNoteParams note = {2, 60, 100, {}};
    EXPECT_EQ(MusicDevicePrepareInstrument(instrument.unit(), 0), noErr);
    EXPECT_EQ(MusicDeviceReleaseInstrument(instrument.unit(), 0), noErr);
    EXPECT_EQ(instrument.initialize(), noErr);
    takeCalls();
    EXPECT_EQ(MusicDeviceStartNote(instrument.unit(), 0, 0, nullptr, 0, &note), noErr);
    EXPECT_EQ(MusicDeviceStopNote(instrument.unit(), 0, 60, 0), noErr);
    EXPECT_EQ(AudioUnitSetParameter(instrument.unit(), 3, kAudioUnitScope_Global, 0, 0.5F, 0),
              noErr);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST(Properties, ThePrivateOnesLeadToTheEngine) {
    TestHost host;
    Instrument instrument;
    OrmoOpcodeProc proc = nullptr;
    OrmoEngineHandle handle = 9;
    std::array<char, kOrmoSetupPathSize> path{};
    EXPECT_EQ(instrument.get(kPropertyEngineHandle, handle), noErr);
    EXPECT_EQ(handle, 0U);
    instrument.initialize();
    EXPECT_EQ(instrument.get(kPropertyEngineHandle, handle), noErr);
    EXPECT_NE(handle, 0U);
    EXPECT_EQ(instrument.get(kPropertySetupPath, path), noErr);
    EXPECT_STREQ(path.data(), "/data/OrmoSetup.xml");
    EXPECT_EQ(instrument.get(kPropertyEngineOpcode, proc), noErr);
    takeCalls();
    ASSERT_NE(proc, nullptr);
    proc(static_cast<OrmoWord>(handle), kOpEditorIdle, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_THAT(takeCalls(), ElementsAre("26 E 0 0 0 0 0 0 0"));
    EXPECT_NE(instrument.set(kPropertyEngineHandle, handle), noErr);
}

TEST(Properties, VendorPropertiesPassThroughInBothDirections) {
    TestHost host;
    Instrument instrument;
    UInt32 value = 1;
    EXPECT_EQ(instrument.set(65536, value), kAudioUnitErr_Uninitialized);
    instrument.initialize();
    takeCalls();
    probe::Behaviour& behaviour = freshProbe().behaviour;
    value = 0x04030201;
    EXPECT_EQ(instrument.set(70000, value), noErr);
    EXPECT_EQ(callsOf(kOpVendorProperty).at(0).bytes[0], "\x01\x02\x03\x04");
    EXPECT_THAT(takeCalls(), ElementsAre("30 E ptr 0 0 70000 0 0 0"));
    const UInt8 byte = 7; // the engine gets four readable bytes even so
    EXPECT_EQ(instrument.set(70001, byte), noErr);
    EXPECT_EQ(callsOf(kOpVendorProperty).at(0).bytes[0], std::string("\x07\0\0\0", 4));
    takeCalls();
    behaviour.answerVendor = true;
    behaviour.vendorAnswer = 4711;
    EXPECT_EQ(instrument.get(0x7FFFFFFF, value), noErr);
    EXPECT_EQ(value, 4711U);
    EXPECT_THAT(takeCalls(), ElementsAre("30 E ptr 0 0 2147483647 0 0 0"));
    behaviour.vendorResult = -3;
    EXPECT_EQ(instrument.get(70000, value), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(instrument.set(70000, value), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(std::ranges::count(host.log(), "E:set vendor specific engine error:-3"), 2);
    takeCalls();
    EXPECT_NE(instrument.set(70000, value, kAudioUnitScope_Output), noErr);
    EXPECT_NE(instrument.get(64999, value), noErr);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST(State, CarriesTheEnginesChunkAndGivesItBack) {
    TestHost host;
    Instrument instrument;
    EXPECT_EQ(chunkIn(save(instrument)), std::nullopt) << "no engine instance yet";
    instrument.initialize();
    takeCalls();
    probe::Behaviour& behaviour = freshProbe().behaviour;
    behaviour.chunk = std::string("a\0b", 3);
    const State state = save(instrument);
    EXPECT_EQ(chunkIn(state), std::string("a\0b", 3));
    EXPECT_THAT(takeCalls(), ElementsAre("18 E ptr ptr 0 0 0 0 0"));
    EXPECT_EQ(restore(instrument, state.list.Get()), noErr);
    EXPECT_EQ(callsOf(kOpSetChunk).at(0).bytes[0], std::string("a\0b", 3));
    EXPECT_THAT(takeCalls(), ElementsAre("19 E ptr 0 0 3 0 0 0"));
    Instrument other;
    EXPECT_EQ(restore(other, state.list.Get()), noErr);
    EXPECT_THAT(callsOf(kOpSetChunk), IsEmpty()) << "the chunk is not kept for later";
}

TEST(State, IsSavedWithoutAChunkThatTheEngineDoesNotDeliver) {
    TestHost host;
    Instrument instrument;
    instrument.initialize();
    for (void (*refuse)(probe::Behaviour&) : {
             +[](probe::Behaviour& engine) { engine.chunkResult = 1; },
             +[](probe::Behaviour& engine) { engine.reportEmptyChunk = true; },
         }) {
        refuse(freshProbe().behaviour);
        const State state = save(instrument);
        EXPECT_EQ(state.status, noErr);
        EXPECT_EQ(chunkIn(state), std::nullopt);
        EXPECT_EQ(restore(instrument, state.list.Get()), noErr);
        EXPECT_THAT(callsOf(kOpSetChunk), IsEmpty());
    }
}

TEST(State, OfAnotherShapeNeverReachesTheEngine) {
    struct Case {
        const char* key;
        CFRef<CFTypeRef> value;
        OSStatus status;
    };
    const SInt32 one = 1;
    const auto number = [&one] {
        return CFRef<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &one));
    };
    const Case cases[] = {
        {"OrmoData", CFRef<CFTypeRef>(string("text").Detach()), noErr},
        {"OrmoData", number(), noErr},
        {"version", number(), kAudioUnitErr_InvalidPropertyValue},
        {"subtype", number(), kAudioUnitErr_InvalidPropertyValue},
        {"part", number(), kAudioUnitErr_InvalidPropertyValue},
    };
    TestHost host;
    Instrument instrument;
    instrument.initialize();
    const State state = save(instrument);
    takeCalls();
    for (const Case& c : cases) {
        const CFRef<CFMutableDictionaryRef> spoilt(
            CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, state.dictionary()));
        CFDictionarySetValue(spoilt.Get(), string(c.key).Get(), c.value.Get());
        EXPECT_EQ(restore(instrument, spoilt.Get()), c.status) << c.key;
    }
    EXPECT_EQ(restore(instrument, string("no dictionary").Get()),
              kAudioUnitErr_InvalidPropertyValue);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

} // namespace
} // namespace velnor::test

#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <sys/resource.h>

namespace velnor::testing {
namespace {

using Properties = Opened;
using State = Opened;
using PlayingState = Playing;

rlimit openFilesLimit() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    return limit;
}
const rlimit kLimitAtStart = openFilesLimit(); // before any instrument was initialized

struct Saved {
    CFRef<CFPropertyListRef> list;
    OSStatus status;
    std::string chunk; // or "none"
};

Saved save(Instrument& instrument) {
    CFPropertyListRef list = nullptr;
    const OSStatus status = instrument.get(kAudioUnitProperty_ClassInfo, list);
    const CFTypeRef data = Get(list, "OrmoData");
    return {CFRef(list), status, data != nullptr ? Bytes(static_cast<CFDataRef>(data)) : "none"};
}

OSStatus restore(Instrument& instrument, CFPropertyListRef state) {
    return instrument.set(kAudioUnitProperty_ClassInfo, state);
}

TEST_F(Properties, SizesAndWritabilityByScope) {
    constexpr AudioUnitScope kGlobal = kAudioUnitScope_Global;
    constexpr AudioUnitScope kOutput = kAudioUnitScope_Output;
    // Where the size is 0 there is no such property.
    for (const auto& [id, scope, expectedSize, isWritable] :
         Rows<AudioUnitPropertyID, AudioUnitScope, UInt32, Boolean>{
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
             {kAudioUnitProperty_ElementCount, kOutput, 4, 0}}) {
        SCOPED_TRACE(id);
        UInt32 size = 0;
        Boolean writable = 0;
        const OSStatus status =
            AudioUnitGetPropertyInfo(instrument.unit(), id, scope, 0, &size, &writable);
        EXPECT_EQ(status, expectedSize != 0 ? 0 : OSStatus{kAudioUnitErr_InvalidProperty});
        EXPECT_EQ(size, expectedSize);
        EXPECT_EQ(writable, isWritable);
    }
    EXPECT_THAT(takeCalls(), ElementsAre("8 0 ptr 0 0 0 0 0 0"));
}

TEST_F(Properties, WhatTheInstrumentSaysOfItself) {
    ComponentDescription view = {};
    EXPECT_EQ(instrument.get(kAudioUnitProperty_GetUIComponentList, view), noErr);
    EXPECT_EQ(view.componentType, UInt32{kAudioUnitCarbonViewComponentType});
    EXPECT_EQ(std::memcmp(&view.componentSubType, "QXTA", 4), 0);
    EXPECT_EQ(view.componentManufacturer, VELNOR_FOUR_CHAR_CODE('Z', 'e', 'K', 'K'));
    EXPECT_NE(FindNextComponent(nullptr, &view), nullptr) << "the view's registration agrees";
    const MusicDeviceNoteParams note = {2, 60, 100, {}};
    EXPECT_EQ(MusicDevicePrepareInstrument(instrument.unit(), 0), noErr);
    EXPECT_EQ(MusicDeviceReleaseInstrument(instrument.unit(), 0), noErr);
    EXPECT_EQ(instrument.initialize(), noErr);
    EXPECT_GE(openFilesLimit().rlim_cur, kLimitAtStart.rlim_cur);
    EXPECT_GE(openFilesLimit().rlim_max, kLimitAtStart.rlim_max);
    takeCalls();
    EXPECT_EQ(MusicDeviceStartNote(instrument.unit(), 0, 0, nullptr, 0, &note), noErr);
    EXPECT_EQ(MusicDeviceStopNote(instrument.unit(), 0, 60, 0), noErr);
    EXPECT_EQ(AudioUnitSetParameter(instrument.unit(), 3, kAudioUnitScope_Global, 0, 0.5F, 0),
              noErr);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(Properties, ThePrivateOnesLeadToTheEngine) {
    OrmoOpcodeProc proc = nullptr;
    OrmoEngineHandle handle = 9;
    EXPECT_EQ(instrument.get(kPropertyEngineHandle, handle), noErr);
    EXPECT_EQ(handle, 0U);
    instrument.initialize();
    EXPECT_EQ(instrument.get(kPropertyEngineHandle, handle), noErr);
    EXPECT_NE(handle, 0U);
    EXPECT_EQ(instrument.get(kPropertyEngineOpcode, proc), noErr);
    takeCalls();
    ASSERT_NE(proc, nullptr);
    proc(static_cast<OrmoWord>(handle), kOpEditorIdle, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_THAT(takeCalls(), ElementsAre("26 E 0 0 0 0 0 0 0"));
    EXPECT_NE(instrument.set(kPropertyEngineHandle, handle), noErr);
}

TEST_F(Properties, VendorPropertiesPassThroughInBothDirections) {
    UInt32 value = 1;
    EXPECT_EQ(instrument.set(65536, value), kAudioUnitErr_Uninitialized);
    instrument.initialize();
    takeCalls();
    probe::Behaviour& behaviour = freshProbe().behaviour;
    value = 0x04030201;
    EXPECT_EQ(instrument.set(70000, value), noErr);
    EXPECT_EQ(callsOf(kOpVendorProperty).at(0).bytes[0], "\x01\x02\x03\x04");
    EXPECT_THAT(takeCalls(), ElementsAre("30 E ptr 0 0 70000 0 0 0"));
    const UInt8 bytes[] = {7, 9, 9, 9}; // the engine gets four readable bytes even so
    EXPECT_EQ(instrument.set(70001, bytes[0]), noErr);
    EXPECT_EQ(callsOf(kOpVendorProperty).at(0).bytes[0], std::string("\x07\0\0\0", 4));
    takeCalls();
    alignas(8) UInt32 values[] = {0x04030201, 0x08070605};
    EXPECT_EQ(instrument.get(70000, values[0]), noErr);
    EXPECT_EQ(instrument.get(70000, values[1]), noErr); // wherever it lies
    UInt32 size = sizeof values[0];
    EXPECT_EQ(AudioUnitGetProperty(instrument.unit(), 70000, kAudioUnitScope_Global, 0,
                                   reinterpret_cast<char*>(values) + 1, &size),
              noErr);
    const auto gets = callsOf(kOpVendorProperty);
    EXPECT_EQ(gets.at(0).bytes[0], "\x01\x02\x03\x04");
    EXPECT_EQ(gets.at(1).bytes[0], "\x05\x06\x07\x08");
    EXPECT_EQ(gets.at(2).bytes[0], "\x02\x03\x04\x05");
    takeCalls();
    behaviour.answerVendor = true;
    behaviour.vendorAnswer = 4711;
    for (const AudioUnitPropertyID id : {65536u, 0x7FFFFFFFu}) {
        value = 0;
        EXPECT_EQ(instrument.get(id, value), noErr);
        EXPECT_EQ(value, 4711U);
        EXPECT_THAT(takeCalls(), ElementsAre("30 E ptr 0 0 " + std::to_string(id) + " 0 0 0"));
    }
    for (const int result : {-3, 2}) {
        behaviour.vendorResult = result;
        EXPECT_EQ(instrument.get(70000, value), kAudioUnitErr_InvalidPropertyValue);
        EXPECT_EQ(instrument.set(70000, value), kAudioUnitErr_InvalidPropertyValue);
        EXPECT_THAT(
            host.log(),
            Contains("E:set vendor specific engine error:" + std::to_string(result)).Times(2));
    }
    takeCalls();
    EXPECT_NE(instrument.set(70000, value, kAudioUnitScope_Output), noErr);
    EXPECT_NE(instrument.get(64999, value), noErr);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(State, CarriesTheEnginesChunkAndGivesItBack) {
    EXPECT_EQ(save(instrument).chunk, "none") << "no engine instance yet";
    instrument.initialize();
    takeCalls();
    const std::string chunk("a\0b", 3);
    freshProbe().behaviour.chunk = chunk;
    const Saved state = save(instrument);
    EXPECT_EQ(state.chunk, chunk);
    EXPECT_EQ(CFGetRetainCount(state.list.Get()), 1);
    EXPECT_THAT(takeCalls(), ElementsAre("18 E ptr ptr 0 0 0 0 0"));
    EXPECT_EQ(restore(instrument, state.list.Get()), noErr);
    EXPECT_EQ(callsOf(kOpSetChunk).at(0).bytes[0], chunk);
    EXPECT_THAT(takeCalls(), ElementsAre("19 E ptr 0 0 3 0 0 0"));
    Instrument other;
    EXPECT_EQ(restore(other, state.list.Get()), noErr);
    EXPECT_THAT(callsOf(kOpSetChunk), IsEmpty()) << "the chunk is not kept for later";
}

TEST_F(PlayingState, IsSavedWithoutAChunkThatTheEngineDoesNotDeliver) {
    for (const auto& [result, size] : {std::pair(1, 5), {-1, 5}, {0, 0}, {0, -1}}) {
        probe::Behaviour& engine = freshProbe().behaviour;
        engine.chunkResult = result;
        engine.chunkSize = size;
        const Saved state = save(instrument);
        EXPECT_EQ(state.status, noErr);
        EXPECT_EQ(state.chunk, "none");
        EXPECT_EQ(restore(instrument, state.list.Get()), noErr);
        EXPECT_THAT(callsOf(kOpSetChunk), IsEmpty());
    }
}

TEST_F(PlayingState, OfAnotherShapeNeverReachesTheEngine) {
    const Saved state = save(instrument);
    takeCalls();
    const auto number = Value(SInt32{1});
    const auto text = Value("text");
    for (const auto& [key, value, status] : Rows<const char*, CFTypeRef, OSStatus>{
             {"OrmoData", text.Get(), noErr},
             {"OrmoData", number.Get(), noErr},
             {"version", number.Get(), kAudioUnitErr_InvalidPropertyValue}}) {
        const CFRef<CFMutableDictionaryRef> spoilt(CFDictionaryCreateMutableCopy(
            kCFAllocatorDefault, 0, static_cast<CFDictionaryRef>(state.list.Get())));
        Set(spoilt.Get(), key, value);
        EXPECT_EQ(restore(instrument, spoilt.Get()), status) << key;
    }
    EXPECT_EQ(restore(instrument, text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

} // namespace
} // namespace velnor::testing

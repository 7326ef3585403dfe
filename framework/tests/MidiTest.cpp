#include "framework/tests/TestInstrument.h"

#include <cmath>
#include <limits>

namespace velnor {
namespace {

using Call = TestInstrument::Call;

constexpr Float64 kGroupsOwn = kGroupInstrument;

TEST(Midi, EachCommandReachesItsHandlerByTheSelectorAndByTheFastEntry) {
    const InitializedInstrument unit;
    const auto fast = unit.Value<MusicDeviceMIDIEventProc>(kAudioUnitProperty_FastDispatch, kGlobal,
                                                           kMusicDeviceMIDIEventSelect);
    for (const auto& [status, data1, data2, call] : Rows<UInt32, UInt32, UInt32, Call>{
             {0x85, 60, 40, {"StopNote", {5, 60, 9}}},
             {0x93, 60, 40, {"StartNote", {kGroupsOwn, 3, 9, 60, 40}}},
             {0x9F, 61, 0, {"StopNote", {15, 61, 9}}},
             {0xA1, 62, 7, {"HandlePolyPressure", {1, 62, 7, 9}}},
             {0xB2, 119, 8, {"HandleControlChange", {2, 119, 8, 9}}},
             {0xB2, 120, 0, {"HandleAllSoundOff", {2}}},
             {0xB2, 121, 0, {"HandleResetAllControllers", {2}}},
             {0xB2, 122, 1, {"HandleControlChange", {2, 122, 1, 9}}},
             {0xB2, 123, 0, {"HandleAllNotesOff", {2}}},
             {0xC4, 11, 0, {"HandleProgramChange", {4, 11}}},
             {0xD5, 12, 0, {"HandleChannelPressure", {5, 12, 9}}},
             {0xE6, 1, 64, {"HandlePitchWheel", {6, 1, 64, 9}}}}) {
        EXPECT_EQ(MusicDeviceMIDIEvent(unit, status, data1, data2, 9), noErr);
        EXPECT_EQ(fast(unit.Storage(), status, data1, data2, 9), noErr);
        EXPECT_THAT(unit->TakeCalls(), ElementsAre(call, call)) << status;
    }
    for (const UInt32 status : {0x00u, 0x7Fu, 0xF0u, 0xFFu}) {
        EXPECT_EQ(MusicDeviceMIDIEvent(unit, status, 1, 2, 0), noErr);
    }
    EXPECT_THAT(unit->TakeCalls(), IsEmpty());
}

TEST(Midi, AnUninitializedInstrumentRefusesEventsAndNotes) {
    const OpenInstrument unit;
    const UInt8 bytes[] = {0xF0, 0xF7};
    const MusicDeviceNoteParams note = {2, 60, 100, {}};
    EXPECT_EQ(MusicDeviceMIDIEvent(unit, 0x90, 60, 100, 0), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(MusicDeviceSysEx(unit, bytes, 2), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(MusicDeviceStartNote(unit, 0, 0, nullptr, 0, &note), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(MusicDeviceStartNote(unit, 0, 0, nullptr, 0, nullptr), paramErr);
    AudioUnitInitialize(unit);
    unit->TakeCalls();
    EXPECT_EQ(MusicDeviceSysEx(unit, bytes, 2), noErr);
    EXPECT_EQ(MusicDeviceSysEx(unit, nullptr, 0), noErr);
    EXPECT_EQ(MusicDeviceSysEx(unit, nullptr, 2), paramErr);
    EXPECT_THAT(unit->TakeCalls(),
                ElementsAre(Call{"HandleSysEx", {2, 0xF0}}, Call{"HandleSysEx", {0, 0}}));
}

TEST(Midi, NotesFromTheHostStartUnlessTheirVelocityIs0) {
    const InitializedInstrument unit;
    NoteInstanceID id = 0;
    MusicDeviceNoteParams note = {2, 60.5f, 100, {}};
    EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, &id, 5, &note), noErr);
    EXPECT_EQ(id, 1060u);
    note.argCount = 0xFFFFFFFF; // names controls that are not there
    EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, nullptr, 5, &note), noErr);
    EXPECT_THAT(unit->TakeCalls(), ElementsAre(Call{"StartNote", {3, 4, 5, 60.5, 100}},
                                               Call{"StartNote", {3, 4, 5, 60.5, 100}}));
    note = {2, 0, 0, {}};
    for (const auto& [pitch, instance] :
         Rows<Float32, Float64>{{60.9f, 60},
                                {-3, 0},
                                {std::nanf(""), 0},
                                {std::numeric_limits<Float32>::infinity(), 4294967295.0}}) {
        note.mPitch = pitch;
        EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, &id, 5, &note), noErr);
        EXPECT_THAT(unit->TakeCalls(), ElementsAre(Call{"StopNote", {4, instance, 5}})) << pitch;
    }
    unit->mStatus = -6;
    note = {2, 70, 1, {}};
    EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, &id, 5, &note), -6);
    EXPECT_EQ(id, 1060u) << "a note that did not start has no name";
    unit->TakeCalls();
    EXPECT_EQ(MusicDeviceStopNote(unit, 3, 4, 5), noErr);
    EXPECT_EQ(MusicDevicePrepareInstrument(unit, 1), noErr);
    EXPECT_EQ(MusicDeviceReleaseInstrument(unit, 2), noErr);
    EXPECT_THAT(unit->TakeCalls(),
                ElementsAre(Call{"StopNote", {3, 4, 5}}, Call{"PrepareInstrument", {1}},
                            Call{"ReleaseInstrument", {2}}));
}

TEST(FastEntries, AreHandedOutByElementInTheGlobalScope) {
    const OpenInstrument second;
    const OpenInstrument first({.interfaceVersion = 1});
    void* entry = nullptr;
    for (const UInt32 selector : {6u, 7u, 14u, 0x101u}) {
        EXPECT_EQ(second.Get(kAudioUnitProperty_FastDispatch, 0, selector, entry), noErr);
        EXPECT_NE(entry, nullptr);
        EXPECT_EQ(second.Get(kAudioUnitProperty_FastDispatch, 1, selector, entry),
                  kAudioUnitErr_InvalidScope);
        EXPECT_EQ(first.Get(kAudioUnitProperty_FastDispatch, 0, selector, entry),
                  selector == 14 ? OSStatus{kAudioUnitErr_InvalidElement} : OSStatus{noErr});
    }
    for (const UInt32 selector : {0u, 1u, 8u, 17u, 0x102u}) {
        EXPECT_EQ(second.Get(kAudioUnitProperty_FastDispatch, 0, selector, entry),
                  kAudioUnitErr_InvalidElement);
    }
}

TEST(FastEntries, CheckTheirArgumentsAndMapWhatIsThrown) {
    const InitializedInstrument unit;
    constexpr auto kFast = kAudioUnitProperty_FastDispatch;
    const auto get = unit.Value<AudioUnitGetParameterProc>(kFast, kGlobal, 6);
    const auto set = unit.Value<AudioUnitSetParameterProc>(kFast, kGlobal, 7);
    const auto render = unit.Value<AudioUnitRenderProc>(kFast, kGlobal, 14);
    const auto midi = unit.Value<MusicDeviceMIDIEventProc>(kFast, kGlobal, 0x101);
    void* const storage = unit.Storage();
    const AudioTimeStamp time = AtSample(0);
    HostBuffers host(2, 16);
    Float32 value = 0;
    EXPECT_EQ(set(storage, 7, 0, 0, 3, 0), noErr);
    EXPECT_EQ(get(storage, 7, 0, 0, &value), noErr);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(render(storage, nullptr, &time, 0, 16, host.Get()), noErr);
    EXPECT_EQ(host.Sample(1, 15), TestInstrument::SampleOf(1, 0, 1));

    EXPECT_EQ(get(nullptr, 7, 0, 0, &value), paramErr);
    EXPECT_EQ(get(storage, 7, 0, 0, nullptr), paramErr);
    EXPECT_EQ(set(nullptr, 7, 0, 0, 3, 0), paramErr);
    EXPECT_EQ(render(nullptr, nullptr, &time, 0, 16, host.Get()), paramErr);
    EXPECT_EQ(render(storage, nullptr, nullptr, 0, 16, host.Get()), paramErr);
    EXPECT_EQ(render(storage, nullptr, &time, 0, 16, nullptr), paramErr);
    EXPECT_EQ(midi(nullptr, 0x90, 60, 1, 0), paramErr);

    EXPECT_EQ(get(storage, 8, 0, 0, &value), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(set(storage, 8, 9, 0, 3, 0), kAudioUnitErr_InvalidScope);
    EXPECT_EQ(render(storage, nullptr, &time, 1, 16, host.Get()), kAudioUnitErr_InvalidElement);
    unit->mRaise = [] { throw std::bad_alloc(); };
    EXPECT_EQ(midi(storage, 0x90, 60, 1, 0), memFullErr);
}

} // namespace
} // namespace velnor

#include "framework/tests/OpenInstrument.h"

#include <cmath>
#include <limits>

namespace velnor::testing {
namespace {

constexpr auto kFast = kAudioUnitProperty_FastDispatch;
constexpr UInt32 kFrame = 70001; // more than 16 bits

TEST(Midi, EachCommandReachesItsHandlerByTheSelectorAndByTheFastEntry) {
    const InitializedInstrument unit;
    const auto fast = unit.Value<MusicDeviceMIDIEventProc>(kFast, kGlobal, 0x101);
    for (const auto& [status, data1, data2, call] : Rows<UInt32, UInt32, UInt32, std::string>{
             {0x85, 60, 40, "StopNote 5 60 70001; "},
             {0x93, 60, 40, "StartNote 4294967295 3 70001 60 40; "},
             {0x9F, 61, 0, "StopNote 15 61 70001; "},
             {0xA1, 62, 7, "HandlePolyPressure 1 62 7 70001; "},
             {0xB2, 119, 8, "HandleControlChange 2 119 8 70001; "},
             {0xB2, 120, 0, "HandleAllSoundOff 2; "},
             {0xB2, 121, 0, "HandleResetAllControllers 2; "},
             {0xB2, 122, 1, "HandleControlChange 2 122 1 70001; "},
             {0xB2, 123, 0, "HandleAllNotesOff 2; "},
             {0xB2, 124, 9, "HandleControlChange 2 124 9 70001; "},
             {0xC4, 11, 0, "HandleProgramChange 4 11; "},
             {0xD5, 12, 0, "HandleChannelPressure 5 12 70001; "},
             {0xE6, 1, 64, "HandlePitchWheel 6 1 64 70001; "},
             {0x00, 1, 2, ""},
             {0x7F, 1, 2, ""},
             {0xF0, 1, 2, ""},
             {0xFF, 1, 2, ""}}) {
        EXPECT_EQ(MusicDeviceMIDIEvent(unit, status, data1, data2, kFrame), noErr);
        EXPECT_EQ(fast(unit.Storage(), status, data1, data2, kFrame), noErr);
        EXPECT_EQ(TakeCalls(), call + call) << status;
    }
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
    TakeCalls();
    EXPECT_EQ(MusicDeviceSysEx(unit, bytes, 2), noErr);
    EXPECT_EQ(MusicDeviceSysEx(unit, nullptr, 0), noErr);
    EXPECT_EQ(MusicDeviceSysEx(unit, nullptr, 2), paramErr);
    EXPECT_EQ(TakeCalls(), "HandleSysEx 2 240; HandleSysEx 0 0; ");
}

TEST(Midi, NotesFromTheHostStartUnlessTheirVelocityIs0) {
    const InitializedInstrument unit;
    NoteInstanceID id = 0;
    for (const auto& [pitch, velocity, status, call] :
         Rows<Float32, Float32, OSStatus, std::string>{
             {60.5f, 100, noErr, "StartNote 3 4 5 60.5 100; "},
             {62, -1, noErr, "StartNote 3 4 5 62 -1; "},
             {70, 1, -6, "StartNote 3 4 5 70 1; "},
             {60.9f, 0, noErr, "StopNote 4 60 5; "},
             {-3, 0, noErr, "StopNote 4 0 5; "},
             {std::nanf(""), 0, noErr, "StopNote 4 0 5; "},
             {std::numeric_limits<Float32>::infinity(), 0, noErr, "StopNote 4 4294967295 5; "}}) {
        unit->mStatus = status;
        id = 9;
        // The count names controls that are not there.
        const MusicDeviceNoteParams note = {0xFFFFFFFF, pitch, velocity, {}};
        EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, &id, 5, &note), status);
        EXPECT_EQ(id, status == noErr && velocity != 0 ? 1000 + static_cast<UInt32>(pitch) : 9)
            << "a note that did not start has no name";
        EXPECT_EQ(MusicDeviceStartNote(unit, 3, 4, nullptr, 5, &note), status);
        EXPECT_EQ(TakeCalls(), call + call) << pitch;
    }
    EXPECT_EQ(MusicDeviceStopNote(unit, 3, 4, 5), noErr);
    EXPECT_EQ(MusicDevicePrepareInstrument(unit, 1), noErr);
    EXPECT_EQ(MusicDeviceReleaseInstrument(unit, 2), noErr);
    EXPECT_EQ(TakeCalls(), "StopNote 3 4 5; PrepareInstrument 1; ReleaseInstrument 2; ");
}

TEST(FastEntries, DoAsTheSelectorsAndMapWhatIsThrown) {
    const InitializedInstrument unit;
    const auto get = unit.Value<AudioUnitGetParameterProc>(kFast, kGlobal, 6);
    const auto set = unit.Value<AudioUnitSetParameterProc>(kFast, kGlobal, 7);
    const auto render = unit.Value<AudioUnitRenderProc>(kFast, kGlobal, 14);
    const auto midi = unit.Value<MusicDeviceMIDIEventProc>(kFast, kGlobal, 0x101);
    void* const storage = unit.Storage();
    const AudioTimeStamp time = AtSample(0);
    HostBuffers host(2, 16);
    Float32 value = 0;
    void* none = nullptr;
    EXPECT_EQ(unit.Get(kFast, kGlobal, 13, none), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(unit.Get(kFast, kInput, 14, none), kAudioUnitErr_InvalidScope);
    EXPECT_EQ(OpenInstrument({.interfaceVersion = 1}).Get(kFast, kGlobal, 14, none),
              kAudioUnitErr_InvalidElement);
    EXPECT_EQ(set(storage, 7, 0, 0, 3, 0), noErr);
    EXPECT_EQ(get(storage, 7, 0, 0, &value), noErr);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(render(storage, nullptr, &time, 0, 16, host.Get()), noErr);
    EXPECT_EQ(host.Sample(1, 15), TestInstrument::SampleOf(1, 0, 1));
    EXPECT_EQ(get(storage, 8, 0, 0, &value), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(set(storage, 8, 9, 0, 3, 0), kAudioUnitErr_InvalidScope);
    EXPECT_EQ(render(storage, nullptr, &time, 1, 16, host.Get()), kAudioUnitErr_InvalidElement);
    unit.Fail("StartNote", [] { throw std::bad_alloc(); });
    EXPECT_EQ(midi(storage, 0x90, 60, 1, 0), memFullErr);
}

} // namespace
} // namespace velnor::testing

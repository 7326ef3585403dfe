#include "host/MidiFile.h"
#include "host/MidiSong.h"
#include "host/SongRenderer.h"
#include "host/tests/HostProgram.h"
#include "platform/tests/Testing.h"

namespace velnor::host {
namespace {

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string withTrack(const std::string& events) {
    std::string file = std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\0\0\0", 21);
    return file + static_cast<char>(events.size()) + events;
}

TEST(MidiFile, ASongCutAnywhereIsRefused) {
    const std::string whole = test::songOf({60, 62, 64, 65, 67});
    EXPECT_EQ(checkMidiFile(bytesOf(whole)), "");
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(checkMidiFile(bytesOf(whole.substr(0, size))), "") << size;
}

TEST(MidiFile, SaysWhatIsWrongAndWhere) {
    for (const auto& [file, problem] : test::Rows<std::string, std::string>{
             {"RIFF....", "it does not begin with a MIDI file header"},
             {withTrack(std::string("\0\x3C", 2)),
              "track 1 has a data byte where a message should begin at byte 24"},
             {withTrack(std::string("\0\x90\x3C\x90", 4)),
              "track 1 has a message with a data byte missing at byte 26"},
             {withTrack(std::string("\0\xFF\x51\x02\0\0", 6)),
              "track 1 has a meta event of the wrong length at byte 28"},
             {withTrack("\xFF\xFF\xFF\xFF\x90"),
              "track 1 has a number of more than four bytes at byte 26"},
             {withTrack(std::string("\0\xF0\x05\x01", 4)), "track 1 is cut short at byte 25"},
             {withTrack(std::string("\0\xF3\x01", 3)),
              "track 1 has a message that files do not hold at byte 24"}})
        EXPECT_EQ(checkMidiFile(bytesOf(file)), problem);
}

TEST(MidiSong, KeepsFileOrderAmongMessagesOfOneTick) {
    const std::string events("\0\xC1\x05\0\xB1\x07\x64\0\x91\x3C\x40\0\x3C\0\0\xFF\x2F\0", 18);
    const MidiSong song = parseMidiSong(bytesOf(withTrack(events)), "song");
    std::vector<int> statuses;
    for (const SongMessage& message : song.messages)
        statuses.push_back(message.status);
    EXPECT_EQ(statuses, (std::vector<int>{0xC1, 0xB1, 0x91, 0x91}));
    EXPECT_EQ(song.messages[3].data2, 0);
}

TEST(MidiSong, AFileThatCountsFramesPlaysInSeconds) {
    std::string file = withTrack(std::string("\x64\x90\x3C\x40\0\xFF\x2F\0", 8));
    file.replace(12, 2, "\xE7\x28"); // 25 frames a second of 40 ticks each
    const MidiSong song = parseMidiSong(bytesOf(file), "song");
    ASSERT_EQ(song.messages.size(), 1U);
    EXPECT_DOUBLE_EQ(song.tempoMap.secondsAtTick(song.messages[0].tick), 0.1);
}

TEST(MidiSong, ReadsEverythingThatTheFormatAllows) {
    const std::string file("MThd\0\0\0\x08\0\0\0\x01\0\x60++" // a longer header
                           "XFIH\0\0\0\x01+"                  // a chunk that is no track
                           "MTrk\0\0\0\x09\0\xF7\x02\x01\x02" // an escape
                           "\0\x90\x3C\x40",                  // and no end
                           42);
    const MidiSong song = parseMidiSong(bytesOf(file), "song");
    ASSERT_EQ(song.messages.size(), 1U);
    EXPECT_EQ(song.messages[0].data1, 60);
}

TEST(TempoMap, TempoChangesMoveEveryLaterTick) {
    TempoMap map = TempoMap::forQuarterNotes(480);
    EXPECT_DOUBLE_EQ(map.secondsAtTick(960), 1.0);
    map.addTempo(960, 1000000);
    map.addTempo(1440, 250000);
    EXPECT_DOUBLE_EQ(map.secondsAtTick(1440), 2.0);
    EXPECT_DOUBLE_EQ(map.secondsAtTick(1920), 2.25);
    EXPECT_EQ(frameOfTick(map, 1920, 44100.0), 99225);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(1.5).beats, 2.5);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(1.5).beatsPerMinute, 60.0);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(3.0).beats, 7.0);
}

TEST(TempoMap, BarsFollowTheMeter) {
    TempoMap map = TempoMap::forQuarterNotes(96);
    map.addMeter(0, 3, 4);
    map.addMeter(96 * 6, 6, 8);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(2.25).barStart, 3.0);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(5.0).barStart, 9.0);
    EXPECT_EQ(map.positionAtSeconds(5.0).numerator, 6);
    EXPECT_EQ(map.positionAtSeconds(5.0).denominator, 8);
}

TEST(TempoMap, SmpteTicksIgnoreTempo) {
    TempoMap map = TempoMap::forFrames(1000.0);
    map.addTempo(0, 1000000);
    EXPECT_DOUBLE_EQ(map.secondsAtTick(1500), 1.5);
    EXPECT_DOUBLE_EQ(map.positionAtSeconds(1.5).beats, 3.0);
}

} // namespace
} // namespace velnor::host

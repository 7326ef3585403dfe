#include "host/render/SongRenderer.h"
#include "host/render/SongTransport.h"
#include "host/song/MidiFile.h"
#include "host/song/MidiSong.h"
#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

namespace velnor::host {
namespace {

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string problemOf(std::span<const std::uint8_t> bytes) {
    return visitMidiFile(bytes, [](const MidiFileEvent&) {});
}

std::string withTrack(const std::string& events) {
    std::string file = std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\0\0\0", 21);
    return file + static_cast<char>(events.size()) + events;
}

TEST(MidiFile, ASongCutAnywhereIsRefused) {
    const std::string whole = testing::songOf({60, 62, 64, 65, 67});
    EXPECT_EQ(problemOf(bytesOf(whole)), "");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_NE(problemOf(bytesOf(whole.substr(0, size))), "") << size;
    }
}

TEST(MidiFile, SaysWhatIsWrongAndWhere) {
    for (const auto& [file, problem] : testing::Rows<std::string, std::string>{
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
              "track 1 has a message that files do not hold at byte 24"}}) {
        EXPECT_EQ(problemOf(bytesOf(file)), problem);
    }
}

// Each message as "tick status data1 data2", in hexadecimal but for the tick.
std::string messagesOf(const MidiSong& song) {
    std::string text;
    for (const SongMessage& message : song.messages) {
        char line[64];
        std::snprintf(line, sizeof line, "%ld %x %x %x, ", static_cast<long>(message.tick),
                      message.status, message.data1, message.data2);
        text += line;
    }
    return text;
}

TEST(MidiSong, ReadsEverythingThatTheFormatAllows) {
    const std::string order = "00C105 00B10764 00913C40 003C00";
    const std::string mixed = "0 c1 5 0, 0 b1 7 64, 0 91 3c 40, 0 91 3c 0, ";
    for (const auto& [events, messages, length] : testing::Rows<std::string, std::string, long>{
             {order + "00FF2F00", mixed, 0},
             {"01D10500060007 07C10300 04", "1 d1 5 0, 1 d1 6 0, 1 d1 7 0, 8 c1 3 0, 8 c1 4 0, ",
              8},
             {"10F002 01F7 20FF010141 01903C40 01A03C01 01E00140 01803C02",
              "49 90 3c 40, 50 a0 3c 1, 51 e0 1 40, 52 80 3c 2, ", 52},
             {"81808000 903C40", "2097152 90 3c 40, ", 2097152}, // four bytes of delta time
             {"00903C40 60FF2F00 00803C00", "0 90 3c 40, ", 96}, // what follows the end is nothing
             {"00903C40 60803C00 8360FF2F00", "0 90 3c 40, 96 80 3c 0, ", 576},
             {"00F70201 02 00903C40", "0 90 3c 40, ", 0}}) { // an escape, and no end
        const MidiSong song = parseMidiSong(bytesOf(testing::midiFile({events})), "song");
        EXPECT_EQ(messagesOf(song), messages);
        EXPECT_EQ(song.lengthTicks, length) << events;
    }
    const std::string chunks("MThd\0\0\0\x08\0\0\0\x01\0\x60++" // a longer header
                             "XFIH\0\0\0\x01+"                  // a chunk that is no track
                             "MTrk\0\0\0\x04\0\x90\x3C\x40",
                             37);
    EXPECT_EQ(messagesOf(parseMidiSong(bytesOf(chunks), "song")), "0 90 3c 40, ");
}

TEST(MidiSong, MessagesOfOneTickKeepTrackAndFileOrder) {
    std::string tracks[2], expected;
    for (int track = 0; track < 2; ++track) {
        for (int number = 0; number < 40; ++number) {
            char text[64];
            std::snprintf(text, sizeof text, "00B%d%02X05", track, number);
            tracks[track] += text;
            std::snprintf(text, sizeof text, "0 b%d %x 5, ", track, number);
            expected += text;
        }
    }
    EXPECT_EQ(messagesOf(parseMidiSong(
                  bytesOf(testing::midiFile({tracks[0] + "01903C40", tracks[1]})), "song")),
              expected + "1 90 3c 40, ");
}

TEST(MidiSong, TimeIsCountedInQuartersOrInFramesOfFilm) {
    for (const auto& [division, seconds] :
         testing::Rows<int, double>{{96, 1000.0 / 96 * 0.25},
                                    {0x7FFF, 1000.0 / 0x7FFF * 0.25},
                                    {0xE728, 1.0},                        // 25 frames of 40
                                    {0xE804, 1000.0 / 96},                // 24 of 4
                                    {0xE350, 1000.0 / (80 * 30 / 1.001)}, // 29.97 of 80
                                    {0xE250, 1000.0 / 2400}}) {           // 30 of 80
        const std::string file = testing::midiFile({"00FF510303D090 00FF2F00"}, division);
        const MidiSong song = parseMidiSong(bytesOf(file), "song"); // 250,000 microseconds
        EXPECT_DOUBLE_EQ(song.tempoMap.secondsAtTick(1000), seconds) << division;
    }
    for (const int division : {0, 0xE700, 0xE604}) {
        EXPECT_NE(problemOf(bytesOf(testing::midiFile({"00FF2F00"}, division))), "");
    }
}

TEST(SongTransport, TellsBeatsBarsAndTheNextBeat) {
    // 3/4; tempo 60 at beat 3; 6/8 at beat 6; tempo 240 at beat 9
    const MidiSong song =
        parseMidiSong(bytesOf(testing::midiFile({"00FF580403021808 8B20FF51030F4240 "
                                                 "8B20FF580406031808 8B20FF510303D090 00FF2F00"})),
                      "song");
    SongTransport transport(song.tempoMap, 48000.0);
    const HostCallbackInfo host = transport.callbacks();
    for (const auto& [seconds, beat, tempo, toBeat, numerator, denominator, bar] :
         testing::Rows<double, double, double, UInt32, Float32, UInt32, double>{
             {0.0, 0, 120, 0, 3, 4, 0},
             {0.25, 0.5, 120, 12000, 3, 4, 0},
             {0.5, 1, 120, 0, 3, 4, 0},
             {1.5, 3, 60, 0, 3, 4, 3},
             {1.75, 3.25, 60, 36000, 3, 4, 3},
             {4.5, 6, 60, 0, 6, 8, 6},
             {7.25, 8.75, 60, 12000, 6, 8, 6},
             {7.5, 9, 240, 0, 6, 8, 9},
             {8.375, 12.5, 240, 6000, 6, 8, 12}}) {
        transport.moveTo(static_cast<std::int64_t>(seconds * 48000.0));
        double gotBeat = 0, gotTempo = 0, gotBar = 0;
        UInt32 gotToBeat = 0, gotDenominator = 0;
        Float32 gotNumerator = 0;
        host.beatAndTempoProc(host.hostUserData, &gotBeat, &gotTempo);
        host.musicalTimeLocationProc(host.hostUserData, &gotToBeat, &gotNumerator, &gotDenominator,
                                     &gotBar);
        EXPECT_EQ(std::tuple(gotBeat, gotTempo, gotToBeat, gotNumerator, gotDenominator, gotBar),
                  std::tuple(beat, tempo, toBeat, numerator, denominator, bar))
            << seconds;
    }
}

TEST(SongTransport, TellsAChangeOnce) {
    const TempoMap map = TempoMap::forQuarterNotes(480);
    SongTransport transport(map, 44100.0);
    const HostCallbackInfo host = transport.callbacks();
    const auto state = [&] {
        Boolean playing = 9, changed = 9, cycling = 9;
        Float64 position = -1;
        host.transportStateProc(host.hostUserData, &playing, &changed, &position, &cycling, nullptr,
                                nullptr);
        return std::tuple<int, int, int, double>(playing, changed, cycling, position);
    };
    transport.moveTo(7);
    EXPECT_EQ(state(), std::tuple(0, 0, 0, 7.0));
    transport.setPlaying(true);
    EXPECT_EQ(state(), std::tuple(1, 1, 0, 7.0));
    transport.setPlaying(true);
    EXPECT_EQ(state(), std::tuple(1, 0, 0, 7.0));
    transport.setPlaying(false);
    EXPECT_EQ(state(), std::tuple(0, 1, 0, 7.0));
    EXPECT_EQ(state(), std::tuple(0, 0, 0, 7.0));
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

} // namespace
} // namespace velnor::host

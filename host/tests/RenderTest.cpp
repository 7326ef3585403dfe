#include "engines/soundfont/tests/FluidSynthAlone.h"
#include "host/AudioFile.h"
#include "host/JobError.h"
#include "host/MidiSong.h"
#include "host/SongRenderer.h"
#include "host/tests/HostProgram.h"
#include "platform/tests/Testing.h"

#include <csignal>
#include <cstring>
#include <sstream>

#include <sys/resource.h>

namespace velnor::test {
namespace {

constexpr float kSilence = 0.0F;
const std::vector<int> kTune = {60, 64, 67, 72, 71, 67, 64, 60};

std::uint32_t wordAt(const std::string& bytes, std::size_t at) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

struct PlayedMessage {
    std::int64_t frame;
    int status, data1, data2;
    bool operator==(const PlayedMessage&) const = default;
};

/* The messages of every process call in the probe's log, at their frame in the song. */
std::vector<PlayedMessage> messagesIn(const std::string& log) {
    std::vector<PlayedMessage> messages;
    std::istringstream lines(log);
    std::int64_t begin = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string opcode, target, ptr1, ptr2, ptr3, frames;
        words >> opcode >> target >> ptr1 >> ptr2 >> ptr3 >> frames;
        if (opcode != "15")
            continue;
        const std::size_t bar = line.find("| ");
        const std::string block = FromHex(line.substr(bar + 2, line.find(' ', bar + 2) - bar - 2));
        for (std::uint32_t i = 0; i < wordAt(block, 0); ++i) {
            const std::size_t at = 4 + 32 * std::size_t{i};
            messages.push_back({begin + static_cast<std::int32_t>(wordAt(block, at + 4)),
                                static_cast<unsigned char>(block[at]), block[at + 1],
                                block[at + 2]});
        }
        begin += std::stoi(frames, nullptr, 16);
    }
    return messages;
}

std::vector<float> samplesIn(const std::string& raw) {
    std::vector<float> samples(raw.size() / sizeof(float));
    std::memcpy(samples.data(), raw.data(), samples.size() * sizeof(float));
    return samples;
}

/* The song through FluidSynth alone; stereo, interleaved. */
std::vector<float> fluidRender(const host::MidiSong& song, std::size_t frames) {
    std::vector<soundfont::TimedEvent> events;
    for (const host::SongMessage& message : song.messages)
        events.push_back({host::frameOfTick(song.tempoMap, message.tick, 44100.0), message.status,
                          message.data1, message.data2});
    const soundfont::Channels out =
        soundfont::renderAlone(events, static_cast<int>(frames), 44100, FLUID_INTERP_HIGHEST);
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < frames; ++i)
        interleaved.insert(interleaved.end(), {out[0][i], out[1][i]});
    return interleaved;
}

class Render : public testing::Test {
protected:
    HostProgram program;
    std::string tune = program.song(songOf(kTune));
};

TEST_F(Render, EqualsFluidSynthByItselfSampleForSample) {
    ASSERT_EQ(program.install("SoundFont").status, 0);
    const Outcome outcome = program.run({"render", tune, "-o", program.path("o.raw"), "--bits",
                                         "float", "--tail", "1.5", "--block", "137"});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const std::vector<float> ours = samplesIn(ReadFile(program.path("o.raw")));
    /* four beats at 120, four at 60, and the tail */
    ASSERT_EQ(ours.size(), 2u * static_cast<std::size_t>(44100 * 7.5));
    EXPECT_EQ(ours, fluidRender(host::readMidiSong(tune), ours.size() / 2));
}

TEST_F(Render, EveryBlockSizePutsEveryMessageOnTheSameSample) {
    ASSERT_EQ(program.install("Probe").status, 0);
    const std::string log = program.path("probe.log");
    const ScopedEnv variable("VELNOR_PROBE_LOG", log.c_str());
    std::vector<PlayedMessage> first;
    for (const char* block : {"64", "137", "512", "4096"}) {
        std::filesystem::remove(log);
        ASSERT_EQ(
            program.run({"render", tune, "-o", program.path("o.wav"), "--block", block}).status, 0);
        const std::vector<PlayedMessage> played = messagesIn(ReadFile(log));
        if (first.empty())
            first = played;
        EXPECT_EQ(played.size(), 1 + 2 * kTune.size());
        EXPECT_EQ(played, first) << block;
    }
    EXPECT_EQ(first[1], (PlayedMessage{0, 0x90, 60, 100}));
    EXPECT_EQ(first.back(), (PlayedMessage{44100 * 6, 0x80, 60, 0}));
}

TEST_F(Render, ACrowdOfMessagesOnOneFrameAndNextToItArrivesWhole) {
    ASSERT_EQ(program.install("Probe").status, 0);
    std::string track;
    for (int i = 0; i < 3000; ++i)
        track += std::string("\x01\xB0\x07", 3) + static_cast<char>(i % 128);
    track += std::string("\0\xFF\x2F\0", 4);
    std::string file("MThd\0\0\0\x06\0\0\0\x01\x60\0MTrk\0\0", 20);
    file += static_cast<char>(track.size() >> 8);
    file += static_cast<char>(track.size());
    const std::string log = program.path("probe.log");
    const ScopedEnv variable("VELNOR_PROBE_LOG", log.c_str());
    const Outcome outcome = program.run(
        {"render", program.song(file + track), "-o", program.path("o.wav"), "--block", "16384"});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(messagesIn(ReadFile(log)).size(), 3000u);
}

TEST_F(Render, HalvesWithAPresetBetweenHaveTheStateOfTheWhole) {
    ASSERT_EQ(program.install("SoundFont").status, 0);
    const std::string out = program.path("o.wav");
    const std::string middle = program.path("middle");
    ASSERT_EQ(
        program.run({"render", tune, "-o", out, "--save-preset", program.path("whole")}).status, 0);
    ASSERT_EQ(program.run({"render", tune, "-o", out, "--to", "2", "--save-preset", middle}).status,
              0);
    ASSERT_EQ(program
                  .run({"render", tune, "-o", out, "--from", "2", "--preset", middle,
                        "--save-preset", program.path("halves")})
                  .status,
              0);
    EXPECT_EQ(ReadFile(program.path("halves")), ReadFile(program.path("whole")));
    const Outcome diff =
        program.run({"preset", "diff", program.path("halves"), program.path("whole")});
    EXPECT_EQ(diff.status, 0) << diff.out;
}

TEST_F(Render, TwiceGivesTheSameFileAndStandardOutputTheSameBytes) {
    ASSERT_EQ(program.install("SoundFont").status, 0);
    for (const char* extension : {".wav", ".flac", ".raw"}) {
        const std::string a = program.path(std::string("a") + extension);
        const std::string b = program.path(std::string("b") + extension);
        ASSERT_EQ(program.run({"render", tune, "-o", a, "--bits", "24"}).status, 0);
        ASSERT_EQ(program.run({"render", tune, "-o", b, "--bits", "24"}).status, 0);
        EXPECT_EQ(ReadFile(a), ReadFile(b));
        const Outcome piped = program.run(
            {"render", "-", "-o", "-", "--bits", "24", "--format", extension + 1}, songOf(kTune));
        EXPECT_EQ(piped.out, ReadFile(a)) << extension << piped.error;
    }
}

TEST_F(Render, FailuresAreOneLineAndLeaveNothingBehind) {
    const std::string out = program.path("out.wav");
    EXPECT_EQ(program.run({"render", tune, "-o", out}).status, 1); /* nothing installed */
    ASSERT_EQ(program.install("SoundFont").status, 0);
    const std::string cut = program.song(songOf(kTune).substr(0, 60), "cut.mid");
    const std::string endless("MThd\0\0\0\6\0\0\0\1\0\1MTrk\0\0\0\7\xFF\xFF\xFF\x7F\xFF\x2F", 29);
    const std::string link = program.path("link.wav");
    std::filesystem::create_symlink(tune, link);
    for (const auto& [arguments, status, says] : Rows<Texts, int, const char*>{
             {{"render", program.path("none.mid"), "-o", out}, 1, "No such file"},
             {{"render", "/etc/hostname", "-o", out}, 1, "not a playable MIDI file"},
             {{"render", cut, "-o", out}, 1, "cut short"},
             {{"render", tune, "-o", program.path("no/such/out.wav")}, 1, "No such file"},
             {{"render", tune, "-o", "/dev/full/out.wav"}, 1, "Not a directory"},
             {{"render", tune, "-o", "/dev/full", "--format", "wav"}, 1, "No space left"},
             {{"render", tune, "-o", out, "--save-preset", program.path("no/such/p")},
              1,
              "No such"},
             {{"render", tune, "-o", out, "--rate", "12"}, 2, "--rate"},
             {{"render", tune, "-o", out, "--rate", "nan"}, 2, "--rate"},
             {{"render", tune, "-o", out, "--rate", "44100.5"}, 2, "whole number"},
             {{"render", tune, "-o", out, "--from", "nan"}, 2, "--from"},
             {{"render", tune, "-o", out, "--from", "900000"}, 1, "over by then"},
             {{"render", tune, "-o", out, "--from", "3", "--to", "3"}, 2, "later than"},
             {{"render", tune, "-o", out, "--from", "1.999999", "--to", "2"}, 2, "later than"},
             {{"render", program.song(endless, "endless.mid"), "-o", out}, 1, "37282 hours"},
             {{"render", tune, "-o", tune, "--format", "raw"}, 2, "overwritten"},
             {{"render", tune, "-o", link}, 2, "overwritten"},
             {{"render", tune, "-o", out, "--preset", cut, "--save-preset", cut}, 2, "overwritten"},
             {{"render", tune, "-o", out, "--save-preset", out}, 2, "two outputs"},
             {{"render", tune, "-o", out, "--split", "--save-preset", program.path("out-1.wav")},
              2,
              "two outputs"},
             {{"render", tune, "-o", program.path("out.ogg")}, 2, "--format"},
             {{"render", tune, "-o", out, "--tail", "soon"}, 2, "--tail \"soon\""},
             {{"render", tune, "-o", out, "--tail", ""}, 2, "--tail \"\""},
             {{"render", tune, "-o", out, "--preset", tune}, 1, "not a preset file"},
             {{"render", tune, "-o", out, "--component", "Nobody"}, 1, "no such instrument"},
             {{"render", tune, "-o", out, "--preset", ""}, 2, "--preset: the name is empty"},
             {{"render", tune, "-o", out, "--buses", "2,2"}, 1, "number of buses"},
             {{"render", tune, "-o", out, "--buses", "2,,2"}, 2, "--buses \"2,,2\""},
             {{"render", tune, "-o", out, "--buses", "2,0"}, 2, "--buses \"2,0\""},
             {{"render", tune}, 2, "--output"},
             {{"render", tune, "--tial", "3"}, 2, "--tial: no such option (see velnor-host render"},
             {{"preset", "frobnicate"}, 2, "frobnicate: no such command (see velnor-host preset"},
             {{"frobnicate"}, 2, "frobnicate: no such command (see velnor-host --help)"}}) {
        const Outcome outcome = program.run(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.error;
        EXPECT_THAT(outcome.error, HasSubstr(says));
        EXPECT_THAT(outcome.error, Contains('\n').Times(1));
    }
    EXPECT_TRUE(program.filesLike("out").empty());
    const Outcome shrill = program.run({"render", tune, "-o", out, "--rate", "96001"});
    EXPECT_THAT(shrill.error, HasSubstr("not a sound was heard at 96001 Hz"));
}

TEST_F(Render, AFileThatMayOutgrowWavHas64BitSizes) {
    const std::string path = program.path("long.wav");
    host::AudioFormat format;
    for (const auto& [frames, magic] : {std::pair{1 << 29, "RIFF"}, {1 << 30, "RF64"}}) {
        format.mostFrames = frames;
        host::AudioFile file(path, format);
        const float* const silence[2] = {&kSilence, &kSilence};
        file.write(silence, 1);
        file.finish();
        const std::string bytes = ReadFile(path);
        EXPECT_THAT(bytes, StartsWith(magic));
        EXPECT_TRUE(frames == 1 << 29 || (bytes.substr(12, 4) == "ds64" && wordAt(bytes, 28) == 4));
    }
    format.container = host::Container::kFlac;
    format.mostFrames = std::int64_t{1} << 36;
    EXPECT_THROW(host::AudioFile(path, format), host::JobError);
}

TEST_F(Render, AnEngineThatMisbehavesLosesNothing) {
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string out = program.path("out.wav");
    WriteFile(out, "precious");
    for (const auto& [way, says] :
         {std::pair{"crash", "crashed"}, {"abort", "crashed"}, {"throw", "does not render"}}) {
        const ScopedEnv variable("VELNOR_ODD_ENGINE", way);
        const Outcome outcome = program.run({"render", tune, "-o", out});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, HasSubstr(says));
    }
    for (const auto& [way, signal, after] :
         {std::tuple{"slow", SIGINT, 1500}, {"stall", SIGQUIT, 500}}) {
        const ScopedEnv variable("VELNOR_ODD_ENGINE", way);
        const Outcome outcome = program.runInterrupted({"render", tune, "-o", out}, signal, after);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, HasSubstr("interrupted"));
    }
    EXPECT_EQ(ReadFile(out), "precious");
    EXPECT_EQ(program.filesLike("out").size(), 1u);
    const std::string raw = program.path("out.raw");
    for (const auto& [way, bits, says] : {std::tuple{"nan", "float", "no numbers"},
                                          {"infinite", "float", "no numbers"},
                                          {"denormal", "float", "6.000 long"},
                                          {"loud", "16", "clipped"},
                                          {"stall", "float", "6.000 long"}}) {
        const ScopedEnv variable("VELNOR_ODD_ENGINE", way);
        const Outcome outcome =
            program.run({"render", tune, "-o", raw, "--bits", bits, "--tail", "0"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.error, HasSubstr(says));
        if (bits == std::string("16"))
            continue;
        const std::vector<float> samples = samplesIn(ReadFile(raw));
        EXPECT_EQ(samples.size(), 2u * 6 * 44100);
        EXPECT_THAT(samples, Each(FloatNear(0.0F, std::numeric_limits<float>::min()))) << way;
    }
}

TEST_F(Render, AFileBeyondTheLimitKeepsTheOldOne) {
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string out = WriteFile(program.path("out.wav"), "precious");
    rlimit old = {};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small = {100000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small); /* the program has to ignore SIGXFSZ itself */
    const Outcome outcome = program.run({"render", tune, "-o", out});
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.error, HasSubstr("File too large"));
    EXPECT_EQ(ReadFile(out), "precious");
    EXPECT_EQ(program.filesLike("out").size(), 1u);
}

TEST(Songs, OfAPackageThatNobodyHereWrotePlayFromStartToEnd) {
    const std::filesystem::path folder = "/usr/share/games/openttd/baseset/openmsx";
    if (!std::filesystem::exists(folder))
        GTEST_SKIP() << "the package openttd-openmsx is not installed";
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
#ifdef VELNOR_SANITIZED
    constexpr int kEvery = 8; /* of them: all would take minutes */
#else
    constexpr int kEvery = 1;
#endif
    int number = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".mid" || number++ % kEvery != 0)
            continue;
        const Outcome outcome =
            program.run({"render", entry.path(), "-o", program.path("o.wav"), "--tail", "0"});
        EXPECT_EQ(outcome.status, 0) << entry.path() << outcome.error;
    }
}

} // namespace
} // namespace velnor::test

#include "host/audio/AudioFile.h"
#include "host/job/JobError.h"
#include "host/render/SongRenderer.h"
#include "host/song/MidiSong.h"
#include "host/tests/RenderFixture.h"
#include "testing/FluidSynthAlone.h"
#include "testing/Testing.h"

#include <cstring>
#include <sstream>
#include <sys/stat.h>

namespace velnor::testing {
namespace {

constexpr float kSilence = 0.0F;

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

// The messages of every process call in the probe's log, at their frame in the song.
std::vector<PlayedMessage> messagesIn(const std::string& log) {
    std::vector<PlayedMessage> messages;
    std::istringstream lines(log);
    std::int64_t begin = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string opcode, target, ptr1, ptr2, ptr3, frames;
        words >> opcode >> target >> ptr1 >> ptr2 >> ptr3 >> frames;
        if (opcode != "15") {
            continue;
        }
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

// The song through FluidSynth alone; stereo, interleaved.
std::vector<float> fluidRender(const host::MidiSong& song, std::size_t frames, int order) {
    std::vector<TimedEvent> events;
    for (const host::SongMessage& message : song.messages) {
        events.push_back({host::frameOfTick(song.tempoMap, message.tick, 44100.0), message.status,
                          message.data1, message.data2});
    }
    const Channels out = renderAlone(events, static_cast<int>(frames), 44100, order);
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < frames; ++i) {
        interleaved.insert(interleaved.end(), {out[0][i], out[1][i]});
    }
    return interleaved;
}

using Render = RenderFixture;

TEST_F(Render, EqualsFluidSynthByItselfSampleForSample) {
    ASSERT_EQ(program.install("SoundFont").status, 0);
    for (const auto& [options, order] :
         Rows<Texts, int>{{Texts{}, FLUID_INTERP_4THORDER},
                          {{"--realtime"}, FLUID_INTERP_4THORDER},
                          {{"--quality", "best"}, FLUID_INTERP_7THORDER}}) {
        Texts words = {"render",  tune,    "-o",     program.path("o.raw"),
                       "--bits",  "float", "--tail", "1.5",
                       "--block", "137"};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = program.run(words);
        ASSERT_EQ(outcome.status, 0) << outcome.error;
        const std::vector<float> ours = samplesIn(ReadFile(program.path("o.raw")));
        // four beats at 120, four at 60, and the tail
        ASSERT_EQ(ours.size(), 2u * static_cast<std::size_t>(44100 * 7.5));
        EXPECT_EQ(ours, fluidRender(host::readMidiSong(tune), ours.size() / 2, order)) << order;
    }
}

using Runs = std::vector<std::pair<std::size_t, float>>;

// How often each level follows itself in one channel of interleaved samples.
Runs runsOf(const std::vector<float>& samples, std::size_t channel, std::size_t channels) {
    Runs runs;
    for (std::size_t i = channel; i < samples.size(); i += channels) {
        if (runs.empty() || runs.back().second != samples[i]) {
            runs.push_back({0, samples[i]});
        }
        ++runs.back().first;
    }
    return runs;
}

// A note of level 0.5 from tick 1 to 481, a rest of a second, a note of 0.25 to tick 1921, and a
// rest to tick 2161. A tick is 45.9375 frames at 44,100 Hz.
const std::string kTwoNotes = "01903C40 8360803C00 8740903C20 8360803C00 8170FF2F00";

TEST_F(Render, PutsEveryLevelOnItsFrameInTheWholeAndInEveryPart) {
    ASSERT_EQ(program.install("Odd").status, 0);
    const ScopedEnv variable("VELNOR_ODD_ENGINE", "play");
    const std::string song = program.song(midiFile({kTwoNotes}));
    const std::string out = program.path("o.RAW");
    const Runs whole = {{46, 0}, {22050, 0.5F}, {44100, 0}, {22050, 0.25F}};
    const auto with = [&](std::size_t rest) {
        Runs runs = whole;
        runs.push_back({rest, 0});
        return runs;
    };
    for (const auto& [options, heard, says] : Rows<Texts, Runs, const char*>{
             {{"--tail", "0"}, with(11025), "0:02.251 long, peak -6.0 dBFS, RMS -13.6 dBFS, 4 ev"},
             {{"--tail", "0", "--block", "37"}, with(11025), "4 events"},
             {{"--tail", "0.5", "--realtime"}, with(33075), "0:02.751 long"},
             {{}, with(99840 - 88246), "4 events"}, // 22 silent blocks
             {{"--block", "3000"}, with(102000 - 88246), "4 events"},
             {{"--from", "0.00104", "--tail", "0"},
              {{22050, 0.5F}, {44100, 0}, {22050, 0.25F}, {11025, 0}},
              "4 events"},
             {{"--from", "0.0011", "--to", "1.6"}, {{66147, 0}, {4364, 0.25F}}, "2 events"},
             {{"--to", "0.25"}, {{46, 0}, {10979, 0.5F}}, "1 events"},
             {{"--to", "0.001043", "--tail", "3"}, {{46, 0}}, "0 events"},
             {{"--rate", "48000", "--tail", "0"},
              {{50, 0}, {24000, 0.5F}, {48000, 0}, {24000, 0.25F}, {12000, 0}},
              "0:02.251 long"}}) {
        Texts words = {"render", song, "-o", out, "--bits", "float"};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = program.run(words);
        SCOPED_TRACE(says + outcome.error);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.error, HasSubstr(says));
        const std::vector<float> samples = samplesIn(ReadFile(out));
        EXPECT_EQ(runsOf(samples, 0, 2), heard);
        Runs half = heard;
        for (auto& run : half) {
            run.second /= 2;
        }
        EXPECT_EQ(runsOf(samples, 1, 2), half);
    }
    // One that fades by half ten times a second is heard down to a 24-bit file's last step.
    const std::string fading = program.song(midiFile({"00906440 8360806400 00FF2F00"}), "f.mid");
    EXPECT_EQ(program.run({"render", fading, "-o", out, "--bits", "float"}).status, 0);
    const Runs heard = runsOf(samplesIn(ReadFile(out)), 0, 2);
    ASSERT_GT(heard.size(), 22U);
    EXPECT_EQ(heard[22], (std::pair<std::size_t, float>(4410, std::ldexp(1.0F, -23))));
}

TEST_F(Render, BusesAreMixedOrSplitIntoFilesOfTheirOwn) {
    const std::string several = program.patchedComponent(192, std::string(1, 1));
    ASSERT_EQ(program.install("Odd", several).status, 0);
    const ScopedEnv variable("VELNOR_ODD_ENGINE", "play");
    // The second bus fades alone: the song goes on until it is silent, too.
    const std::string song = program.song(midiFile({"00907840 8360807800 00FF2F00"}));
    std::filesystem::create_directories(program.path("a.b/c.d"));
    const auto heard = [&](const std::string& file, std::size_t channels) {
        std::vector<float> levels;
        for (std::size_t i = 0; i < channels; ++i) {
            const std::vector<float> samples = samplesIn(ReadFile(program.path(file)));
            EXPECT_GT(samples.size() / channels, 24000U + 21 * 4800);
            const Runs runs = runsOf(samples, i, channels);
            EXPECT_GE(runs.at(0).first, 24000U) << file;
            levels.push_back(runs.at(0).second);
        }
        return levels;
    };
    const auto render = [&](const std::string& out, const Texts& options) {
        Texts words = {"render", song,    "-o",     program.path(out), "--buses",  "2,1",
                       "--bits", "float", "--rate", "48000",           "--format", "raw"};
        words.insert(words.end(), options.begin(), options.end());
        return program.run(words);
    };
    EXPECT_EQ(render("mix.raw", {}).status, 0);
    EXPECT_EQ(heard("mix.raw", 2), (std::vector<float>{0.5F + 0.125F, 0.25F + 0.125F}));
    for (const auto& [out, first, second] : Rows<std::string, std::string, std::string>{
             {"s.raw", "s-1.raw", "s-2.raw"},
             {"a.b/plain", "a.b/plain-1", "a.b/plain-2"},
             {"a.b/.raw", "a.b/.raw-1", "a.b/.raw-2"},
             {"a.b/x.y.raw", "a.b/x.y-1.raw", "a.b/x.y-2.raw"}}) {
        const mode_t mask = umask(027);
        const Outcome outcome = render(out, {"--split", "--save-preset", program.path("preset")});
        umask(mask);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        EXPECT_THAT(outcome.error, HasSubstr(first + " to " + program.path(second)));
        EXPECT_EQ(heard(first, 2), (std::vector<float>{0.5F, 0.25F}));
        EXPECT_EQ(heard(second, 1), (std::vector<float>{0.125F}));
        for (const std::string& file : {first, second, std::string("preset")}) {
            EXPECT_EQ(std::filesystem::status(program.path(file)).permissions(),
                      static_cast<std::filesystem::perms>(0640));
        }
        EXPECT_FALSE(std::filesystem::exists(program.path(out)));
    }
}

TEST_F(Render, EveryBlockSizePutsEveryMessageOnTheSameSample) {
    ASSERT_EQ(program.install("Probe").status, 0);
    const std::string log = program.path("probe.log");
    const ScopedEnv variable("VELNOR_PROBE_LOG", log.c_str());
    std::vector<PlayedMessage> first;
    for (const char* block : {"137", "4096"}) {
        std::filesystem::remove(log);
        ASSERT_EQ(
            program.run({"render", tune, "-o", program.path("o.wav"), "--block", block}).status, 0);
        const std::vector<PlayedMessage> played = messagesIn(ReadFile(log));
        if (first.empty()) {
            first = played;
        }
        EXPECT_EQ(played.size(), 1 + 2 * kTune.size());
        EXPECT_EQ(played, first) << block;
    }
    EXPECT_EQ(first[1], (PlayedMessage{0, 0x90, 60, 100}));
    EXPECT_EQ(first.back(), (PlayedMessage{44100 * 6, 0x80, 60, 0}));
    EXPECT_THAT(ReadFile(program.home.DataHome() + "/Tavo/Tarn 12/Tarn 12AU_velnor-host.log"),
                EndsWith("@"))
        << "the instrument was closed";
}

TEST_F(Render, ACrowdOfMessagesOnOneFrameAndNextToItArrivesWhole) {
    ASSERT_EQ(program.install("Probe").status, 0);
    std::string track;
    for (int i = 0; i < 3000; ++i) {
        track += std::string("\x01\xB0\x07", 3) + static_cast<char>(i % 128);
    }
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
    EXPECT_THAT(program.run({"render", tune, "-o", out, "--quality", "best"}).error,
                HasSubstr("--quality best; its engine knows only one quality"));
    for (const auto& [way, says] :
         {std::pair{"crash", "crashed"}, {"abort", "crashed"}, {"throw", "does not render"}}) {
        const ScopedEnv variable("VELNOR_ODD_ENGINE", way);
        const Outcome outcome = program.run({"render", tune, "-o", out});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, HasSubstr(says));
    }
    for (const auto& [way, signal, after] :
         {std::tuple{"slow", SIGINT, 1500}, {"stall", SIGQUIT, 500}, {"stall", SIGHUP, 500}}) {
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
                                          {"loud", "16", ": 529200 samples were clipped"},
                                          {"loud", "24", "peak 6.0 dBFS, RMS 6.0 dBFS"},
                                          {"spoilt", "float", "peak -6.0 dBFS"},
                                          {"stall", "float", "6.000 long"}}) {
        const ScopedEnv variable("VELNOR_ODD_ENGINE", way);
        const Outcome outcome =
            program.run({"render", tune, "-o", raw, "--bits", bits, "--tail", "0"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.error, HasSubstr(says));
        if (way == std::string("loud") || way == std::string("spoilt")) {
            EXPECT_EQ(program.run({"render", tune, "-o", raw, "--bits", "float", "--tail", "0"})
                          .error.find("clipped"),
                      std::string::npos);
            continue;
        }
        const std::vector<float> samples = samplesIn(ReadFile(raw));
        EXPECT_EQ(samples.size(), 2u * 6 * 44100);
        EXPECT_THAT(samples, Each(FloatNear(0.0F, std::numeric_limits<float>::min()))) << way;
    }
}

TEST(Songs, OfAPackageThatNobodyHereWrotePlayFromStartToEnd) {
    const std::filesystem::path folder = "/usr/share/games/openttd/baseset/openmsx";
    if (!std::filesystem::exists(folder)) {
        GTEST_SKIP() << "the package openttd-openmsx is not installed";
    }
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
#ifdef VELNOR_SANITIZED
    constexpr int kEvery = 8; // of them: all would take minutes
#else
    constexpr int kEvery = 1;
#endif
    int number = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".mid" || number++ % kEvery != 0) {
            continue;
        }
        const Outcome outcome =
            program.run({"render", entry.path(), "-o", program.path("o.wav"), "--tail", "0"});
        EXPECT_EQ(outcome.status, 0) << entry.path() << outcome.error;
    }
}

} // namespace
} // namespace velnor::testing

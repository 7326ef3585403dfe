#include "host/job/JobError.h"
#include "host/tests/RenderFixture.h"

#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velnor::testing {
namespace {

using RenderFailure = RenderFixture;

TEST_F(RenderFailure, FailuresAreOneLineAndLeaveNothingBehind) {
    const std::string out = program.path("out.wav");
    EXPECT_EQ(program.run({"render", tune, "-o", out}).status, 1); // nothing installed
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
             {{"render", tune, "-o", out, "--tail", "3m"}, 2, "--tail \"3m\""},
             {{"render", tune, "-o", out, "--tail", ""}, 2, "--tail \"\""},
             {{"render", tune, "-o", out, "--preset", tune}, 1, "not a preset file"},
             {{"render", tune, "-o", out, "--component", "Nobody"}, 1, "no such instrument"},
             {{"render", tune, "-o", out, "--component", "ATXQ"},
              1,
              "no such instrument"}, // a view
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

TEST_F(RenderFailure, AFileBeyondTheLimitKeepsTheOldOne) {
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string out = WriteFile(program.path("out.wav"), "precious");
    rlimit old = {};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small = {100000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small); // the program has to ignore SIGXFSZ itself
    const Outcome outcome = program.run({"render", tune, "-o", out});
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.error, HasSubstr("File too large"));
    EXPECT_EQ(ReadFile(out), "precious");
    EXPECT_EQ(program.filesLike("out").size(), 1u);
}

} // namespace
} // namespace velnor::testing

#include "host/commands/CommandLine.h"
#include "host/tests/HostProgram.h"
#include "testing/SystemFault.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <set>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;
const std::string kBundles = VELNOR_BUNDLE_DIR;
const Words kRender = {"render",        "song.mid",   "-o",     "out.wav",
                       "--save-preset", "out.preset", "--tail", "0"};
const Words kPreset = {"preset", "save", "out.preset"};
const Words kInstall = {"install",      kBundles + "/Velnor.component",
                        "--engine",     kBundles + "/Probe.engine",
                        "--data",       "data",
                        "--write-setup"};

class FileFault : public ::testing::TestWithParam<std::tuple<Words, Fault>> {
protected:
    // The program in a child of this process, in its work folder.
    FaultyRun run(int number) const {
        const int out = creat(program->path("stdout").c_str(), 0600);
        const int error = creat(program->path("stderr").c_str(), 0600);
        Words words = mCommand;
        words.insert(words.begin(), "velnor-host");
        std::vector<char*> argv;
        for (std::string& word : words) {
            argv.push_back(word.data());
        }
        const FaultyRun run = runWithFault(
            mFault, number,
            [&] {
                dup2(out, STDOUT_FILENO);
                dup2(error, STDERR_FILENO);
                if (chdir(program->home.Root().c_str()) != 0) {
                    return -1;
                }
                return host::runCommandLine(static_cast<int>(argv.size()), argv.data());
            },
            program->home.Home());
        close(out);
        close(error);
        return run;
    }

    void prepare() {
        program.emplace();
        program->song(songOf({60}));
        if (mCommand != kInstall) {
            program->install("Probe");
        }
        for (const char* name : {"out.wav", "out.preset"}) {
            WriteFile(program->path(name), "precious");
        }
    }

    // Nothing but what was there and what the command names.
    void expectNothingHalf() const {
        EXPECT_EQ(program->filesLike("out").size(), 2u);
        fs::create_directories(program->home.Home());
        for (const auto& entry : fs::recursive_directory_iterator(program->home.Home())) {
            EXPECT_FALSE(entry.path().filename().string().starts_with(".velnor-") &&
                         entry.path().extension() != ".lock")
                << entry.path();
        }
        const fs::path installed = program->home.DataHome() + "/velnor/Components";
        for (const auto& entry : fs::recursive_directory_iterator(kBundles + "/Velnor.component")) {
            EXPECT_TRUE(!fs::exists(installed / "Velnor.component") || entry.is_directory() ||
                        fs::file_size(entry) ==
                            fs::file_size(installed / fs::relative(entry, kBundles)));
        }
    }

    // Hundreds of installations are made: in memory, where there is a file system in it.
    const ScopedEnv mTemporary{"TMPDIR",
                               access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR")};
    const Words mCommand = std::get<0>(GetParam());
    const Fault mFault = std::get<1>(GetParam());
    std::optional<HostProgram> program;
};

#ifdef VELNOR_SANITIZED
constexpr int kStep = 3; // all would take minutes
#else
constexpr int kStep = 1;
#endif

TEST_P(FileFault, IsOneLineAndLeavesNothingHalf) {
    if (!canMakeFaults()) {
        GTEST_SKIP() << "this system does not let a process trace its child";
    }
    std::set<std::string> results; // of those that succeeded
    int failures = 0;
    bool met = true;
    for (int number = 1; met && !HasFailure(); number += kStep) {
        prepare();
        const FaultyRun outcome = run(number);
        const std::string error = ReadFile(program->path("stderr"));
        SCOPED_TRACE(std::to_string(number) + ": " + error);
        met = outcome.met;
        expectNothingHalf();
        const std::string result =
            ReadFile(program->path("out.wav")) + ReadFile(program->path("out.preset"));
        if (outcome.status == 0) {
            results.insert(result);
            continue;
        }
        ++failures;
        EXPECT_TRUE(outcome.status == 1 && met) << outcome.status;
        EXPECT_TRUE(result.starts_with("precious"));
        EXPECT_EQ(error.find("error:"), std::string::npos);
        EXPECT_FALSE(error.empty());
        if (mFault == Fault::kRead || mFault == Fault::kVanish) {
            continue; // an alert may come first
        }
        EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1);
        EXPECT_TRUE(error.find(program->home.Root()) != std::string::npos ||
                    error.find("out.") != std::string::npos);
    }
    EXPECT_EQ(results.size(), 1u);
    EXPECT_GT(failures * kStep, 2);
}

std::string nameOf(const ::testing::TestParamInfo<FileFault::ParamType>& test) {
    const char* const kNames[] = {"Changes", "ChangesFromThereOn", "Reads", "HomeThatVanishes"};
    return std::get<0>(test.param)[0] + kNames[test.index % std::size(kNames)];
}

INSTANTIATE_TEST_SUITE_P(Commands, FileFault,
                         ::testing::Combine(::testing::Values(kRender, kPreset, kInstall),
                                            ::testing::Values(Fault::kChange,
                                                              Fault::kChangesFromThere,
                                                              Fault::kRead, Fault::kVanish)),
                         nameOf);

} // namespace
} // namespace velnor::testing

#include "platform/tests/PreferencesHome.h"
#include "testing/SystemFault.h"

#include <fcntl.h>
#include <sys/file.h>

namespace velnor::testing {
namespace {

// A child process that runs work, whose result is its success.
pid_t Start(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(work() ? 0 : 1);
    }
    return child;
}

bool Succeeds(pid_t child) {
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(PreferencesProcess, WritersOfDifferentKeysLoseNothing) {
    const TempHome home;
    constexpr int kProcesses = 6;
    constexpr int kWriters = kProcesses + 4; // the others are threads of this process
    constexpr int kKeys = 20;
    const auto key = [](int writer, int i) {
        return std::to_string(writer) + "." + std::to_string(i);
    };
    std::vector<pid_t> writers;
    for (int writer = 0; writer < kProcesses; ++writer) {
        writers.push_back(Start([&] {
            bool saved = true;
            for (int i = 0; i < kKeys; ++i) {
                saved = Save(key(writer, i), Value(key(writer, i)).Get()) && saved;
            }
            return saved;
        }));
    }
    InThreads(kWriters - kProcesses, [&](int thread) {
        for (int i = 0; i < kKeys; ++i) {
            const std::string mine = key(kProcesses + thread, i);
            EXPECT_TRUE(Save(mine, Value(mine).Get()));
            EXPECT_EQ(Search(mine), mine);
        }
    });
    for (const pid_t writer : writers) {
        EXPECT_TRUE(Succeeds(writer));
    }
    EXPECT_EQ(KeyList().size(), std::size_t{kWriters * kKeys});
    for (int i = 0; i < kWriters * kKeys; ++i) {
        EXPECT_EQ(Search(key(i % kWriters, i / kWriters)), key(i % kWriters, i / kWriters));
    }
}

TEST(PreferencesProcess, AWriterWaitsForTheOneThatHoldsTheLock) {
    const TempHome home;
    ASSERT_TRUE(Save("k", Value("old").Get()));
    const int lock =
        open((home.ConfigHome() + "/velnor/.velnor-preferences.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const pid_t writer = Start([lock] {
        close(lock);
        return Save("k", Value("new").Get());
    });
    usleep(50000);
    EXPECT_EQ(Search("k"), "old");
    close(lock);
    EXPECT_TRUE(Succeeds(writer));
    EXPECT_EQ(Search("k"), "new");
}

TEST(PreferencesProcess, AWriteThatFailedGivesWayToWhatAnotherProcessWroteSince) {
    const TempHome home;
    const auto saveTree = [](std::initializer_list<const char*> leaves) {
        const auto top = Dictionary();
        for (const char* leaf : leaves) {
            Set(top.Get(), leaf, kCFBooleanTrue);
        }
        return Save("tree", top.Get());
    };
    ASSERT_TRUE(Save("k", Value("first").Get()) && saveTree({"first"}));
    const std::string obstacle = home.ConfigHome() + "/velnor/.velnor-preferences.new";
    std::filesystem::create_directories(obstacle + "/x");
    EXPECT_FALSE(Save("k", Value("old").Get()));
    EXPECT_FALSE(saveTree({"old", "both"}));
    EXPECT_FALSE(saveTree({"first", "second"})); // readers see no "old"
    EXPECT_FALSE(Save("own", Value("kept").Get()));
    EXPECT_EQ(Search("k"), "first") << "readers see the file";
    EXPECT_THAT(KeyList(), ElementsAre("k", "tree"));
    std::filesystem::remove_all(obstacle);
    ASSERT_TRUE(Succeeds(Start([&] {
        CFPreferencesSetValue(String("own").Get(), nullptr, String(kDomain).Get(),
                              kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
        return execlp("python3", "python3", "-c", R"(
import plistlib, sys
plistlib.dump({'k': 'new', 'tree': {'new': True, 'both': 'new'}}, open(sys.argv[1], 'wb'))
)",
                      PathOf().c_str(), nullptr) == 0;
    })));
    EXPECT_TRUE(Save("anything", Value("x").Get()));
    EXPECT_EQ(Search("k"), "new");
    const auto tree = Load("tree");
    const auto merged = static_cast<CFDictionaryRef>(tree.Get());
    EXPECT_THAT(Keys(merged), UnorderedElementsAre("both", "new", "old", "second"));
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(merged, String("both").Get()), String("new").Get()));
    EXPECT_EQ(Search("own"), "kept") << "nobody else has changed it";
}

struct Case {
    const char* name;
    Fault fault;
    std::string content; // of the file before; empty: there is none
};
const std::string kSound = PlistFile("<key>k</key><string>old</string><key>n</key><true/>");
const std::string kDamaged = "not a property list";
const Case kCases[] = {
    {"ChangesOfASoundFile", Fault::kChange, kSound},
    {"ChangesOfADamagedFile", Fault::kChange, kDamaged},
    {"ChangesWithoutAFile", Fault::kChange, ""},
    {"ChangesFromThereOn", Fault::kChangesFromThere, kSound},
    {"ReadsOfASoundFile", Fault::kRead, kSound},
    {"FolderThatVanishes", Fault::kVanish, kSound},
    {"DeathOverASoundFile", Fault::kDeath, kSound},
    {"DeathOverADamagedFile", Fault::kDeath, kDamaged},
};

class PreferencesFault : public ::testing::TestWithParam<Case> {};

TEST_P(PreferencesFault, InAnyCallLeavesTheOldFileOrTheNewOne) {
    if (!canMakeFaults()) {
        GTEST_SKIP() << "this system does not let a process trace its child";
    }
    const Case& test = GetParam();
    bool met = true;
    int failed = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        const TempHome home;
        if (!test.content.empty()) {
            WriteFile(PathOf(), test.content);
        }
        const FaultyRun run = runWithFault(
            test.fault, number, [] { return Save("k", Value("new").Get()) ? 0 : 1; },
            home.ConfigHome() + "/velnor");
        met = run.met;
        failed += run.status != 0;
        const int failure = test.fault == Fault::kDeath ? -SIGKILL : 1;
        ASSERT_TRUE(run.status == 0 || (run.status == failure && met)) << run.status;
        const bool isNew = Search("k") == "new";
        if (test.fault != Fault::kVanish) {
            ASSERT_TRUE(isNew || (run.status != 0 && ReadFile(PathOf()) == test.content));
            ASSERT_EQ(static_cast<bool>(Load("n")), test.content == kSound);
        }
        ASSERT_TRUE(run.status < 0 || !std::filesystem::exists(home.ConfigHome() +
                                                               "/velnor/.velnor-preferences.new"));
        ASSERT_TRUE(Save("after", Value("x").Get())) << "a lock is left";
        ASSERT_EQ(ReadFile(PathOf() + ".damaged"), test.content == kDamaged ? kDamaged : "");
        ASSERT_FALSE(std::filesystem::exists(PathOf() + ".damaged-2"));
    }
    EXPECT_GT(failed, 2);
}

TEST_P(PreferencesFault, OrAPowerCutTakesNothingThatWasWritten) {
    const TempHome home;
    if (!GetParam().content.empty()) {
        WriteFile(PathOf(), GetParam().content);
    }
    EXPECT_EQ(lostToAPowerCut([] { return Save("k", Value("new").Get()) ? 0 : 1; }), "");
    EXPECT_TRUE(!canMakeFaults() || Search("k") == "new");
}

INSTANTIATE_TEST_SUITE_P(Faults, PreferencesFault, ::testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace velnor::testing

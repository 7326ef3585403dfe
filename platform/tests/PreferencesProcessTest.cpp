#include "platform/tests/PreferencesHome.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::test {
namespace {

/* A child process that runs work, whose result is its success. */
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
    constexpr int kWriters = 6;
    constexpr int kKeys = 20;
    const auto key = [](int writer, int i) {
        return std::to_string(writer) + "." + std::to_string(i);
    };
    std::vector<pid_t> writers;
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.push_back(Start([&] {
            bool saved = true;
            for (int i = 0; i < kKeys; ++i)
                saved = Save(key(writer, i), Value(key(writer, i)).Get()) && saved;
            return saved;
        }));
    }
    for (const pid_t writer : writers)
        EXPECT_TRUE(Succeeds(writer));
    EXPECT_EQ(KeyList().size(), std::size_t{kWriters * kKeys});
    for (int i = 0; i < kWriters * kKeys; ++i)
        EXPECT_EQ(Search(key(i % kWriters, i / kWriters)), key(i % kWriters, i / kWriters));
}

/* Runs work in a child up to its stop-th entry into or return from the system, and kills it there.
 * True when it had ended before. */
bool KillAtStop(int stop, const std::function<bool()>& work) {
    const pid_t child = Start([&work] {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        return work();
    });
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < stop; ++i) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
        if (!WIFSTOPPED(status)) {
            return true;
        }
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return false;
}

TEST(PreferencesProcess, AWriterKilledAtAnyStepLeavesTheOldFileOrTheNewOne) {
    if (!Succeeds(Start([] { return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0; }))) {
        GTEST_SKIP() << "this system does not let a process trace its child";
    }
    const std::string sound = PlistFile("<key>k</key><string>old</string><key>n</key><true/>");
    const std::string damaged = "not a property list";
    for (const std::string& old : {sound, damaged}) {
        int stop = 0, oldLeft = 0, newLeft = 0;
        for (bool ended = false; !ended; ++stop) {
            SCOPED_TRACE(stop);
            const TempHome home;
            WriteFile(PathOf(), old);
            ended = KillAtStop(stop, [] { return Save("k", Value("new").Get()); });
            const bool isOld = ReadFile(PathOf()) == old;
            ++(isOld ? oldLeft : newLeft);
            ASSERT_TRUE(isOld || Search("k") == "new");
            ASSERT_EQ(static_cast<bool>(Load("n")), old == sound);
            ASSERT_TRUE(Save("after", Value("x").Get())) << "a lock is left";
            ASSERT_EQ(ReadFile(PathOf() + ".damaged"), old == damaged ? damaged : "");
            ASSERT_FALSE(std::filesystem::exists(PathOf() + ".damaged-2"));
        }
        EXPECT_GT(oldLeft, 10);
        EXPECT_GT(newLeft, 1);
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

} // namespace
} // namespace velnor::test

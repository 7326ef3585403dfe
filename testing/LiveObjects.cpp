// Every test of this program, successes and failures of the library alike, gives back each platform
// object that it came by, closes each file, waits for each process that it started, and leaves the
// process as it found it.
#include "platform/CFBase.h"

#include <clocale>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

struct State {
    CFIndex objects = PlatformLiveObjectCount();
    std::ptrdiff_t files = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    std::filesystem::path folder = std::filesystem::current_path();
    locale_t locale = uselocale(nullptr);
    mode_t mask = umask(022);
};

class Leftovers : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { mBefore = Now(); }
    void OnTestEnd(const ::testing::TestInfo&) override {
        const State after = Now();
        EXPECT_EQ(after.objects, mBefore.objects) << "objects are left behind";
        EXPECT_EQ(after.files, mBefore.files) << "files are left open";
        EXPECT_EQ(after.folder, mBefore.folder);
        EXPECT_EQ(after.locale, mBefore.locale) << "the thread's locale is another";
        EXPECT_EQ(after.mask, mBefore.mask);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left behind";
    }
    static State Now() {
        State now;
        umask(now.mask);
        return now;
    }

    State mBefore = Now();
};

const bool gListens = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new Leftovers);
    return true;
}();

} // namespace

#include "platform/EventLoop.h"
#include "platform/tests/Testing.h"

#include <chrono>
#include <limits>

namespace velnor::test {
namespace {

struct Tick {
    std::string* log;
    char name;
    EventLoopTimerRef timer = nullptr;
    int removeAfter = -1;
    EventTimerInterval work = 0;  // seconds of real time
    EventTimerInterval modal = 0; // seconds that it runs the loop for

    static void Action(EventLoopTimerRef timer, void* userData) {
        auto& tick = *static_cast<Tick*>(userData);
        EXPECT_EQ(timer, tick.timer);
        tick.log->push_back(tick.name);
        if (tick.work > 0)
            std::this_thread::sleep_for(std::chrono::duration<double>(tick.work));
        PlatformAdvanceEventLoop(tick.modal);
        if (--tick.removeAfter == 0) {
            EXPECT_EQ(RemoveEventLoopTimer(timer), noErr);
        }
    }
    OSStatus Install(EventTimerInterval delay, EventTimerInterval interval) {
        return InstallEventLoopTimer(GetMainEventLoop(), delay, interval, Action, this, &timer);
    }
};

class EventLoop : public testing::Test {
protected:
    void SetUp() override { PlatformAdvanceEventLoop(0); }
    std::string log;
};

TEST_F(EventLoop, FirstTickComesAfterTheDelayThenEveryInterval) {
    Tick tick{&log, 'a'};
    ASSERT_EQ(tick.Install(1.0, 1.0 / 15), noErr);
    PlatformAdvanceEventLoop(0.999);
    EXPECT_EQ(log, "");
    PlatformAdvanceEventLoop(0.001);
    EXPECT_EQ(log, "a");
    PlatformAdvanceEventLoop(1.0001);
    EXPECT_EQ(log.size(), 16u);
    EXPECT_EQ(RemoveEventLoopTimer(tick.timer), noErr);
    PlatformAdvanceEventLoop(10);
    EXPECT_EQ(log.size(), 16u);
    EXPECT_EQ(RemoveEventLoopTimer(tick.timer), paramErr);
}

TEST_F(EventLoop, TimersFireInOrderOfTimeAndAOneShotOnce) {
    Tick slow{&log, 's'}, fast{&log, 'f'}, once{&log, 'o'};
    ASSERT_EQ(slow.Install(0.3, 0.3), noErr);
    ASSERT_EQ(fast.Install(0.1, 0.1), noErr);
    ASSERT_EQ(once.Install(0.15, 0), noErr);
    PlatformAdvanceEventLoop(0.35);
    EXPECT_EQ(log, "fofsf");
    for (const Tick& tick : {slow, fast, once})
        EXPECT_EQ(RemoveEventLoopTimer(tick.timer), noErr);
}

TEST_F(EventLoop, TimerRemovedInItsOwnActionIsGone) {
    Tick tick{&log, 'a'}, other{&log, 'b'};
    tick.removeAfter = 2;
    ASSERT_EQ(tick.Install(0.1, 0.1), noErr);
    ASSERT_EQ(other.Install(0.25, 0.1), noErr);
    PlatformAdvanceEventLoop(0.4);
    EXPECT_EQ(log, "aabb");
    EXPECT_EQ(RemoveEventLoopTimer(other.timer), noErr);
}

TEST_F(EventLoop, OthersFireInsideAnActionThatRunsTheLoop) {
    Tick modal{&log, 'm'}, other{&log, 'o'};
    modal.modal = 0.25;
    ASSERT_EQ(modal.Install(0.1, 0.1), noErr);
    ASSERT_EQ(other.Install(0.16, 0.1), noErr);
    PlatformAdvanceEventLoop(0.12);
    EXPECT_EQ(log, "moo");
    PlatformAdvanceEventLoop(0.04);
    EXPECT_EQ(log, "moomooo") << "the ticks missed meanwhile are skipped";
    for (const Tick& tick : {modal, other})
        EXPECT_EQ(RemoveEventLoopTimer(tick.timer), noErr);
}

TEST_F(EventLoop, RunningSleepsAndALateTimerFiresOnceInItsPhase) {
    Tick busy{&log, 'w'}, tick{&log, 't'};
    busy.work = 0.05;
    ASSERT_EQ(tick.Install(0.010, 0.010), noErr);
    ASSERT_EQ(busy.Install(0.001, 0), noErr);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(RunCurrentEventLoop(0.058), noErr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(58));
    EXPECT_EQ(log[0], 'w');
    EXPECT_LE(log.size(), 3u) << log;
    EXPECT_GE(log.size(), 2u) << log;
    EXPECT_EQ(RemoveEventLoopTimer(tick.timer), noErr);
    EXPECT_EQ(RemoveEventLoopTimer(busy.timer), noErr);
}

TEST_F(EventLoop, BadArgumentsInstallNothing) {
    Tick tick{&log, 'a'};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(tick.Install(-1, 1), paramErr);
    EXPECT_EQ(tick.Install(nan, 1), paramErr);
    EXPECT_EQ(tick.Install(1, nan), paramErr);
    EventLoopTimerRef timer = nullptr;
    EXPECT_EQ(InstallEventLoopTimer(nullptr, 1, 1, Tick::Action, &tick, &timer), paramErr);
    EXPECT_EQ(InstallEventLoopTimer(GetMainEventLoop(), 1, 1, nullptr, &tick, &timer), paramErr);
    EXPECT_EQ(InstallEventLoopTimer(GetMainEventLoop(), 1, 1, Tick::Action, &tick, nullptr),
              paramErr);
    EXPECT_EQ(RunCurrentEventLoop(nan), paramErr);
    EXPECT_EQ(RemoveEventLoopTimer(nullptr), paramErr);
    PlatformAdvanceEventLoop(5);
    EXPECT_EQ(log, "");
}

} // namespace
} // namespace velnor::test

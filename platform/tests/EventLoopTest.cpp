#include "platform/EventLoop.h"

#include "testing/Testing.h"

#include <chrono>
#include <limits>

namespace velnor::testing {
namespace {

// A timer that writes its name into the log, for the length of a scope.
struct Tick {
    Tick(std::string& writtenTo, char letter, EventTimerInterval delay, EventTimerInterval interval)
        : log(writtenTo), name(letter) {
        EXPECT_EQ(InstallEventLoopTimer(GetMainEventLoop(), delay, interval, Action, this, &timer),
                  noErr);
    }
    ~Tick() { RemoveEventLoopTimer(timer); }
    Tick(const Tick&) = delete;
    Tick& operator=(const Tick&) = delete;

    static void Action(EventLoopTimerRef timer, void* userData) {
        auto& tick = *static_cast<Tick*>(userData);
        EXPECT_EQ(timer, tick.timer);
        tick.log.push_back(tick.name);
        if (tick.work > 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(tick.work));
        }
        PlatformAdvanceEventLoop(tick.modal);
        if (--tick.removeAfter == 0) {
            EXPECT_EQ(RemoveEventLoopTimer(timer), noErr);
        }
    }

    std::string& log;
    char name;
    EventLoopTimerRef timer = nullptr;
    int removeAfter = -1;
    EventTimerInterval work = 0;  // seconds of real time
    EventTimerInterval modal = 0; // seconds that it runs the loop for
};

struct EventLoop : Test {
    EventLoop() { PlatformAdvanceEventLoop(0); }
    std::string log;
};

TEST_F(EventLoop, FirstTickComesAfterTheDelayThenEveryInterval) {
    const Tick tick(log, 'a', 1.0, 1.0 / 15);
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
    const Tick slow(log, 's', 0.3, 0.3), fast(log, 'f', 0.1, 0.1), once(log, 'o', 0.15, 0);
    PlatformAdvanceEventLoop(0.35);
    EXPECT_EQ(log, "fofsf");
    EXPECT_EQ(RemoveEventLoopTimer(once.timer), noErr);
}

TEST_F(EventLoop, TimerRemovedInItsOwnActionIsGone) {
    Tick tick(log, 'a', 0.1, 0.1), other(log, 'b', 0.25, 0.1);
    tick.removeAfter = 2;
    PlatformAdvanceEventLoop(0.4);
    EXPECT_EQ(log, "aabb");
}

TEST_F(EventLoop, OthersFireInsideAnActionThatRunsTheLoop) {
    Tick modal(log, 'm', 0.1, 0.1), other(log, 'o', 0.16, 0.1);
    modal.modal = 0.25;
    PlatformAdvanceEventLoop(0.12);
    EXPECT_EQ(log, "moo");
    PlatformAdvanceEventLoop(0.04);
    EXPECT_EQ(log, "moomooo") << "the ticks missed meanwhile are skipped";
}

TEST_F(EventLoop, RunningSleepsAndALateTimerFiresOnceInItsPhase) {
    Tick tick(log, 't', 0.010, 0.010), busy(log, 'w', 0.001, 0);
    busy.work = 0.05;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(RunCurrentEventLoop(0.058), noErr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(58));
    EXPECT_EQ(log[0], 'w');
    EXPECT_THAT(log, SizeIs(AllOf(Ge(2), Le(3))));
}

TEST_F(EventLoop, BadArgumentsInstallNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const EventLoopRef main = GetMainEventLoop();
    const EventLoopTimerProc fire = [](EventLoopTimerRef, void* text) {
        static_cast<std::string*>(text)->push_back('x');
    };
    EventLoopTimerRef timer = nullptr;
    for (const auto& [loop, delay, interval, action, out] :
         Rows<EventLoopRef, double, double, EventLoopTimerProc, EventLoopTimerRef*>{
             {main, -1, 1, fire, &timer},
             {main, nan, 1, fire, &timer},
             {main, 1, nan, fire, &timer},
             {nullptr, 1, 1, fire, &timer},
             {main, 1, 1, nullptr, &timer},
             {main, 1, 1, fire, nullptr}}) {
        EXPECT_EQ(InstallEventLoopTimer(loop, delay, interval, action, &log, out), paramErr);
    }
    EXPECT_EQ(RunCurrentEventLoop(nan), paramErr);
    EXPECT_EQ(RemoveEventLoopTimer(nullptr), paramErr);
    PlatformAdvanceEventLoop(5);
    EXPECT_EQ(log, "");
}

} // namespace
} // namespace velnor::testing

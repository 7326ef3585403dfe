// The timers of one event loop and the loop's clock. Thread main, exclusive, may block.
#ifndef VELNOR_PLATFORM_VIEWS_TIMERQUEUE_H
#define VELNOR_PLATFORM_VIEWS_TIMERQUEUE_H

#include "platform/EventLoop.h"

#include <chrono>
#include <memory>
#include <vector>

struct OpaqueEventLoopTimerRef {
    std::chrono::nanoseconds due;      // on the queue's clock; kNever for a spent one
    std::chrono::nanoseconds interval; // 0: once
    EventLoopTimerProc proc;
    void* userData;
    bool isRunning = false; // its action has not returned
};

namespace velnor {

class TimerQueue {
public:
    using Duration = std::chrono::nanoseconds;
    static constexpr Duration kNever = Duration::max();

    EventLoopTimerRef Install(Duration delay, Duration interval, EventLoopTimerProc proc,
                              void* userData);
    // False when the timer is not one of this queue.
    bool Remove(EventLoopTimerRef timer);
    bool IsEmpty() const { return mTimers.empty(); }

    // Fires what falls due in so much real time, sleeping in between. A timer that is late fires
    // once and skips the ticks that it missed. One whose action is running waits for its end.
    void Run(Duration timeout);

    // Moves the clock on and fires what falls due, each at its own time. From the first call on the
    // clock stands still but for this and Run.
    void Advance(Duration step);

private:
    Duration Now() const;
    void SetManualTime(Duration time);
    using Timer = std::shared_ptr<OpaqueEventLoopTimerRef>; // its action may remove it
    Timer Earliest() const;
    void FireDue(Duration limit);
    static void Fire(OpaqueEventLoopTimerRef& timer, Duration now);

    std::vector<Timer> mTimers;
    bool mManual = false;
    Duration mManualTime{0};
};

} // namespace velnor

#endif

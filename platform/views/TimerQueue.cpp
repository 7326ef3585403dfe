#include "platform/views/TimerQueue.h"

#include "platform/components/ForeignCodeScope.h"

#include <algorithm>
#include <thread>

namespace velnor {
namespace {

using Duration = TimerQueue::Duration;

Duration RealTime() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

Duration AddSaturated(Duration time, Duration step) {
    return step > TimerQueue::kNever - time ? TimerQueue::kNever : time + step;
}

// The first tick after now that lies a whole number of intervals after due.
Duration NextTick(Duration due, Duration interval, Duration now) {
    if (interval == Duration::zero()) {
        return TimerQueue::kNever;
    }
    const Duration late = std::max(now - due, Duration::zero());
    return AddSaturated(due + late / interval * interval, interval);
}

} // namespace

Duration TimerQueue::Now() const {
    return mManual ? mManualTime : RealTime();
}

void TimerQueue::SetManualTime(Duration time) {
    mManual = true;
    mManualTime = std::max(mManualTime, time);
}

EventLoopTimerRef TimerQueue::Install(Duration delay, Duration interval, EventLoopTimerProc proc,
                                      void* userData) {
    mTimers.push_back(std::make_shared<OpaqueEventLoopTimerRef>(
        OpaqueEventLoopTimerRef{AddSaturated(Now(), delay), interval, proc, userData}));
    return mTimers.back().get();
}

bool TimerQueue::Remove(EventLoopTimerRef timer) {
    return std::erase_if(mTimers, [timer](const auto& held) { return held.get() == timer; }) > 0;
}

TimerQueue::Timer TimerQueue::Earliest() const {
    Timer earliest;
    for (const Timer& timer : mTimers) {
        if (!timer->isRunning && timer->due != kNever &&
            (earliest == nullptr || timer->due < earliest->due)) {
            earliest = timer;
        }
    }
    return earliest;
}

void TimerQueue::Fire(OpaqueEventLoopTimerRef& timer, Duration now) {
    timer.due = NextTick(timer.due, timer.interval, now);
    timer.isRunning = true;
    const ForeignCodeScope scope;
    timer.proc(&timer, timer.userData);
    timer.isRunning = false;
}

void TimerQueue::FireDue(Duration limit) {
    for (auto timer = Earliest(); timer != nullptr && timer->due <= limit; timer = Earliest()) {
        Fire(*timer, limit);
    }
}

void TimerQueue::Run(Duration timeout) {
    const Duration start = RealTime();
    const Duration startManual = mManualTime;
    const Duration end = AddSaturated(start, timeout);
    for (;;) {
        const Duration real = RealTime();
        if (mManual) {
            SetManualTime(AddSaturated(startManual, real - start));
        }
        FireDue(Now());
        if (real >= end) {
            return;
        }
        const auto next = Earliest();
        const Duration wait = next != nullptr ? next->due - Now() : kNever;
        std::this_thread::sleep_for(std::clamp(wait, Duration::zero(), end - real));
    }
}

void TimerQueue::Advance(Duration step) {
    const Duration target = AddSaturated(Now(), step);
    SetManualTime(Now());
    for (auto timer = Earliest(); timer != nullptr && timer->due <= target; timer = Earliest()) {
        SetManualTime(timer->due);
        Fire(*timer, Now());
    }
    SetManualTime(target);
}

} // namespace velnor

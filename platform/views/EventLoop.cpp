#include "platform/EventLoop.h"

#include "platform/system/MainThread.h"
#include "platform/views/TimerQueue.h"

#include <algorithm>
#include <cmath>

struct OpaqueEventLoopRef {
    velnor::TimerQueue timers;
};

namespace {

constexpr double kLongestSeconds = 1e9;
constexpr double kShortestInterval = 0.001;

// Never destroyed: components may remove timers while the process ends.
OpaqueEventLoopRef& MainLoop() {
    static auto* const loop = new OpaqueEventLoopRef;
    return *loop;
}

bool IsTime(double seconds) {
    return seconds >= 0;
}

std::chrono::nanoseconds ToNanoseconds(double seconds) {
    const double bounded = std::clamp(seconds, 0.0, kLongestSeconds);
    return std::chrono::nanoseconds(std::llround(bounded * 1e9));
}

} // namespace

EventLoopRef GetMainEventLoop(void) {
    VELNOR_MAIN_THREAD(kEventLoop);
    return &MainLoop();
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay,
                               EventTimerInterval interval, EventLoopTimerProc proc, void* userData,
                               EventLoopTimerRef* timer) {
    VELNOR_MAIN_THREAD(kEventLoop);
    if (loop != &MainLoop() || proc == nullptr || timer == nullptr || !IsTime(fireDelay) ||
        !IsTime(interval)) {
        return paramErr;
    }
    const double step = interval > 0 ? std::max(interval, kShortestInterval) : 0;
    *timer = loop->timers.Install(ToNanoseconds(fireDelay), ToNanoseconds(step), proc, userData);
    return noErr;
}

OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer) {
    VELNOR_MAIN_THREAD(kEventLoop);
    if (!MainLoop().timers.Remove(timer)) {
        return paramErr;
    }
    if (MainLoop().timers.IsEmpty()) {
        VELNOR_FORGET_MAIN_THREAD(kEventLoop);
    }
    return noErr;
}

OSStatus RunCurrentEventLoop(EventTimeout timeout) {
    VELNOR_MAIN_THREAD(kEventLoop);
    if (!IsTime(timeout)) {
        return paramErr;
    }
    MainLoop().timers.Run(ToNanoseconds(timeout));
    return noErr;
}

void PlatformAdvanceEventLoop(EventTimerInterval seconds) {
    VELNOR_MAIN_THREAD(kEventLoop);
    if (IsTime(seconds)) {
        MainLoop().timers.Advance(ToNanoseconds(seconds));
    }
}

#include "platform/EventLoop.h"

#include "platform/TimerQueue.h"

#include <algorithm>
#include <cmath>

struct OpaqueEventLoopRef {
    velnor::TimerQueue timers;
};

namespace {

constexpr double kLongestSeconds = 1e9;
constexpr double kShortestInterval = 0.001;

// Never destroyed: components may remove timers while the process ends.
OpaqueEventLoopRef& mainLoop() {
    static auto* const loop = new OpaqueEventLoopRef;
    return *loop;
}

bool isTime(double seconds) {
    return seconds >= 0;
}

std::chrono::nanoseconds nanoseconds(double seconds) {
    const double bounded = std::clamp(seconds, 0.0, kLongestSeconds);
    return std::chrono::nanoseconds(std::llround(bounded * 1e9));
}

} // namespace

EventLoopRef GetMainEventLoop(void) {
    return &mainLoop();
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay,
                               EventTimerInterval interval, EventLoopTimerProc proc, void* userData,
                               EventLoopTimerRef* timer) {
    if (loop != &mainLoop() || proc == nullptr || timer == nullptr || !isTime(fireDelay) ||
        !isTime(interval))
        return paramErr;
    const double step = interval > 0 ? std::max(interval, kShortestInterval) : 0;
    *timer = loop->timers.Install(nanoseconds(fireDelay), nanoseconds(step), proc, userData);
    return noErr;
}

OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer) {
    return mainLoop().timers.Remove(timer) ? noErr : paramErr;
}

OSStatus RunCurrentEventLoop(EventTimeout timeout) {
    if (!isTime(timeout))
        return paramErr;
    mainLoop().timers.Run(nanoseconds(timeout));
    return noErr;
}

void PlatformAdvanceEventLoop(EventTimerInterval seconds) {
    if (isTime(seconds))
        mainLoop().timers.Advance(nanoseconds(seconds));
}

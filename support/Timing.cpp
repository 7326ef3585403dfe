#include "support/Timing.h"

#include "platform/Clock.h"

#include <unistd.h>

namespace {

constexpr unsigned long kMicrosecondsPerMilli = 1000;
constexpr unsigned long kLongestSleep = 1000UL * 1000; // ms; its microseconds fit 32 bits

constexpr uint64_t join(const UnsignedWide& wide) {
    return uint64_t{wide.hi} << 32 | wide.lo;
}

} // namespace

uint64_t myMS() VELNOR_NONBLOCKING {
    UnsignedWide now{};
    Microseconds(&now);
    return join(now);
}

double PTimeMilli() VELNOR_NONBLOCKING {
    return static_cast<double>(myMS()) * 0.001;
}

uint64_t cpuTick() VELNOR_NONBLOCKING {
    const uint64_t now = mach_absolute_time();
    return join(AbsoluteToNanoseconds({static_cast<UInt32>(now), static_cast<UInt32>(now >> 32)}));
}

int PmilliSleep(unsigned long ms) {
    for (; ms > kLongestSleep; ms -= kLongestSleep) {
        if (const int result = usleep(kLongestSleep * kMicrosecondsPerMilli); result != 0) {
            return result;
        }
    }
    return usleep(static_cast<useconds_t>(ms * kMicrosecondsPerMilli));
}

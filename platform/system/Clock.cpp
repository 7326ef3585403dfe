#include "platform/Clock.h"

#include <ctime>

namespace velnor {
namespace {

UInt64 NanosecondsSinceStart() VELNOR_NONBLOCKING {
    timespec now{};
    VELNOR_RT_ESCAPE("the vDSO answers clock_gettime without a system call",
                     clock_gettime(CLOCK_MONOTONIC, &now));
    return static_cast<UInt64>(now.tv_sec) * 1'000'000'000 + static_cast<UInt64>(now.tv_nsec);
}

} // namespace
} // namespace velnor

void Microseconds(UnsignedWide* microseconds) VELNOR_NONBLOCKING {
    const UInt64 now = velnor::NanosecondsSinceStart() / 1000;
    *microseconds = {static_cast<UInt32>(now), static_cast<UInt32>(now >> 32)};
}

UInt64 mach_absolute_time(void) VELNOR_NONBLOCKING {
    return velnor::NanosecondsSinceStart();
}

Nanoseconds AbsoluteToNanoseconds(AbsoluteTime time) VELNOR_NONBLOCKING {
    return time;
}

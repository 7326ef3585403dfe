// A moment to wait for at most.
#ifndef VELNOR_PLATFORM_ALERTS_DEADLINE_H
#define VELNOR_PLATFORM_ALERTS_DEADLINE_H

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <poll.h>
#include <span>

namespace velnor {

class Deadline {
public:
    // That many seconds from now; never for 0 and for what is no positive number.
    explicit Deadline(double seconds)
        : mSeconds(seconds > 0 && std::isfinite(seconds) ? seconds : 0), mStart(Clock::now()) {}

    bool HasPassed() const { return mSeconds > 0 && Left() <= 0; }

    // Waits until the descriptor can be read or is at its end; false when the deadline came first
    // or the wait failed.
    bool WaitToRead(int fd) const {
        pollfd wait{fd, POLLIN, 0};
        return Wait({&wait, 1}) && (wait.revents & POLLNVAL) == 0;
    }

    // The same for one of several, those below 0 left out; revents says which.
    bool Wait(std::span<pollfd> waits) const {
        for (;;) {
            const int ready = poll(waits.data(), waits.size(), Milliseconds());
            if (ready > 0) {
                return true;
            }
            if (HasPassed() || (ready < 0 && errno != EINTR)) {
                return false;
            }
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    double Left() const {
        return mSeconds - std::chrono::duration<double>(Clock::now() - mStart).count();
    }
    int Milliseconds() const {
        if (mSeconds == 0) {
            return -1;
        }
        return static_cast<int>(std::clamp(std::ceil(Left() * 1000), 0.0, double{INT_MAX}));
    }

    double mSeconds;
    Clock::time_point mStart;
};

} // namespace velnor

#endif

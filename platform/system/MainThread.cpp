#include "platform/system/MainThread.h"

#ifdef VELNOR_THREAD_CHECKS

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace velnor {

namespace {

constexpr std::array kNames = {"components", "controls", "event loop", "view", "windows"};
static_assert(kNames.size() == static_cast<std::size_t>(Facility::kCount));

constexpr unsigned kProcessShift = 32;

// Process and thread; 0 for no thread.
std::atomic<std::uint64_t>& MainThreadOf(Facility facility) {
    static std::array<std::atomic<std::uint64_t>, kNames.size()> threads{};
    return threads[static_cast<std::size_t>(facility)];
}

} // namespace

void ExpectMainThread(Facility facility, const char* function) {
    const auto process = static_cast<std::uint64_t>(getpid()) << kProcessShift;
    const std::uint64_t caller = process | static_cast<std::uint32_t>(gettid());
    std::atomic<std::uint64_t>& main = MainThreadOf(facility);
    std::uint64_t known = main.load();
    while (known >> kProcessShift != process >> kProcessShift) {
        if (main.compare_exchange_weak(known, caller)) {
            return;
        }
    }
    if (known != caller) {
        std::fprintf(stderr, "velnor: %s on another thread than the first caller's of the %s\n",
                     function, kNames[static_cast<std::size_t>(facility)]);
        std::abort();
    }
}

void ForgetMainThread(Facility facility) {
    MainThreadOf(facility).store(0);
}

} // namespace velnor

#endif

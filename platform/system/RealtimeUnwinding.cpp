#include "platform/RealtimeUnwinding.h"

#if defined(VELNOR_REALTIME_SANITIZER)

namespace {

// The sanitizer does not tell its own count. Every module that links this library has its calls of
// the two functions below wrapped by the linker.
thread_local int tDepth __attribute__((tls_model("initial-exec"))) = 0;
// Times that the check was turned off for a failure on its way.
thread_local int tThrown __attribute__((tls_model("initial-exec"))) = 0;

} // namespace

extern "C" {
void __real___rtsan_realtime_enter();
void __real___rtsan_realtime_exit();

VELNOR_PLATFORM_API void __wrap___rtsan_realtime_enter();
VELNOR_PLATFORM_API void __wrap___rtsan_realtime_exit();

void __wrap___rtsan_realtime_enter() {
    ++tDepth;
    __real___rtsan_realtime_enter();
}

void __wrap___rtsan_realtime_exit() {
    --tDepth;
    __real___rtsan_realtime_exit();
}
}

namespace velnor {

RealtimeUnwinding::RealtimeUnwinding() noexcept : mDepth(tDepth), mThrown(tThrown) {}

void RealtimeUnwinding::Thrown() noexcept {
    ++tThrown;
    __rtsan_disable();
}

void RealtimeUnwinding::Caught() noexcept {
    if (tThrown == mThrown) {
        Thrown();
    }
}

RealtimeUnwinding::~RealtimeUnwinding() {
    while (tDepth > mDepth) {
        __wrap___rtsan_realtime_exit();
    }
    for (; tThrown > mThrown; --tThrown) {
        __rtsan_enable();
    }
}

} // namespace velnor

#endif

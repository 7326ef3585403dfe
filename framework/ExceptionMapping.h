// What the host gets to see of an exception.
#ifndef VELNOR_FRAMEWORK_EXCEPTIONMAPPING_H
#define VELNOR_FRAMEWORK_EXCEPTIONMAPPING_H

#include "platform/Facts.h"
#include "platform/Types.h"

#include <new>

namespace velnor {

inline constexpr OSStatus kUnknownException = -1;

/// A thrown status unwinds the render road without its functions' returns, which the real-time
/// sanitizer counts: from then on it would take the thread to be on the road for good.
inline void StopCheckingThisThread() noexcept {
#if defined(VELNOR_REALTIME_SANITIZER)
    __rtsan_disable();
#endif
}

/// The status that inCall returns or throws: a thrown OSStatus, a thrown OSErr sign-extended,
/// memFullErr for std::bad_alloc, kUnknownException for anything else. Thread any, concurrent,
/// nonblocking if inCall is and does not throw.
template <typename Call>
OSStatus StatusOf(const Call& inCall) noexcept {
    OSStatus status = kUnknownException;
    try {
        return inCall();
    } catch (OSStatus thrown) {
        StopCheckingThisThread();
        status = thrown;
    } catch (OSErr thrown) {
        StopCheckingThisThread();
        status = thrown;
    } catch (const std::bad_alloc&) {
        StopCheckingThisThread();
        status = memFullErr;
    } catch (...) {
        StopCheckingThisThread();
    }
    return status;
}

} // namespace velnor

#endif

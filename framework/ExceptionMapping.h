// What the host gets to see of an exception.
#ifndef VELNOR_FRAMEWORK_EXCEPTIONMAPPING_H
#define VELNOR_FRAMEWORK_EXCEPTIONMAPPING_H

#include "platform/Facts.h"
#include "platform/RealtimeUnwinding.h"
#include "platform/Types.h"

#include <new>

namespace velnor {

inline constexpr OSStatus kUnknownException = -1;

/// The status that inCall returns or throws: a thrown OSStatus, a thrown OSErr sign-extended,
/// memFullErr for std::bad_alloc, kUnknownException for anything else. Thread any, concurrent,
/// nonblocking if inCall is and does not throw.
template <typename Call>
OSStatus StatusOf(const Call& inCall) noexcept {
    RealtimeUnwinding unwinding;
    OSStatus status = kUnknownException;
    try {
        return inCall();
    } catch (OSStatus thrown) {
        unwinding.Caught();
        status = thrown;
    } catch (OSErr thrown) {
        unwinding.Caught();
        status = thrown;
    } catch (const std::bad_alloc&) {
        unwinding.Caught();
        status = memFullErr;
    } catch (...) {
        unwinding.Caught();
    }
    return status;
}

/// StatusOf for a call on the render road.
template <typename Call>
OSStatus StatusOnRoad(const Call& inCall) noexcept VELNOR_NONBLOCKING {
    OSStatus status = noErr;
    VELNOR_RT_ESCAPE_CHECKED("the road may not catch, and its failures end here",
                             status = StatusOf(inCall));
    return status;
}

} // namespace velnor

#endif

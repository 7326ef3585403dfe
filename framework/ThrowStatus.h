// How the framework reports a failure beneath the component entry, which maps it to a result.
#ifndef VELNOR_FRAMEWORK_THROWSTATUS_H
#define VELNOR_FRAMEWORK_THROWSTATUS_H

#include "platform/Facts.h"
#include "platform/RealtimeUnwinding.h"
#include "platform/Types.h"

namespace velnor {

/// Throws inStatus as an OSStatus. Thread any, concurrent; marked nonblocking although it allocates
/// the exception, because a failed operation has no deadline left to keep.
[[noreturn]] inline void ThrowStatus(OSStatus inStatus) VELNOR_NONBLOCKING {
    VELNOR_RT_ESCAPE("a failed operation leaves the render road", RealtimeUnwinding::Thrown();
                     throw inStatus);
    __builtin_unreachable();
}

} // namespace velnor

#endif

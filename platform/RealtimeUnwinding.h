// What a failure thrown on the render road means to the realtime sanitizer.
#ifndef VELNOR_PLATFORM_REALTIMEUNWINDING_H
#define VELNOR_PLATFORM_REALTIMEUNWINDING_H

#include "platform/Facts.h"
#include "platform/Types.h"

#include <exception>

namespace velnor {

// Declared before a try block whose handlers call Caught first of all. The sanitizer counts how
// many nonblocking functions a thread is in and misses those that an exception leaves. So the check
// is off from Thrown, or from Caught for other failures, until this object goes, which puts the
// count right: whoever is left and whoever catches may free what it holds. In other builds it does
// nothing. Thread any, concurrent, nonblocking.
class RealtimeUnwinding {
public:
#if defined(VELNOR_REALTIME_SANITIZER)
    VELNOR_PLATFORM_API RealtimeUnwinding() noexcept;
    VELNOR_PLATFORM_API ~RealtimeUnwinding();
    VELNOR_PLATFORM_API static void Thrown() noexcept;
    VELNOR_PLATFORM_API void Caught() noexcept;
#else
    RealtimeUnwinding() noexcept {}
    static void Thrown() noexcept {}
    void Caught() noexcept {}
#endif
    RealtimeUnwinding(const RealtimeUnwinding&) = delete;
    RealtimeUnwinding& operator=(const RealtimeUnwinding&) = delete;

#if defined(VELNOR_REALTIME_SANITIZER)
private:
    const int mDepth;
    const int mThrown;
#endif
};

// Stands around a call of foreign code on the render road: what that throws counts as thrown here.
class RealtimeThrower {
public:
    RealtimeThrower() noexcept {}
#if defined(VELNOR_REALTIME_SANITIZER)
    ~RealtimeThrower() {
        if (std::uncaught_exceptions() > mBefore) {
            RealtimeUnwinding::Thrown();
        }
    }
#endif
    RealtimeThrower(const RealtimeThrower&) = delete;
    RealtimeThrower& operator=(const RealtimeThrower&) = delete;

#if defined(VELNOR_REALTIME_SANITIZER)
private:
    const int mBefore = std::uncaught_exceptions();
#endif
};

} // namespace velnor

#endif

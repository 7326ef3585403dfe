// Denormal numbers are not worth their time while audio renders.
#ifndef VELNOR_FRAMEWORK_FLOATINGPOINTCONTROL_H
#define VELNOR_FRAMEWORK_FLOATINGPOINTCONTROL_H

#include "platform/Facts.h"

#include <xmmintrin.h>

namespace velnor {

/// For its life the calling thread flushes denormal results to zero and reads denormal operands as
/// zero; at its end, by an exception too, the thread's control word is what it was before. Thread
/// any, nonblocking.
class FloatingPointControl {
public:
    FloatingPointControl() VELNOR_NONBLOCKING : mSaved(_mm_getcsr()) {
        _mm_setcsr(mSaved | kFlushToZero | kDenormalsAreZero);
    }
    ~FloatingPointControl() VELNOR_NONBLOCKING { _mm_setcsr(mSaved); }
    FloatingPointControl(const FloatingPointControl&) = delete;
    FloatingPointControl& operator=(const FloatingPointControl&) = delete;

private:
    static constexpr unsigned kFlushToZero = 0x8000;
    static constexpr unsigned kDenormalsAreZero = 0x0040;

    const unsigned mSaved;
};

} // namespace velnor

#endif

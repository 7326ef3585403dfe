// The rule "Thread main", executed: in builds with VELNOR_THREAD_CHECKS a facility remembers the
// thread of its first caller, and a call on any other stops the process with one line that names
// the function. In builds without them there is no code.
#ifndef VELNOR_PLATFORM_SYSTEM_MAINTHREAD_H
#define VELNOR_PLATFORM_SYSTEM_MAINTHREAD_H

#ifdef VELNOR_THREAD_CHECKS

namespace velnor {

enum class Facility { kComponents, kControls, kEventLoop, kView, kWindows, kCount };

// Thread any, concurrent. A child process has no main thread yet.
void ExpectMainThread(Facility facility, const char* function);
// When the facility's last object is gone, its next caller may be another thread.
void ForgetMainThread(Facility facility);

} // namespace velnor

#define VELNOR_MAIN_THREAD(FACILITY)                                                               \
    velnor::ExpectMainThread(velnor::Facility::FACILITY, static_cast<const char*>(__func__))
#define VELNOR_FORGET_MAIN_THREAD(FACILITY) velnor::ForgetMainThread(velnor::Facility::FACILITY)

#else

#define VELNOR_MAIN_THREAD(FACILITY) static_cast<void>(0)
#define VELNOR_FORGET_MAIN_THREAD(FACILITY) static_cast<void>(0)

#endif

#endif

// The three facts that every public declaration of this project states, and the macros that carry
// the third one to the compiler.
//
//   Thread       main      the host's user-interface thread
//                render    the thread on which the host pulls audio
//                any       either, or any other
//   Concurrency  exclusive no other call on the same object may run at the same time
//                concurrent calls may overlap, on the same object too
//   Real time    nonblocking allocates nothing, locks nothing, makes no system call, and takes time
//                          bounded by its arguments
//                may block everything else
//
// A declaration that names none of them is: thread any, exclusive, may block.
#ifndef VELNOR_PLATFORM_FACTS_H
#define VELNOR_PLATFORM_FACTS_H

// VELNOR_NONBLOCKING stands behind a function's parameter list (and const) and before override:
//     OSStatus Render(UInt32 inFrames) VELNOR_NONBLOCKING override;
// Compilers with function-effect analysis then check the function and everything that it calls.
#if defined(__cplusplus) && defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define VELNOR_NONBLOCKING [[clang::nonblocking]]
#endif
#endif
#ifndef VELNOR_NONBLOCKING
#define VELNOR_NONBLOCKING
#endif

// VELNOR_RT_ESCAPE(REASON, STATEMENTS) runs statements on the render road that the analysis cannot
// or must not accept: a call of foreign code, a failure path that throws, a log line on overflow.
// REASON is a string literal that says why this is right. The tests count the uses.
#if defined(__clang__)
#define VELNOR_EFFECTS_OFF                                                                         \
    _Pragma("clang diagnostic push")                                                               \
        _Pragma("clang diagnostic ignored \"-Wunknown-warning-option\"")                           \
            _Pragma("clang diagnostic ignored \"-Wfunction-effects\"")
#define VELNOR_EFFECTS_ON _Pragma("clang diagnostic pop")
#else
#define VELNOR_EFFECTS_OFF
#define VELNOR_EFFECTS_ON
#endif
#if defined(__has_feature)
#if __has_feature(realtime_sanitizer)
#define VELNOR_REALTIME_SANITIZER 1
#endif
#endif
#if defined(VELNOR_REALTIME_SANITIZER) && defined(__cplusplus)
#include <sanitizer/rtsan_interface.h>
#define VELNOR_RT_UNCHECKED __rtsan::ScopedDisabler velnorUncheckedScope;
#else
#define VELNOR_RT_UNCHECKED
#endif
#define VELNOR_RT_ESCAPE(REASON, ...)                                                              \
    do {                                                                                           \
        static_assert(sizeof(REASON) > 1, "an escape states its reason");                          \
        VELNOR_EFFECTS_OFF                                                                         \
        VELNOR_RT_UNCHECKED                                                                        \
        __VA_ARGS__;                                                                               \
        VELNOR_EFFECTS_ON                                                                          \
    } while (false)

// The same for statements that lead back to the road, such as a try block around it: only the
// analysis is off, the check at run time goes on.
#define VELNOR_RT_ESCAPE_CHECKED(REASON, ...)                                                      \
    do {                                                                                           \
        static_assert(sizeof(REASON) > 1, "an escape states its reason");                          \
        VELNOR_EFFECTS_OFF                                                                         \
        __VA_ARGS__;                                                                               \
        VELNOR_EFFECTS_ON                                                                          \
    } while (false)

#endif

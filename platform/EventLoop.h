// The main event loop and its timers. Thread main, exclusive: a timer's action runs on the thread
// that runs the loop.
#ifndef VELNOR_PLATFORM_EVENTLOOP_H
#define VELNOR_PLATFORM_EVENTLOOP_H

#include "platform/Types.h"

VELNOR_BEGIN_C

typedef double EventTimerInterval; // seconds
typedef double EventTimeout;       // seconds
typedef struct OpaqueEventLoopRef* EventLoopRef;
typedef struct OpaqueEventLoopTimerRef* EventLoopTimerRef;
typedef void (*EventLoopTimerProc)(EventLoopTimerRef timer, void* userData);

VELNOR_PLATFORM_API EventLoopRef GetMainEventLoop(void);
// Fires first after fireDelay, then every interval (0: once; below 0.001 counts as 0.001). A late
// loop skips missed ticks. A timer does not fire inside its own action, also where that runs the
// loop. *timer is the caller's to remove, a spent one too. paramErr: a null
// argument other than userData, a time below 0.
VELNOR_PLATFORM_API OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay,
                                                   EventTimerInterval interval,
                                                   EventLoopTimerProc proc, void* userData,
                                                   EventLoopTimerRef* timer);
// Allowed inside the timer's own action. paramErr: no such timer.
VELNOR_PLATFORM_API OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer);
// Runs timers for so long, sleeping in between; with 0, those that are due now. paramErr: below 0.
VELNOR_PLATFORM_API OSStatus RunCurrentEventLoop(EventTimeout timeout);
// For tests and hosts with a clock of their own: moves the loop's clock on by so many seconds
// without sleeping and fires what falls due, in order of time. From the first call on, the clock
// stands still but for these calls and the time that RunCurrentEventLoop takes.
VELNOR_PLATFORM_API void PlatformAdvanceEventLoop(EventTimerInterval seconds);

VELNOR_END_C

#endif

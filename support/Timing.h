// Time since the system's start, and sleeping.
#ifndef VELNOR_SUPPORT_TIMING_H
#define VELNOR_SUPPORT_TIMING_H

#include "platform/Facts.h"

#include <cstdint>

// Microseconds. Thread any, concurrent, nonblocking.
uint64_t myMS() VELNOR_NONBLOCKING;
// Milliseconds with fractions. Thread any, concurrent, nonblocking.
double PTimeMilli() VELNOR_NONBLOCKING;
// Nanoseconds. Thread any, concurrent, nonblocking.
uint64_t cpuTick() VELNOR_NONBLOCKING;

// Sleeps that many milliseconds. 0, or -1 with errno EINTR when a signal cut the sleep short.
// Thread any, concurrent, may block.
int PmilliSleep(unsigned long ms);

#endif

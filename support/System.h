// What the library knows about the machine.
#ifndef VELNOR_SUPPORT_SYSTEM_H
#define VELNOR_SUPPORT_SYSTEM_H

#include "platform/Facts.h"

#include <cstdint>

namespace velnor {

enum TimerMethod_t : int {
    TIMER_MACH_ABSOLUTE_TIME = 0, // cpuTick, nanoseconds
    TIMER_MICROSECONDS = 1        // Microseconds
};

// Found out once per process by init, and reported in the log. The members are plain variables,
// zero until they are set: init is called on one thread before others read them.
//
// Thread main, exclusive, may block, where nothing else is said.
class System {
public:
    System() = delete;

    struct MemoryStat {
        uint64_t total; // bytes of physical memory
        uint64_t free;  // bytes of it that are free
    };

    static TimerMethod_t TimerMethod;
    static double CpuSpeed;          // MHz; 0 when unknown
    static double SecondsPerCPUTick; // of cpuTick
    static int activeCores;          // at least 1 once known
    static bool x86_MMX_Support;
    static bool x86_SSE_Support;
    static bool x86_SSE2_Support;
    static bool x86_SSE3_Support;
    static bool ppc_AltiVec_Support; // never set on this processor family

    // On its first call in the process: chooses the time source (an unknown one becomes 0, with an
    // error line), finds out everything below, seeds rand and Psrand with the time. Later calls do
    // nothing.
    static void init(TimerMethod_t method);
    // CpuSpeed, SecondsPerCPUTick and activeCores.
    static void initCPUSpeed();
    // The instruction-set flags.
    static void checkCPUSupport();
    // True when floor and ceiling of single-precision numbers round as they must.
    static bool mathAssessments();

    // Seconds since the system's start by the chosen time source; 0 before initCPUSpeed has run.
    // Thread any, concurrent, nonblocking.
    static void getTimefromCPU(double& seconds) VELNOR_NONBLOCKING;

    // All zero when the machine does not say. Thread any, concurrent, may block.
    static void getMemStats(MemoryStat& stat);
    // A placeholder: always -1.
    static int getMemFree();
    // One information line of several rows.
    static void logMemoryUsage();
};

} // namespace velnor

#endif

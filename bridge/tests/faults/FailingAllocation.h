// Allocations of this process that can be made to fail.
#ifndef VELNOR_BRIDGE_TESTS_FAULTS_FAILINGALLOCATION_H
#define VELNOR_BRIDGE_TESTS_FAULTS_FAILINGALLOCATION_H

namespace velnor::testing {

#if defined(VELNOR_SANITIZED)
inline constexpr bool kMallocFails = false; // the runtimes have a malloc of their own
#else
inline constexpr bool kMallocFails = true;
#endif

enum class FailedAllocation { kNone, kByNew, kByMalloc };

// Lets the number-th allocation from here on fail, the first being 1: of operator new, whoever
// calls it, and of malloc for the component, the platform library and the dynamic loader. Other
// libraries' own are left out: libplist uses what malloc gives it without a look. Without
// kMallocFails only operator new fails. One thread.
void failAllocation(long number);
// Ends that; kNone when the allocation did not come.
FailedAllocation failedAllocation();

} // namespace velnor::testing

#endif

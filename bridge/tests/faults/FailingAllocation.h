/* Allocations of this process that can be made to fail. */
#ifndef VELNOR_BRIDGE_TESTS_FAULTS_FAILINGALLOCATION_H
#define VELNOR_BRIDGE_TESTS_FAULTS_FAILINGALLOCATION_H

namespace velnor::test {

/* Lets the number-th allocation from here on fail, the first being 1: of operator new, whoever
 * calls it, and of malloc for the component, the platform library and the dynamic loader. libplist
 * is left out: it uses what malloc gives it without a look. One thread. */
void failAllocation(long number);
/* Ends that; true when the allocation came and failed. */
bool allocationFailed();

} // namespace velnor::test

#endif

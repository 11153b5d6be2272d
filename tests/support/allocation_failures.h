// A test program that links support/allocation_failures.cpp replaces the global operator new and
// delete, so that a test can make a chosen allocation of its own thread fail: the throwing forms
// then throw std::bad_alloc and the nothrow forms return null, as when memory runs out. Both rules
// below count only the calling thread's allocations, so nothing another thread allocates can take
// the failure.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_ALLOCATION_FAILURES_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_ALLOCATION_FAILURES_H

#include <cstddef>

namespace Tavro_KVO_Util::testing {

// The `n`-th allocation made through operator new by the calling thread from now on fails
// (1: the very next one); every other allocation succeeds. 0 disarms.
void FailNthAllocation(int n);

// How many allocations are still to go up to and including the failing one; 0 once it has
// failed or when none is armed.
int AllocationsUntilFailure();

// The calling thread's next allocation of at least `minimumSize` bytes fails, after `letThrough`
// such allocations have succeeded; the rule then disarms itself. 0 disarms.
void FailAllocationFromSize(std::size_t minimumSize, int letThrough = 0);

// True once an allocation armed by FailAllocationFromSize has failed; arming again clears it.
bool SizedAllocationFailed();

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_ALLOCATION_FAILURES_H

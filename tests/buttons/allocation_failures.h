// A test program that links allocation_failures.cpp replaces the global operator new and delete,
// so that a test can make one chosen allocation of its own thread fail: the throwing forms then
// throw std::bad_alloc and the nothrow forms return null, as when memory runs out.
#ifndef TAVROMEDIVANEUTIL_TESTS_BUTTONS_ALLOCATION_FAILURES_H
#define TAVROMEDIVANEUTIL_TESTS_BUTTONS_ALLOCATION_FAILURES_H

namespace Tavro_KVO_Util::testing {

// The `n`-th allocation made through operator new by the calling thread from now on fails
// (1: the very next one); every other allocation succeeds. 0 disarms.
void FailNthAllocation(int n);

// How many allocations are still to go up to and including the failing one; 0 once it has
// failed or when none is armed.
int AllocationsUntilFailure();

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_BUTTONS_ALLOCATION_FAILURES_H

// Platform service: a recursive, process-local lock living in caller-provided storage.
//
// The storage is owned by the caller (OsCriticalSection keeps it inline so that the public header
// needs no platform header). Windows: a CRITICAL_SECTION with no spin count. POSIX: a
// std::recursive_mutex. Neither reports errors: failures of the OS primitives are not caught.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_RECURSIVE_LOCK_H
#define TAVROMEDIVANEUTIL_PLATFORM_RECURSIVE_LOCK_H

#include <cstddef>

namespace Tavro_KVO_Util::platform {

// Size and alignment the storage must have on every platform (x64 CRITICAL_SECTION).
constexpr std::size_t kRecursiveLockSize = 40;
constexpr std::size_t kRecursiveLockAlign = 8;

// Makes a lock in `storage`. Must be paired with DestroyRecursiveLock.
void InitRecursiveLock(void* storage);
// Destroys the lock; it must not be held.
void DestroyRecursiveLock(void* storage);
// Blocks without limit until the calling thread owns the lock (again, if it already does).
void EnterRecursiveLock(void* storage);
// One attempt that never blocks: true when the calling thread now owns the lock.
bool TryEnterRecursiveLock(void* storage);
// Gives back one level of ownership.
void LeaveRecursiveLock(void* storage);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_RECURSIVE_LOCK_H

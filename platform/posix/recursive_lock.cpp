#include "platform/recursive_lock.h"

#include <mutex>
#include <new>

namespace Tavro_KVO_Util::platform {
namespace {

static_assert(sizeof(std::recursive_mutex) <= kRecursiveLockSize, "storage must hold the mutex");
static_assert(alignof(std::recursive_mutex) <= kRecursiveLockAlign, "storage is under-aligned");

std::recursive_mutex* AsMutex(void* storage) {
  return std::launder(static_cast<std::recursive_mutex*>(storage));
}

}  // namespace

void InitRecursiveLock(void* storage) { new (storage) std::recursive_mutex(); }

void DestroyRecursiveLock(void* storage) { AsMutex(storage)->~recursive_mutex(); }

void EnterRecursiveLock(void* storage) { AsMutex(storage)->lock(); }

bool TryEnterRecursiveLock(void* storage) { return AsMutex(storage)->try_lock(); }

void LeaveRecursiveLock(void* storage) { AsMutex(storage)->unlock(); }

}  // namespace Tavro_KVO_Util::platform

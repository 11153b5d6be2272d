#include "OsCriticalSection.h"

#include "platform/recursive_lock.h"

namespace Tavro_KVO_Util {

OsCriticalSection::OsCriticalSection() : mRecord{} {
  static_assert(sizeof(mRecord) == platform::kRecursiveLockSize, "record must fit the platform lock");
  static_assert(alignof(OsCriticalSection) >= platform::kRecursiveLockAlign, "record is under-aligned");
  platform::InitRecursiveLock(mRecord);
}

OsCriticalSection::~OsCriticalSection() { platform::DestroyRecursiveLock(mRecord); }

bool OsCriticalSection::Lock(bool wait) {
  if (wait) {
    platform::EnterRecursiveLock(mRecord);
    return true;
  }
  return platform::TryEnterRecursiveLock(mRecord);
}

void OsCriticalSection::Unlock() { platform::LeaveRecursiveLock(mRecord); }

}  // namespace Tavro_KVO_Util

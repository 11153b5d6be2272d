// Helpers that look at a lock from outside the test's own thread.
#ifndef TAVROMEDIVANEUTIL_TESTS_FOUNDATION_LOCK_PROBE_H
#define TAVROMEDIVANEUTIL_TESTS_FOUNDATION_LOCK_PROBE_H

#include <thread>

#include "OsLockableObject.h"

namespace Tavro_KVO_Util::testing {

// True when a thread other than the caller can take `lock` without waiting (it gives it back
// at once). A recursive lock held by the calling thread reports false.
inline bool FreeForAnotherThread(OsLockableObject& lock) {
  bool taken = false;
  std::thread probe([&] {
    taken = lock.Lock(false);
    if (taken) lock.Unlock();
  });
  probe.join();
  return taken;
}

// A lockable object that records what it was asked and grants or refuses every Lock().
class RecordingLock : public OsLockableObject {
 public:
  explicit RecordingLock(bool grant) : mGrant(grant) {}
  bool Lock(bool wait) override {
    ++lockCalls;
    lastWait = wait;
    return mGrant;
  }
  void Unlock() override { ++unlockCalls; }

  int lockCalls = 0;
  int unlockCalls = 0;
  bool lastWait = false;

 private:
  bool mGrant;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_FOUNDATION_LOCK_PROBE_H

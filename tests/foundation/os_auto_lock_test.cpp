#include "OsAutoLock.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "OsCriticalSection.h"
#include "foundation/lock_probe.h"

namespace Tavro_KVO_Util {
namespace {

using testing::FreeForAnotherThread;
using testing::RecordingLock;

TEST(OsAutoLock, HoldsCriticalSectionForItsScope) {
  OsCriticalSection section;
  {
    OsAutoLock guard(&section);
    EXPECT_FALSE(FreeForAnotherThread(section));
  }
  EXPECT_TRUE(FreeForAnotherThread(section));
}

TEST(OsAutoLock, TakesTheLockWaitingAndGivesItBackOnce) {
  RecordingLock lock(/*grant=*/true);
  {
    OsAutoLock guard(&lock);
    EXPECT_EQ(lock.lockCalls, 1);
    EXPECT_TRUE(lock.lastWait);
    EXPECT_EQ(lock.unlockCalls, 0);
  }
  EXPECT_EQ(lock.lockCalls, 1);
  EXPECT_EQ(lock.unlockCalls, 1);
}

TEST(OsAutoLock, RefusedLockThrowsAutoLockFailedAndNeverUnlocks) {
  RecordingLock lock(/*grant=*/false);
  std::string message;
  try {
    OsAutoLock guard(&lock);
    ADD_FAILURE() << "the guard did not throw";
  } catch (const std::exception& e) {
    message = e.what();
  }
  EXPECT_EQ(message, "Auto lock failed.");
  EXPECT_EQ(lock.lockCalls, 1);
  EXPECT_TRUE(lock.lastWait);
  EXPECT_EQ(lock.unlockCalls, 0);
}

TEST(OsAutoLock, RefusedLockThrowsAStandardRuntimeError) {
  RecordingLock lock(/*grant=*/false);
  EXPECT_THROW(OsAutoLock guard(&lock), std::runtime_error);
}

// Runs a guard's destructor twice on the same storage. The second run is deliberately on a
// destroyed object, which is the situation under test, so the sanitizer's dynamic-type check is
// off for this one function.
#if defined(__GNUC__)
__attribute__((no_sanitize("vptr")))
#endif
void DestroyTwice(OsAutoLock* guard, const RecordingLock& lock, int& unlocksAfterFirst) {
  guard->OsAutoLock::~OsAutoLock();
  unlocksAfterFirst = lock.unlockCalls;
  guard->OsAutoLock::~OsAutoLock();
}

TEST(OsAutoLock, SecondDestructionAfterReleaseDoesNothing) {
  RecordingLock lock(/*grant=*/true);
  alignas(OsAutoLock) unsigned char storage[sizeof(OsAutoLock)];
  int unlocksAfterFirst = -1;
  DestroyTwice(new (storage) OsAutoLock(&lock), lock, unlocksAfterFirst);
  EXPECT_EQ(unlocksAfterFirst, 1);
  // The ownership flag was cleared by the first release, so the second destruction must not
  // give the lock back again.
  EXPECT_EQ(lock.unlockCalls, 1);
}

TEST(OsAutoLock, ReleasesTheLockWhenAnExceptionLeavesTheScope) {
  OsCriticalSection section;
  try {
    OsAutoLock guard(&section);
    throw std::logic_error("leaving the scope early");
  } catch (const std::logic_error&) {
  }
  EXPECT_TRUE(FreeForAnotherThread(section));
}

TEST(OsAutoLock, NestedGuardsOnOneSectionReleaseInTurn) {
  OsCriticalSection section;
  {
    OsAutoLock outer(&section);
    { OsAutoLock inner(&section); }
    EXPECT_FALSE(FreeForAnotherThread(section)) << "the outer guard still owns the section";
  }
  EXPECT_TRUE(FreeForAnotherThread(section));
}

}  // namespace
}  // namespace Tavro_KVO_Util

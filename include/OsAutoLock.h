// OsAutoLock: scoped ownership of an OsLockableObject.
//
// The guard takes the lock when it is made and gives it back when it goes out of scope, also when
// an exception passes. It never deletes the lock, which must outlive it. There is deliberately no
// way to release early or to lock again, and no time-out.
//
//   OsAutoLock guard(&mCritSect);   // held until the end of the scope
#ifndef TAVROMEDIVANEUTIL_OSAUTOLOCK_H
#define TAVROMEDIVANEUTIL_OSAUTOLOCK_H

#include "OsLockableObject.h"
#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API OsAutoLock {
 public:
  // Calls lock->Lock(true). When that returns false, throws a std::exception (a
  // std::runtime_error) whose what() is "Auto lock failed."; the guard then owns nothing. With
  // OsCriticalSection underneath a waiting Lock always succeeds: the throw defends against other
  // implementations of the interface. This is the only exception the library ever throws.
  explicit OsAutoLock(OsLockableObject* lock);

  // Calls Unlock() once if this guard owns the lock, and clears its ownership flag, so a second
  // destruction does nothing.
  virtual ~OsAutoLock();

  OsAutoLock(const OsAutoLock&) = delete;
  OsAutoLock& operator=(const OsAutoLock&) = delete;

 private:
  OsLockableObject* lock;  // not owned
  bool acquired;           // true while this guard owns the lock
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_OSAUTOLOCK_H

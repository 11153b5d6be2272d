// OsLockableObject: the interface of every in-process lock of the library.
//
// The configuration store, the logger and the button-action registries hold a lockable object
// and never call the operating system directly. OsCriticalSection is the library's one
// implementation; OsAutoLock takes any implementation for the span of a scope.
#ifndef TAVROMEDIVANEUTIL_OSLOCKABLEOBJECT_H
#define TAVROMEDIVANEUTIL_OSLOCKABLEOBJECT_H

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API OsLockableObject {
 public:
  // Virtual so that a lock may be deleted through this interface.
  virtual ~OsLockableObject();

  // Takes the lock. With `wait` true, blocks until the lock is owned; with `wait` false, returns
  // at once. Returns true when the caller now owns the lock and must call Unlock().
  virtual bool Lock(bool wait) = 0;

  // Gives back one level of ownership taken by a successful Lock().
  virtual void Unlock() = 0;

 protected:
  OsLockableObject() = default;
  OsLockableObject(const OsLockableObject&) = default;
  OsLockableObject& operator=(const OsLockableObject&) = default;
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_OSLOCKABLEOBJECT_H

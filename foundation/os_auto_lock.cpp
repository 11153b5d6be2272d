#include "OsAutoLock.h"

#include <stdexcept>

namespace Tavro_KVO_Util {

OsAutoLock::OsAutoLock(OsLockableObject* lock) : lock(lock), acquired(lock->Lock(true)) {
  if (!acquired) {
    // Callers catch std::exception and show what(); keep the text exact.
    throw std::runtime_error("Auto lock failed.");
  }
}

OsAutoLock::~OsAutoLock() {
  if (acquired) {
    lock->Unlock();
    // A plain store would be dropped as dead (the object is dying), yet a guard destroyed a
    // second time must find the flag cleared and give nothing back.
    *static_cast<volatile bool*>(&acquired) = false;
  }
}

}  // namespace Tavro_KVO_Util

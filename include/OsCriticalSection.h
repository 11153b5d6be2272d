// OsCriticalSection: a recursive, process-local lock.
//
// On Windows it is a Win32 critical section (no spin count); on other platforms a recursive
// mutex with try-lock. The owning thread may lock it again, and must then unlock it as many times.
// It serialises the threads of one process only; the log file's cross-process lock is separate.
// One section is made as a member of each guarded object and is never copied.
#ifndef TAVROMEDIVANEUTIL_OSCRITICALSECTION_H
#define TAVROMEDIVANEUTIL_OSCRITICALSECTION_H

#include "OsLockableObject.h"
#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API OsCriticalSection : public OsLockableObject {
 public:
  OsCriticalSection();
  ~OsCriticalSection() override;

  OsCriticalSection(const OsCriticalSection&) = delete;
  OsCriticalSection& operator=(const OsCriticalSection&) = delete;

  // `wait` true: blocks without limit until the section is owned, then returns true. Recursive
  //   entry by the owning thread succeeds at once.
  // `wait` false: one attempt that never blocks and never retries. Returns false when another
  //   thread holds the section, true otherwise (also when the caller already holds it).
  // Every true result must be matched by one Unlock(). Reports no errors of its own.
  bool Lock(bool wait) override;

  // Leaves the section once. Must be called only by a thread that holds it.
  void Unlock() override;

 private:
  // The platform's lock record: a Win32 CRITICAL_SECTION (40 bytes on x64) or, on the host, a
  // recursive mutex of the same size. Opaque here so that callers never need <windows.h>.
  alignas(8) unsigned char mRecord[40];
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_OSCRITICALSECTION_H

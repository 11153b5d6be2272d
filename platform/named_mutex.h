// Platform service: a machine-wide mutex shared by name between processes.
//
// Ownership is per thread and recursive, as with a Win32 mutex: the owning thread may wait again
// and must release as often. When an owning thread (or its process) dies without releasing, the
// next waiter is told so (kAbandoned) and becomes the owner.
// Windows: CreateMutexW with a null DACL (every user and service may open it), falling back to
// OpenMutexW when it exists already. Linux: a process-shared, robust, recursive pthread mutex in
// shared memory named after the mutex.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_NAMED_MUTEX_H
#define TAVROMEDIVANEUTIL_PLATFORM_NAMED_MUTEX_H

#include <string>

#include "platform/object_access.h"

namespace Tavro_KVO_Util::platform {

enum class WaitResult {
  kAcquired,   // the caller owns the mutex
  kTimedOut,   // another owner held it for the whole wait
  kAbandoned,  // the previous owner died holding it; the caller owns it now
  kFailed,     // the wait itself failed
};

// What happened while creating the mutex, for the caller's reports.
struct NamedMutexCreation {
  bool securityDescriptorFailed = false;  // created with default security instead
  bool createFailed = false;              // the create call failed (the open may still succeed);
                                          // POSIX: no segment could be made or opened
  bool alreadyExisted = false;            // the failure was "already exists"
};

class NamedMutex {
 public:
  NamedMutex();
  ~NamedMutex();  // closes the handle; does not release
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  // Creates the mutex `name`, or opens it when it exists already. False when no handle could be
  // had; `creation` says what went wrong on the way.
  bool Create(const std::wstring& name, NamedMutexCreation& creation);

  bool IsValid() const;

  // Waits at most `milliseconds`.
  WaitResult Wait(unsigned milliseconds);

  // Gives back one level of ownership held by the calling thread.
  void Release();

  // Gives back one level of ownership and closes the handle (as unload does).
  void ReleaseAndClose();

  // Sets who may open, wait for and release the mutex from now on (platform/object_access.h);
  // handles open already keep working. Windows: SetSecurityInfo with a protected DACL, or a null
  // DACL for everyone (the default null DACL lets any process do this; a restricted one, only
  // SYSTEM and Administrators). Linux: the segment's mode and group (only its owner or root may
  // change them). False with the OS code in `error`.
  bool SetAccess(const ObjectAccess& access, int& error);

 private:
  void* mHandle;  // a HANDLE, or the mapped shared mutex
};

// Test seam: while an object of this class lives, Create on Windows proceeds as if the security
// descriptor with the null DACL could not be made: the mutex gets default security and
// `securityDescriptorFailed` is set. InitializeSecurityDescriptor fails only for a wrong revision,
// so no real fault can reach that path. POSIX shared memory has no descriptor; there it changes
// nothing. Not nestable.
class SecurityDescriptorFailureForTesting {
 public:
  SecurityDescriptorFailureForTesting();
  ~SecurityDescriptorFailureForTesting();
  SecurityDescriptorFailureForTesting(const SecurityDescriptorFailureForTesting&) = delete;
  SecurityDescriptorFailureForTesting& operator=(const SecurityDescriptorFailureForTesting&) = delete;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_NAMED_MUTEX_H

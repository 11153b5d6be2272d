#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/named_mutex.h"

#include <atomic>
#include <optional>
#include <utility>

#include "platform/win32/null_dacl.h"
#include "platform/win32/restricted_dacl.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

#include <aclapi.h>

namespace Tavro_KVO_Util::platform {
namespace {

// Takes ownership of the handle held in NamedMutex's portable field, and closes it.
void CloseHeld(void*& handle) {
  if (handle != nullptr) UniqueHandle closing(std::exchange(handle, nullptr));
}

std::atomic<bool> gDescriptorFailsForTesting{false};

}  // namespace

SecurityDescriptorFailureForTesting::SecurityDescriptorFailureForTesting() {
  gDescriptorFailsForTesting.store(true, std::memory_order_release);
}

SecurityDescriptorFailureForTesting::~SecurityDescriptorFailureForTesting() {
  gDescriptorFailsForTesting.store(false, std::memory_order_release);
}

NamedMutex::NamedMutex() : mHandle(nullptr) {}

NamedMutex::~NamedMutex() { CloseHeld(mHandle); }

bool NamedMutex::Create(const std::wstring& name, NamedMutexCreation& creation) {
  CloseHeld(mHandle);
  creation = NamedMutexCreation();
  NullDaclAttributes security;
  creation.securityDescriptorFailed =
      security.DescriptorFailed() || gDescriptorFailsForTesting.load(std::memory_order_acquire);
  // Without the descriptor the mutex gets default security (null attributes mean just that).
  // An existing mutex is opened by the same call (GetLastError() is then ERROR_ALREADY_EXISTS):
  // that is success, not a failure to report.
  UniqueHandle mutex(CreateMutexW(creation.securityDescriptorFailed ? nullptr : security.get(),
                                  /*bInitialOwner=*/FALSE, name.c_str()));
  if (!mutex) {
    creation.createFailed = true;
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
      creation.alreadyExisted = true;
      mutex.reset(OpenMutexW(MUTEX_ALL_ACCESS, /*bInheritHandle=*/FALSE, name.c_str()));
    }
  }
  mHandle = mutex.release();
  return mHandle != nullptr;
}

bool NamedMutex::IsValid() const { return mHandle != nullptr; }

WaitResult NamedMutex::Wait(unsigned milliseconds) {
  if (mHandle == nullptr) return WaitResult::kFailed;
  switch (WaitForSingleObject(mHandle, milliseconds)) {
    case WAIT_OBJECT_0:
      return WaitResult::kAcquired;
    case WAIT_TIMEOUT:
      return WaitResult::kTimedOut;
    case WAIT_ABANDONED:
      return WaitResult::kAbandoned;
    default:  // WAIT_FAILED
      return WaitResult::kFailed;
  }
}

void NamedMutex::Release() {
  if (mHandle != nullptr) ReleaseMutex(mHandle);
}

void NamedMutex::ReleaseAndClose() {
  if (mHandle == nullptr) return;
  ReleaseMutex(mHandle);
  CloseHeld(mHandle);
}

bool NamedMutex::SetAccess(const ObjectAccess& access, int& error) {
  if (mHandle == nullptr) {
    error = ERROR_INVALID_HANDLE;
    return false;
  }
  // Members of the group may wait for the mutex and release it; only SYSTEM and Administrators
  // may change its security, so a process of the group cannot open it up again.
  std::optional<RestrictedDacl> dacl;
  if (access.restricted) {
    dacl.emplace(access.group, MUTEX_ALL_ACCESS, SYNCHRONIZE | MUTEX_MODIFY_STATE);
    if (!dacl->Valid()) {
      error = static_cast<int>(dacl->Error());
      return false;
    }
  }
  // A null DACL (no `dacl`) lets everyone in, as the mutex is made.
  const SECURITY_INFORMATION what =
      DACL_SECURITY_INFORMATION |
      (dacl ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION);
  const DWORD status =
      SetSecurityInfo(mHandle, SE_KERNEL_OBJECT, what, /*psidOwner=*/nullptr,
                      /*psidGroup=*/nullptr, dacl ? dacl->Acl() : nullptr, /*pSacl=*/nullptr);
  error = static_cast<int>(status);
  return status == ERROR_SUCCESS;
}

}  // namespace Tavro_KVO_Util::platform

// Windows: makes the calling thread, for the life of the object, act for someone outside the
// log's group: a restricted copy of the process token in which Administrators and Users are
// deny-only, so that a DACL entry for either group no longer lets the thread in (Wine 8 checks
// this too). Ends the impersonation when destroyed.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_OUTSIDER_TOKEN_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_OUTSIDER_TOKEN_H

#ifndef _WIN32
#error "Windows-only test support"
#endif

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::testing {

class OutsiderImpersonation {
 public:
  OutsiderImpersonation() {
    BYTE administrators[SECURITY_MAX_SID_SIZE];
    BYTE users[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof administrators;
    if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size)) return;
    size = sizeof users;
    if (!CreateWellKnownSid(WinBuiltinUsersSid, nullptr, users, &size)) return;
    HANDLE process = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &process)) return;
    SID_AND_ATTRIBUTES disabled[2] = {{administrators, 0}, {users, 0}};
    HANDLE restricted = nullptr;
    HANDLE impersonation = nullptr;
    if (CreateRestrictedToken(process, 0, 2, disabled, 0, nullptr, 0, nullptr, &restricted) &&
        DuplicateToken(restricted, SecurityImpersonation, &impersonation)) {
      mActive = SetThreadToken(nullptr, impersonation) != FALSE;
    }
    if (impersonation != nullptr) CloseHandle(impersonation);
    if (restricted != nullptr) CloseHandle(restricted);
    CloseHandle(process);
  }
  ~OutsiderImpersonation() {
    if (mActive) RevertToSelf();
  }
  OutsiderImpersonation(const OutsiderImpersonation&) = delete;
  OutsiderImpersonation& operator=(const OutsiderImpersonation&) = delete;

  bool Active() const { return mActive; }

 private:
  bool mActive = false;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_OUTSIDER_TOKEN_H

#include "logging/log_access.h"

#include <mutex>

#include "logging/hook_mutex.h"
#include "logging/logger_process_state.h"

namespace Tavro_KVO_Util {
namespace {

// Guards the process state's access fields: settings are read outside the log lock, by whichever
// thread sees the file change first.
std::mutex gAccessLock;

}  // namespace

platform::ObjectAccess LogAccessFor(bool safeProfile, const std::wstring& group) {
  platform::ObjectAccess access;
  if (!safeProfile) return access;
  access.restricted = true;
  if (platform::IsKnownGroup(group)) {
    access.group = group;
    return access;
  }
  const std::lock_guard<std::mutex> guard(gAccessLock);
  const std::wstring message =
      L"The group \"" + group +
      L"\" named in /Tavro/MedivaneSDK/Logging/AccessGroup is not known on this machine; "
      L"the log is open to the default group instead";
  ReportOnce(ProcessState().unknownAccessGroupReported, message.c_str());
  return access;
}

void RestrictLogLock(const platform::ObjectAccess& access) {
  if (!access.restricted) return;
  const std::lock_guard<std::mutex> guard(gAccessLock);
  LoggerProcessState& state = ProcessState();
  if (state.lockRestricted && state.lockRestrictedForGroup == access.group) return;
  int error = 0;
  if (HookMutex::Instance().Mutex().SetAccess(access, error)) {
    state.lockRestricted = true;
    state.lockRestrictedForGroup = access.group;
    return;
  }
  const std::wstring message = L"The logging lock could not be restricted to its group (error " +
                               std::to_wstring(error) + L"); it stays open as it was";
  ReportOnce(ProcessState().lockRestrictFailureReported, message.c_str());
}

}  // namespace Tavro_KVO_Util

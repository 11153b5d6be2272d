#include "logging/hook_mutex.h"

#include "logging/event_log_report.h"
#include "platform/event_log.h"

namespace Tavro_KVO_Util {

HookMutex::HookMutex(const wchar_t* name) {
  platform::NamedMutexCreation creation;
  mMutex.Create(name, creation);
  if (creation.securityDescriptorFailed) {
    ReportToEventLog(L"ERROR: InitializeSecurityDescriptor() when creating Mutex", platform::kEventError);
  }
  if (creation.createFailed) {
    ReportToEventLog(L"Exception creating Mutex for logging synchronization", platform::kEventError);
  }
}

HookMutex::~HookMutex() {
  if (mMutex.IsValid()) mMutex.ReleaseAndClose();
}

HookMutex& HookMutex::Instance() {
  // Made at load (first use from a static initialiser at the latest), destroyed at unload.
  static HookMutex instance;
  return instance;
}

namespace {
// Creates the mutex while the library loads, as the product always has.
[[maybe_unused]] const HookMutex& gHookMutexAtLoad = HookMutex::Instance();
}  // namespace

}  // namespace Tavro_KVO_Util

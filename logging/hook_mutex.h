// HookMutex: the machine-wide mutex that serialises every process's writes to the shared log.
//
// One static object of the library: made when the library loads, released and closed when it
// unloads. Every process that writes the log must use the same name.
#ifndef TAVROMEDIVANEUTIL_LOGGING_HOOK_MUTEX_H
#define TAVROMEDIVANEUTIL_LOGGING_HOOK_MUTEX_H

#include "platform/named_mutex.h"

namespace Tavro_KVO_Util {

class HookMutex {
 public:
  // The name every writer of the shared log uses; keep it exact.
  static constexpr const wchar_t* kName = L"{E665C5EE-3EF3-4f50-A44E-4DD05B2F9B7D}";

  // Creates or opens the mutex; failures go to the event log and leave it unusable, which stops
  // all writing to the file for the life of the process.
  explicit HookMutex(const wchar_t* name = kName);
  virtual ~HookMutex();
  HookMutex(const HookMutex&) = delete;
  HookMutex& operator=(const HookMutex&) = delete;

  // The library's one mutex.
  static HookMutex& Instance();

  platform::NamedMutex& Mutex() { return mMutex; }

 private:
  platform::NamedMutex mMutex;
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_HOOK_MUTEX_H

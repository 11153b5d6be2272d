// SingletonManager: deletes the library's singletons when the library unloads.
//
// One static object holds a slot for each process-wide instance. Whoever creates a singleton
// stores it in its slot; at unload the object's destruction deletes what the slots hold, in slot
// order, skipping null. Nothing is locked: singletons are created before threads compete.
#ifndef TAVROMEDIVANEUTIL_LOGGING_SINGLETON_MANAGER_H
#define TAVROMEDIVANEUTIL_LOGGING_SINGLETON_MANAGER_H

namespace Tavro_KVO_Util {

class Config;
class Logger;

class SingletonManager {
 public:
  SingletonManager() = default;
  virtual ~SingletonManager();
  SingletonManager(const SingletonManager&) = delete;
  SingletonManager& operator=(const SingletonManager&) = delete;

  // The library's one manager.
  static SingletonManager& Instance();

  Logger* mLogger = nullptr;           // slot of the logger
  Config* mConfig = nullptr;           // slot of the logging configuration store
  Config* mConfigNoLogging = nullptr;  // slot of the logging-free configuration store

  // Deletes what the slots hold, in slot order, and empties them. Unload does this; tests call
  // it to start from no singletons.
  void DeleteAll();
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_SINGLETON_MANAGER_H

// Config's two process-wide instances and their slots in the singleton manager.
#include <new>

#include "Config.h"
#include "config/config_paths.h"
#include "logging/log_levels.h"
#include "logging/singleton_manager.h"

namespace Tavro_KVO_Util {

Config* Config::mThisInstance = nullptr;
Config* Config::mThisInstanceNoLogging = nullptr;

Config* Config::GetInstance(bool logging) { return GetInstance(logging, false); }

Config* Config::GetInstance(bool logging, bool writable) {
  SingletonManager& slots = SingletonManager::Instance();
  if (logging) {
    if (mThisInstance != nullptr && mThisInstance->mWritable == writable) return mThisInstance;
    if (mThisInstance != nullptr) {
      slots.mConfig = nullptr;
      delete mThisInstance;  // nulls both statics
    }
    mThisInstance = new (std::nothrow) Config(true, writable);
    slots.mConfig = mThisInstance;
    return mThisInstance;
  }

  if (mThisInstanceNoLogging != nullptr && mThisInstanceNoLogging->mWritable == writable) {
    return mThisInstanceNoLogging;
  }
  if (mThisInstanceNoLogging == nullptr) {
    mThisInstanceNoLogging = new (std::nothrow) Config(false, writable);
    slots.mConfigNoLogging = mThisInstanceNoLogging;
    return mThisInstanceNoLogging;
  }
  // Replacement of the non-logging instance: the new one goes into the logging instance's slot,
  // not its own, and that slot's old content is forgotten. Kept as the product has always done
  // it; unload still deletes the new instance through that slot.
  slots.mConfigNoLogging = nullptr;
  delete mThisInstanceNoLogging;  // nulls both statics
  slots.mConfig = nullptr;
  mThisInstanceNoLogging = new (std::nothrow) Config(false, writable);
  slots.mConfig = mThisInstanceNoLogging;
  return mThisInstanceNoLogging;
}

Config* Config::GetInstance(const wchar_t* const fileName, bool writable) {
  if (mThisInstance == nullptr) {
    mThisInstance = new (std::nothrow) Config(true, writable);
    SingletonManager::Instance().mConfig = mThisInstance;
    if (mThisInstance == nullptr) return nullptr;
  }
  Config& config = *mThisInstance;
  const std::wstring previous = config.mConfigFile;
  const std::wstring wanted = std::wstring(config.mConfigDir) + (fileName != nullptr ? fileName : L"");
  if (!internal::CopyPath(config.mConfigFile, wanted)) {
    config.LogAlways(internal::kLevelError, __LINE__,
                     L"Config::GetInstance - the configuration path is too long: %s", wanted.c_str());
    return mThisInstance;
  }
  if (wanted != previous) config.mForceParse = true;  // parsed at the next Reload(false)
  return mThisInstance;
}

}  // namespace Tavro_KVO_Util

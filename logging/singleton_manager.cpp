#include "logging/singleton_manager.h"

#include "Config.h"
#include "Logger.h"

namespace Tavro_KVO_Util {
namespace {

// Constructed at load, destroyed at unload.
SingletonManager gSingletonManager;

}  // namespace

SingletonManager& SingletonManager::Instance() { return gSingletonManager; }

SingletonManager::~SingletonManager() { DeleteAll(); }

void SingletonManager::DeleteAll() {
  // Destructors null the classes' statics, so take every pointer out of its slot first.
  Logger* const logger = mLogger;
  Config* const config = mConfig;
  Config* const configNoLogging = mConfigNoLogging;
  mLogger = nullptr;
  mConfig = nullptr;
  mConfigNoLogging = nullptr;
  delete logger;
  delete config;
  delete configNoLogging;
}

}  // namespace Tavro_KVO_Util

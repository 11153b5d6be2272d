#include "logging/singleton_manager.h"

#include "Config.h"

namespace Tavro_KVO_Util {
namespace {

// Constructed at load, destroyed at unload.
SingletonManager gSingletonManager;

}  // namespace

SingletonManager& SingletonManager::Instance() { return gSingletonManager; }

SingletonManager::~SingletonManager() { DeleteAll(); }

void SingletonManager::DeleteAll() {
  // Each destructor nulls Config's statics, so take every pointer out of its slot first.
  Config* const config = mConfig;
  Config* const configNoLogging = mConfigNoLogging;
  mConfig = nullptr;
  mConfigNoLogging = nullptr;
  delete config;
  delete configNoLogging;
}

}  // namespace Tavro_KVO_Util

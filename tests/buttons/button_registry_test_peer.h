// White-box access to the button-action registries: swap their lock for one that refuses, and
// take away their map or lock as a failed construction would leave them.
#ifndef TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_REGISTRY_TEST_PEER_H
#define TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_REGISTRY_TEST_PEER_H

#include "OsLockableObject.h"

namespace Tavro_KVO_Util {

class ButtonRegistryTestPeer {
 public:
  // Puts `lock` in place of the registry's lock and returns the one it had; the caller then owns
  // that one and must swap it back before the registry goes (the registry deletes its lock).
  template <typename Registry>
  static OsLockableObject* SwapLock(Registry& registry, OsLockableObject* lock) {
    OsLockableObject* previous = registry.mCritSect;
    registry.mCritSect = lock;
    return previous;
  }

  // Leaves the registry as a constructor whose lock allocation failed would.
  template <typename Registry>
  static void DropLock(Registry& registry) {
    delete registry.mCritSect;
    registry.mCritSect = nullptr;
  }

  // Leaves the registry as a constructor whose map allocation failed would.
  template <typename Registry>
  static void DropMap(Registry& registry) {
    for (auto& entry : *registry.mButActMap) delete entry.second;
    delete registry.mButActMap;
    registry.mButActMap = nullptr;
  }

  template <typename Registry>
  static bool HasLock(const Registry& registry) {
    return registry.mCritSect != nullptr;
  }
  template <typename Registry>
  static bool HasMap(const Registry& registry) {
    return registry.mButActMap != nullptr;
  }
};

namespace testing {

// For the life of a scope the registry works with `lock` instead of its own.
template <typename Registry>
class ScopedLockSwap {
 public:
  ScopedLockSwap(Registry& registry, OsLockableObject& lock)
      : mRegistry(registry), mOwn(ButtonRegistryTestPeer::SwapLock(registry, &lock)) {}
  ~ScopedLockSwap() { ButtonRegistryTestPeer::SwapLock(mRegistry, mOwn); }
  ScopedLockSwap(const ScopedLockSwap&) = delete;
  ScopedLockSwap& operator=(const ScopedLockSwap&) = delete;

 private:
  Registry& mRegistry;
  OsLockableObject* mOwn;
};

}  // namespace testing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_REGISTRY_TEST_PEER_H

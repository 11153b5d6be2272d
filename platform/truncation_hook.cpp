#include "platform/truncation_hook.h"

#include <atomic>

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<void (*)()> gHook{nullptr};

}  // namespace

void SetAfterTruncationHookForTesting(void (*hook)()) { gHook.store(hook); }

void RunAfterTruncationHook() {
  if (void (*hook)() = gHook.load(std::memory_order_relaxed)) hook();
}

}  // namespace Tavro_KVO_Util::platform

#include "logging/free_space_probe.h"

#include <atomic>

#include "platform/log_file.h"

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<bool> gFixed{false};
std::atomic<unsigned long long> gFixedBytes{0};

}  // namespace

bool ProbeFreeDiskSpace(const std::wstring& location, unsigned long long& freeBytes) {
  if (gFixed.load(std::memory_order_acquire)) {
    freeBytes = gFixedBytes.load(std::memory_order_relaxed);
    return true;
  }
  return platform::FreeDiskSpace(location, freeBytes);
}

FreeSpaceForTesting::FreeSpaceForTesting(unsigned long long freeBytes) {
  Set(freeBytes);
  gFixed.store(true, std::memory_order_release);
}

FreeSpaceForTesting::~FreeSpaceForTesting() { gFixed.store(false, std::memory_order_release); }

void FreeSpaceForTesting::Set(unsigned long long freeBytes) {
  gFixedBytes.store(freeBytes, std::memory_order_relaxed);
}

}  // namespace Tavro_KVO_Util::internal

#include "image/destination_copy.h"

#include <atomic>
#include <cstdint>
#include <new>

#include "image/image_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<bool> gAllocationFails{false};

unsigned char* AllocateDestination(unsigned long length) {
  if (gAllocationFails.load()) return nullptr;
  return new (std::nothrow) unsigned char[length];
}

}  // namespace

bool CopyDestination(platform::ImageWorkspace& workspace, const wchar_t* area, unsigned char*& dst,
                     unsigned long* dstLen) {
  // Only the low 32 bits: the length is a 32-bit unsigned long on Windows, where callers live.
  *dstLen = static_cast<std::uint32_t>(workspace.DestinationSize());
  dst = AllocateDestination(*dstLen);
  if (dst == nullptr) {
    ReportImage(area, kLevelError, __LINE__, L"Destination buffer is NULL!");
    // The storage and streams stay unreleased on this path, as they always have.
    workspace.LeaveStorageUnreleased();
    return false;
  }
  if (!workspace.RewindDestination()) return false;  // dst stays set: the caller frees it
  ReportImage(area, kLevelInfo, __LINE__, L"Setting Seek pointer success..Reading from Destination Stream");
  workspace.ReadDestination(dst, *dstLen);
  return true;
}

DestinationAllocationFailureForTesting::DestinationAllocationFailureForTesting() {
  gAllocationFails.store(true);
}

DestinationAllocationFailureForTesting::~DestinationAllocationFailureForTesting() {
  gAllocationFails.store(false);
}

}  // namespace Tavro_KVO_Util::internal

// No OS calls: the fault and the decoding limit a test asked for, shared by both back ends.
#include "platform/image_faults.h"

#include <atomic>

#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<ImageFault> gFault{ImageFault::kNone};
std::atomic<std::uint64_t> gPixelLimit{ImageUtil::kMaxLinuxPixels};

}  // namespace

ImageFaultForTesting::ImageFaultForTesting(ImageFault fault) : mPrevious(gFault.exchange(fault)) {}

ImageFaultForTesting::~ImageFaultForTesting() { gFault.store(mPrevious); }

bool ImageFaultInjected(ImageFault fault) {
  return fault != ImageFault::kNone && gFault.load(std::memory_order_relaxed) == fault;
}

std::uint64_t DecodedPixelLimit() { return gPixelLimit.load(std::memory_order_relaxed); }

DecodedPixelLimitForTesting::DecodedPixelLimitForTesting(std::uint64_t pixels)
    : mPrevious(gPixelLimit.exchange(pixels)) {}

DecodedPixelLimitForTesting::~DecodedPixelLimitForTesting() { gPixelLimit.store(mPrevious); }

}  // namespace Tavro_KVO_Util::platform

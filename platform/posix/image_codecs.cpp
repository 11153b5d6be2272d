#include "platform/image_codecs.h"

#include <new>

#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {
namespace {

// Any non-zero value: libvips has no per-object start, so the token only says "started".
constexpr std::uintptr_t kStartedToken = 1;

}  // namespace

std::uintptr_t StartImaging() { return VipsStarted() ? kStartedToken : 0; }

// Libvips stays started for the rest of the process (see VipsStarted).
void StopImaging(std::uintptr_t /*token*/) {}

EncoderListStatus ListImageEncoders(std::vector<ImageEncoder>& encoders) {
  encoders.clear();
  if (!VipsStarted()) return EncoderListStatus::kSizeIsZero;
  try {
    for (const VipsSaver& saver : VipsSavers()) {
      if (VipsSaverAvailable(saver)) encoders.push_back({saver.mimeType, saver.clsid});
    }
  } catch (const std::bad_alloc&) {
    encoders.clear();
    return EncoderListStatus::kNoMemory;
  }
  return encoders.empty() ? EncoderListStatus::kSizeIsZero : EncoderListStatus::kListed;
}

}  // namespace Tavro_KVO_Util::platform

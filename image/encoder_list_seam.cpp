#include "image/encoder_list_seam.h"

#include <atomic>

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<EncoderListForTesting*> gOverride{nullptr};

}  // namespace

EncoderListForTesting::EncoderListForTesting(platform::EncoderListStatus listStatus,
                                             std::vector<platform::ImageEncoder> listed)
    : status(listStatus), encoders(std::move(listed)), mPrevious(gOverride.exchange(this)) {}

EncoderListForTesting::~EncoderListForTesting() { gOverride.store(mPrevious); }

platform::EncoderListStatus ListEncodersForLookup(std::vector<platform::ImageEncoder>& encoders) {
  if (const EncoderListForTesting* replaced = gOverride.load()) {
    encoders = replaced->encoders;
    return replaced->status;
  }
  return platform::ListImageEncoders(encoders);
}

}  // namespace Tavro_KVO_Util::internal

// Test seam: replaces the system's encoder list that ImageUtil's lookup sees.
//
// The encoder list of a real system is never empty and its allocation does not fail; this lets
// the lookup's failure texts and a missing encoder be shown on any machine. Not for production.
#ifndef TAVROMEDIVANEUTIL_IMAGE_ENCODER_LIST_SEAM_H
#define TAVROMEDIVANEUTIL_IMAGE_ENCODER_LIST_SEAM_H

#include <vector>

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::internal {

class EncoderListForTesting {
 public:
  EncoderListForTesting(platform::EncoderListStatus status, std::vector<platform::ImageEncoder> encoders);
  ~EncoderListForTesting();
  EncoderListForTesting(const EncoderListForTesting&) = delete;
  EncoderListForTesting& operator=(const EncoderListForTesting&) = delete;

  platform::EncoderListStatus status;
  std::vector<platform::ImageEncoder> encoders;

 private:
  EncoderListForTesting* mPrevious;
};

// The system's list, or the one a test put in its place.
platform::EncoderListStatus ListEncodersForLookup(std::vector<platform::ImageEncoder>& encoders);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_IMAGE_ENCODER_LIST_SEAM_H

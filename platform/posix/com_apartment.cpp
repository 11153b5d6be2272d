#include "platform/com_apartment.h"

#include "platform/image_faults.h"

namespace Tavro_KVO_Util::platform {

// Linux has no COM: every thread can convert images as it is, and there is nothing to undo. Only
// the test seam makes the start fail, so that the callers' failure path runs on Linux too.
ComStart StartComApartment() {
  if (ImageFaultInjected(ImageFault::kComStart)) return ComStart::kFailed;
  return ComStart::kNotNeeded;
}

void EndComApartment() {}

}  // namespace Tavro_KVO_Util::platform

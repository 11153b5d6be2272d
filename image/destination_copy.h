// The last steps of a conversion: hand the encoded destination stream to the caller as a new[]
// array.
#ifndef TAVROMEDIVANEUTIL_IMAGE_DESTINATION_COPY_H
#define TAVROMEDIVANEUTIL_IMAGE_DESTINATION_COPY_H

#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::internal {

// Stores the low 32 bits of the destination's size in *dstLen at once, allocates `dst` with
// new[] (nothrow), rewinds the stream and reads it into `dst`. Logs in `area`.
// Returns true when the bytes were read. When the allocation yields null it logs "Destination
// buffer is NULL!" and leaves the workspace's storage unreleased (as it has always done); when
// the rewind fails `dst` stays allocated and the caller must free it.
bool CopyDestination(platform::ImageWorkspace& workspace, const wchar_t* area, unsigned char*& dst,
                     unsigned long* dstLen);

// Test seam: while an object lives, the destination array's allocation yields null.
class DestinationAllocationFailureForTesting {
 public:
  DestinationAllocationFailureForTesting();
  ~DestinationAllocationFailureForTesting();
  DestinationAllocationFailureForTesting(const DestinationAllocationFailureForTesting&) = delete;
  DestinationAllocationFailureForTesting& operator=(const DestinationAllocationFailureForTesting&) = delete;
};

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_IMAGE_DESTINATION_COPY_H

// The first steps that SetImageFormat and SetImageDimensions share: check the source, open the
// working place and write the source bytes into it, each failure logged with its own text.
#ifndef TAVROMEDIVANEUTIL_IMAGE_SOURCE_PREPARATION_H
#define TAVROMEDIVANEUTIL_IMAGE_SOURCE_PREPARATION_H

#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::internal {

// What differs between the two operations.
struct OperationTexts {
  const wchar_t* area;            // area of every entry but "GetTempPath FAILED!"
  const wchar_t* opening;         // the INFO line that opens the operation
  const wchar_t* storageFailure;  // the ERROR line when the compound file cannot be created
};

// Logs the opening line, then checks `src`/`srcLen`, `dstLen` and `comUsable`, opens `workspace`
// and writes the source into it. Returns false (after logging why) when any step fails.
bool PrepareSource(const OperationTexts& texts, bool comUsable, const unsigned char* src,
                   unsigned long srcLen, const unsigned long* dstLen, platform::ImageWorkspace& workspace);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_IMAGE_SOURCE_PREPARATION_H

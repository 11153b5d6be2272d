// ImageUtil::CopyToClipBoard: a BMP file onto the clipboard as a device-independent bitmap.
#include "ImageUtil.h"
#include "image/image_log.h"
#include "logging/log_levels.h"
#include "platform/clipboard.h"

namespace Tavro_KVO_Util {

using internal::kCopyToClipBoardArea;
using internal::ReportImage;

namespace {

// The BITMAPFILEHEADER that a BMP file starts with and CF_DIB data does not have.
constexpr unsigned long kBmpFileHeaderSize = 14;

}  // namespace

bool ImageUtil::CopyToClipBoard(unsigned char* src, unsigned long srcLen) {
  ReportImage(kCopyToClipBoardArea, internal::kLevelInfo, __LINE__, L"***Copying Image to Clipboard***");
  if (src == nullptr || srcLen == 0) {
    ReportImage(kCopyToClipBoardArea, internal::kLevelError, __LINE__, L"Source buffer is NULL or empty!");
    return false;
  }
  if (srcLen < kBmpFileHeaderSize) {
    ReportImage(kCopyToClipBoardArea, internal::kLevelError, __LINE__,
                L"Source buffer is shorter than a BMP file header!");
    return false;
  }
  std::wstring reason;
  const platform::ClipboardPlacement placement =
      platform::PlaceDibOnClipboard(src + kBmpFileHeaderSize, srcLen - kBmpFileHeaderSize, reason);
  if (placement == platform::ClipboardPlacement::kPlaced ||
      placement == platform::ClipboardPlacement::kRefused) {
    ReportImage(kCopyToClipBoardArea, internal::kLevelInfo, __LINE__, L"Clipboard Open SUCCESS");
  }
  switch (placement) {
    case platform::ClipboardPlacement::kPlaced:
      return true;
    case platform::ClipboardPlacement::kRefused:
      ReportImage(kCopyToClipBoardArea, internal::kLevelError, __LINE__, L"SetClipboardData FAILED!");
      return false;
    case platform::ClipboardPlacement::kNotOpened:
      // A busy clipboard is not the caller's failure: programs rely on true here.
      ReportImage(kCopyToClipBoardArea, internal::kLevelWarn, __LINE__, L"Clipboard Open FAILED");
      return true;
    case platform::ClipboardPlacement::kNoClipboard:
      ReportImage(kCopyToClipBoardArea, internal::kLevelError, __LINE__,
                  L"No system clipboard to copy to: %s", reason.c_str());
      return false;
  }
  return false;
}

}  // namespace Tavro_KVO_Util

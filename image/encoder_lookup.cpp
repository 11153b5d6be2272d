// ImageUtil::GetEncoderClsid: the installed encoder for a MIME type.
#include "ImageUtil.h"
#include "image/encoder_list_seam.h"
#include "image/image_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {

using internal::kGetEncoderClsidArea;
using internal::kLevelError;
using internal::kLevelInfo;
using internal::ReportImage;

int ImageUtil::GetEncoderClsid(const wchar_t* mimeType, ImageEncoderClsid* clsid) {
  ReportImage(kGetEncoderClsidArea, kLevelInfo, __LINE__,
              L"***Getting GUID/CLSID according to format type::Format = %s***", mimeType);
  std::vector<platform::ImageEncoder> encoders;
  switch (internal::ListEncodersForLookup(encoders)) {
    case platform::EncoderListStatus::kSizeIsZero:
      ReportImage(kGetEncoderClsidArea, kLevelError, __LINE__,
                  L"Size of array of ImageCodecInfo objects is zero!");
      return -1;
    case platform::EncoderListStatus::kNoMemory:
      // The blank before the exclamation mark is the text support tools know.
      ReportImage(kGetEncoderClsidArea, kLevelError, __LINE__,
                  L"Allocation of memory for ImageCodecInfo object FAILED !");
      return -1;
    case platform::EncoderListStatus::kListed:
      break;
  }
  // Exact, case-sensitive, whole-string comparison; the first match wins.
  for (std::size_t index = 0; index < encoders.size(); ++index) {
    if (encoders[index].mimeType == mimeType) {
      *clsid = encoders[index].clsid;
      ReportImage(kGetEncoderClsidArea, kLevelInfo, __LINE__, L"Get GUID/CLSID for format %s SUCCESS",
                  mimeType);
      return static_cast<int>(index);
    }
  }
  ReportImage(kGetEncoderClsidArea, kLevelError, __LINE__, L"Get GUID/CLSID for format %s FAILED!", mimeType);
  return -1;
}

}  // namespace Tavro_KVO_Util

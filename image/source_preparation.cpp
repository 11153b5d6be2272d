#include "image/source_preparation.h"

#include "image/image_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util::internal {

bool PrepareSource(const OperationTexts& texts, bool comUsable, const unsigned char* src,
                   unsigned long srcLen, const unsigned long* dstLen, platform::ImageWorkspace& workspace) {
  ReportImage(texts.area, kLevelInfo, __LINE__, texts.opening);
  if (src == nullptr || srcLen == 0) {
    ReportImage(texts.area, kLevelError, __LINE__, L"Source buffer is NULL or empty!");
    return false;
  }
  // Without somewhere to store the length the caller could not free the output safely.
  if (dstLen == nullptr) {
    ReportImage(texts.area, kLevelError, __LINE__, L"Destination length pointer is NULL!");
    return false;
  }
  if (!comUsable) {
    ReportImage(texts.area, kLevelError, __LINE__, L"CoInitialize FAILED!");
    return false;
  }
  using OpenStatus = platform::ImageWorkspace::OpenStatus;
  switch (workspace.Open()) {
    case OpenStatus::kOpen:
      break;
    case OpenStatus::kNoTempPath:
      // Always under the conversion's area, resizing included: support tools know it there.
      ReportImage(kSetImageFormatArea, kLevelError, __LINE__, L"GetTempPath FAILED!");
      return false;
    case OpenStatus::kNoStorage:
      ReportImage(texts.area, kLevelError, __LINE__, texts.storageFailure);
      return false;
    case OpenStatus::kNoSourceStream:
      ReportImage(texts.area, kLevelError, __LINE__, L"Failed to create Source Stream!");
      return false;
    case OpenStatus::kNoDestinationStream:
      ReportImage(texts.area, kLevelError, __LINE__, L"Failed to create Destination Stream!");
      return false;
  }
  if (!workspace.WriteSource(src, srcLen)) {
    ReportImage(texts.area, kLevelError, __LINE__, L"Failed to write into Source Stream!");
    return false;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::internal

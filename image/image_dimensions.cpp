// ImageUtil::SetImageDimensions: stretch to an exact size, always as BMP.
#include "ImageUtil.h"

#include <cstdint>

#include "image/destination_copy.h"
#include "image/image_log.h"
#include "image/source_preparation.h"
#include "logging/log_levels.h"
#include "platform/image_workspace.h"

namespace Tavro_KVO_Util {
namespace {

bool StretchSizeAllowed(const tagSIZE& size) {
  return size.cx >= 1 && size.cy >= 1 &&
         static_cast<std::uint64_t>(size.cx) * static_cast<std::uint64_t>(size.cy) <=
             ImageUtil::kMaxStretchPixels;
}

}  // namespace

bool ImageUtil::SetImageDimensions(unsigned char* src, unsigned long srcLen, unsigned char*& dst,
                                   unsigned long* dstLen, tagSIZE size) {
  constexpr const wchar_t* kArea = internal::kSetImageDimensionsArea;
  platform::ImageWorkspace workspace;
  const internal::OperationTexts texts{kArea, L"***Setting Image Dimensions***",
                                       L"Failed to create TavroImageDimension storage file!"};
  if (!internal::PrepareSource(texts, comUsable, src, srcLen, dstLen, workspace)) return false;

  // Decoding, drawing and saving failures are not reported here: callers have always seen them
  // as a short or empty BMP.
  workspace.LoadSource();
  if (StretchSizeAllowed(size)) {
    workspace.StretchSource(size.cx, size.cy);
  } else {
    // GDI+ refuses a width or height below 1 itself, and the bound keeps a mistyped size from
    // asking either system for gigabytes; both then come back as the empty BMP of a failed draw.
    internal::ReportImage(kArea, internal::kLevelWarn, __LINE__,
                          L"Size %dx%d cannot be made: width and height must be 1 or more, and at most "
                          L"100000000 pixels in all",
                          static_cast<int>(size.cx), static_cast<int>(size.cy));
  }
  ImageEncoderClsid clsid{};
  GetEncoderClsid(L"image/bmp", &clsid);
  workspace.SaveStretched(clsid);
  return internal::CopyDestination(workspace, kArea, dst, dstLen);
}

}  // namespace Tavro_KVO_Util

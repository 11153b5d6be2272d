// ImageUtil::SetImageDimensions: stretch to an exact size, always as BMP.
#include "ImageUtil.h"
#include "image/destination_copy.h"
#include "image/image_log.h"
#include "image/source_preparation.h"
#include "platform/image_workspace.h"

namespace Tavro_KVO_Util {

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
  workspace.StretchSource(size.cx, size.cy);
  ImageEncoderClsid clsid{};
  GetEncoderClsid(L"image/bmp", &clsid);
  workspace.SaveStretched(clsid);
  return internal::CopyDestination(workspace, kArea, dst, dstLen);
}

}  // namespace Tavro_KVO_Util

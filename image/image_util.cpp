// ImageUtil's lifetime and SetImageFormat.
#include "ImageUtil.h"

#include "image/destination_copy.h"
#include "image/image_log.h"
#include "image/output_encoder.h"
#include "image/source_preparation.h"
#include "logging/log_levels.h"
#include "platform/com_apartment.h"
#include "platform/image_codecs.h"
#include "platform/image_workspace.h"

namespace Tavro_KVO_Util {

using internal::kLevelError;
using internal::kLevelInfo;
using internal::ReportImage;

ImageUtil::ImageUtil() : gdiplusToken(0), comInitialized(false), comUsable(true) {
  gdiplusToken = platform::StartImaging();
  switch (platform::StartComApartment()) {
    case platform::ComStart::kInitialized:
      comInitialized = true;
      break;
    case platform::ComStart::kOtherModel:  // usable as the thread has it; not ours to undo
    case platform::ComStart::kNotNeeded:
      break;
    case platform::ComStart::kFailed:
      comUsable = false;
      ReportImage(internal::kImageArea, kLevelError, __LINE__, L"CoInitialize FAILED!");
      break;
  }
}

ImageUtil::~ImageUtil() {
  platform::StopImaging(gdiplusToken);
  if (comInitialized) platform::EndComApartment();
}

ImageUtil& ImageUtil::operator=(const ImageUtil& other) = default;

bool ImageUtil::SetImageFormat(unsigned char* src, unsigned long srcLen, unsigned char*& dst,
                               unsigned long* dstLen, mvImageFormat format) {
  constexpr const wchar_t* kArea = internal::kSetImageFormatArea;
  platform::ImageWorkspace workspace;
  const internal::OperationTexts texts{kArea, L"***Setting Image Format***",
                                       L"Failed to create TavroImageFomat storage file!"};
  if (!internal::PrepareSource(texts, comUsable, src, srcLen, dstLen, workspace)) return false;

  workspace.LoadSource();  // a source that does not decode shows up as a failed save
  const internal::OutputEncoder encoder = internal::ChooseOutputEncoder(format.imageType);
  if (encoder.label != nullptr) {
    ReportImage(kArea, kLevelInfo, __LINE__, L"Checking Destination Image format..Format=%s", encoder.label);
  }
  // Not checked: a missing encoder leaves this zero, and the save then fails.
  ImageEncoderClsid clsid{};
  GetEncoderClsid(encoder.mimeType, &clsid);

  platform::EncoderParameter parameter{};
  const platform::EncoderParameter* parameterOrNull = nullptr;
  if (encoder.parameter == internal::EncoderParameterKind::kQuality) {
    parameter = {platform::kEncoderQuality, internal::JpegQuality(format)};
    parameterOrNull = &parameter;
  } else if (encoder.parameter == internal::EncoderParameterKind::kColorDepth) {
    parameter = {platform::kEncoderColorDepth, internal::TiffColorDepth(workspace.SourcePixelFormat())};
    parameterOrNull = &parameter;
  }
  if (!workspace.SaveSource(clsid, parameterOrNull)) {
    ReportImage(kArea, kLevelError, __LINE__, L"pSrcImage->Save() returns ERROR!");
    return false;
  }
  return internal::CopyDestination(workspace, kArea, dst, dstLen);
}

}  // namespace Tavro_KVO_Util

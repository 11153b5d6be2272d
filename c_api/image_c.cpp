// The image functions of the C interface. Each call uses an ImageUtil of its own on the calling
// thread, so that the thread's COM state is left as the caller had it; the imaging library itself
// is kept started for the process from the first call on, so that the ImageUtil of a call only
// counts a reference instead of starting and stopping the whole library every time.
#include <climits>
#include <cstdint>

#include "ImageUtil.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "platform/image_codecs.h"

namespace {

using Tavro_KVO_Util::ImageUtil;
using Tavro_KVO_Util::c_api::CopyForCaller;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;
using Tavro_KVO_Util::c_api::ReportBadArgument;

// The first call starts the imaging library once more than any ImageUtil does and never stops
// it: GDI+ may not be shut down while the library unloads (under the loader lock), and the
// process's end releases it. Libvips stays started for the process anyway.
void KeepImagingStarted() {
  static const std::uintptr_t kToken = Tavro_KVO_Util::platform::StartImaging();
  (void)kToken;
}

// The class's lengths are unsigned long: 32 bits on Windows.
bool SourceFits(const char* function, size_t length) {
  if (length <= ULONG_MAX) return true;
  ReportBadArgument(function, "source_length", "is larger than the image functions take");
  return false;
}

// What the class leaves in the length when it did not write it: every failure but the output's
// allocation ("Destination buffer is NULL!") and its rewind returns before the length is stored.
constexpr unsigned long kLengthNotStored = ULONG_MAX;

// The class's new[] array handed over as memory tmu_free releases; the array is freed either way.
tmu_status HandOver(bool converted, unsigned char* made, unsigned long madeLength, uint8_t** output,
                    size_t* output_length) {
  struct ArrayOwner {
    unsigned char* bytes;
    ~ArrayOwner() { delete[] bytes; }
  } owner{made};
  // The one failure with a stored length and no array: the output could not be allocated.
  if (!converted && made == nullptr && madeLength != kLengthNotStored) return TMU_OUT_OF_MEMORY;
  if (!converted) return TMU_FAILED;
  if (made == nullptr || madeLength == 0) return TMU_OK;  // the class's empty output
  void* copy = CopyForCaller(made, madeLength);
  if (copy == nullptr) return TMU_OUT_OF_MEMORY;
  *output = static_cast<uint8_t*>(copy);
  *output_length = madeLength;
  return TMU_OK;
}

bool OutputsPresent(const char* function, uint8_t** output, size_t* output_length) {
  if (!Present(function, "output", output) || !Present(function, "output_length", output_length))
    return false;
  *output = nullptr;
  *output_length = 0;
  return true;
}

// The checks and hand-over around one conversion; `convert` calls the class.
template <typename Conversion>
tmu_status Convert(const char* function, const void* source, size_t source_length, uint8_t** output,
                   size_t* output_length, Conversion&& convert) {
  return Guarded(function, [&]() -> tmu_status {
    if (!Present(function, "source", source) || !OutputsPresent(function, output, output_length) ||
        !SourceFits(function, source_length)) {
      return TMU_INVALID_ARGUMENT;
    }
    KeepImagingStarted();
    ImageUtil images;
    unsigned char* made = nullptr;
    unsigned long madeLength = kLengthNotStored;
    const bool converted = convert(images, static_cast<unsigned char*>(const_cast<void*>(source)),
                                   static_cast<unsigned long>(source_length), made, &madeLength);
    return HandOver(converted, made, madeLength, output, output_length);
  });
}

}  // namespace

extern "C" {

tmu_status tmu_image_convert(const void* source, size_t source_length, int image_type, const uint32_t* params,
                             uint32_t param_count, uint8_t** output, size_t* output_length) {
  const mvImageFormat format{static_cast<mvImageType>(image_type), const_cast<std::uint32_t*>(params),
                             param_count};
  return Convert("tmu_image_convert", source, source_length, output, output_length,
                 [&](ImageUtil& images, unsigned char* src, unsigned long srcLen, unsigned char*& made,
                     unsigned long* madeLength) {
                   return images.SetImageFormat(src, srcLen, made, madeLength, format);
                 });
}

tmu_status tmu_image_resize(const void* source, size_t source_length, int32_t width, int32_t height,
                            uint8_t** output, size_t* output_length) {
  return Convert("tmu_image_resize", source, source_length, output, output_length,
                 [&](ImageUtil& images, unsigned char* src, unsigned long srcLen, unsigned char*& made,
                     unsigned long* madeLength) {
                   return images.SetImageDimensions(src, srcLen, made, madeLength, tagSIZE{width, height});
                 });
}

tmu_status tmu_image_to_clipboard(const void* source, size_t source_length) {
  return Guarded("tmu_image_to_clipboard", [&]() -> tmu_status {
    if (!Present("tmu_image_to_clipboard", "source", source) ||
        !SourceFits("tmu_image_to_clipboard", source_length))
      return TMU_INVALID_ARGUMENT;
    KeepImagingStarted();
    ImageUtil images;
    return images.CopyToClipBoard(static_cast<unsigned char*>(const_cast<void*>(source)),
                                  static_cast<unsigned long>(source_length))
               ? TMU_OK
               : TMU_FAILED;
  });
}

}  // extern "C"

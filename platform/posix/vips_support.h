// What the libvips back ends share: the one start of libvips per process, owned images, and the
// savers offered in place of GDI+'s encoders.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SUPPORT_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SUPPORT_H

#include <vips/vips.h>

#include <array>
#include <initializer_list>
#include <memory>

#include "ImageUtil.h"

namespace Tavro_KVO_Util::platform {

// Starts libvips the first time any thread asks (later calls wait for that start and share its
// outcome); true when libvips is usable. Every pipeline then runs on one worker thread (see the
// source for the libvips fault this avoids). Libvips is never shut down: other objects of the process,
// on other threads, may still be converting, and its shut-down cannot be undone.
bool VipsStarted();

struct VipsImageUnref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
// One reference to a libvips image.
using VipsImagePtr = std::unique_ptr<VipsImage, VipsImageUnref>;

// Takes the image an operation wrote to `out` when it returned `status` 0; null (and the
// libvips error text cleared, so that the process-wide buffer does not grow) otherwise.
// `out` is taken by reference so that one expression can hold both the operation and this call,
// VipsResult(vips_copy(in, &out, nullptr), out): `out` is read only once the operation has run
// (a copy would be taken in unspecified order, possibly before the operation set it).
VipsImagePtr VipsResult(int status, VipsImage*& out);

// Forgets the libvips error text after a failure the caller has handled.
void ForgetVipsError();

// Another reference to `image`.
VipsImagePtr Ref(VipsImage* image);

// The image with libvips's interpretation set to `interpretation`, pixels unchanged.
VipsImagePtr Interpreted(VipsImage* in, VipsInterpretation interpretation);

// `count` bands of `in` from band `first`.
VipsImagePtr Bands(VipsImage* in, int first, int count);

// The bands of up to four images, joined in order; null for more.
VipsImagePtr Joined(std::initializer_list<VipsImage*> parts);

enum class VipsSaverKind { kBmp, kJpeg, kGif, kTiff, kPng };

struct VipsSaver {
  VipsSaverKind kind;
  const wchar_t* mimeType;  // as GDI+ names the format
  ImageEncoderClsid clsid;  // GDI+'s class identifier of its encoder for the format
  const char* operation;    // the libvips saver; null for BMP, which bmp_encoder.h writes
};

// The savers, in the order GDI+ lists its encoders: BMP, JPEG, GIF, TIFF, PNG.
const std::array<VipsSaver, 5>& VipsSavers();

// True when `saver` can be used: this libvips build has its operation (BMP always can).
// Libvips must have started.
bool VipsSaverAvailable(const VipsSaver& saver);

// The available saver whose class identifier is `clsid`; null when there is none.
const VipsSaver* FindVipsSaver(const ImageEncoderClsid& clsid);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SUPPORT_H

#include "platform/posix/vips_support.h"

#include <cstring>
#include <mutex>

namespace Tavro_KVO_Util::platform {
namespace {

// Decoded images are not shared between conversions, so the operation cache would only keep
// images (and their pixels) alive after their conversion ended.
constexpr int kCachedOperations = 0;

// One worker thread per pipeline. With more, a damaged image can abort the whole process: when one
// worker's tile fails, libvips 8.14 marks its pool stopped without holding the pool's allocation
// lock while another worker, already past its own check under that lock, asserts the pool is not
// stopped (threadpool.c, vips_worker_allocate: "assertion failed: (!pool->stop)"). Each pipeline
// then has exactly one worker, since a pool never grows beyond the concurrency set here, and no
// second worker can be inside the allocation when the first one fails.
constexpr int kWorkerThreads = 1;

bool StartVipsOnce() {
  if (VIPS_INIT("TavroMedivaneUtil") != 0) {
    ForgetVipsError();
    return false;
  }
  vips_cache_set_max(kCachedOperations);
  vips_concurrency_set(kWorkerThreads);
  return true;
}

// GDI+'s encoder class identifiers differ only in the last byte of Data1.
constexpr ImageEncoderClsid GdiplusEncoder(std::uint32_t data1) {
  return {data1, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
}

const std::array<VipsSaver, 5> kSavers = {{
    {VipsSaverKind::kBmp, L"image/bmp", GdiplusEncoder(0x557cf400), nullptr},
    {VipsSaverKind::kJpeg, L"image/jpeg", GdiplusEncoder(0x557cf401), "jpegsave_buffer"},
    {VipsSaverKind::kGif, L"image/gif", GdiplusEncoder(0x557cf402), "gifsave_buffer"},
    {VipsSaverKind::kTiff, L"image/tiff", GdiplusEncoder(0x557cf405), "tiffsave_buffer"},
    {VipsSaverKind::kPng, L"image/png", GdiplusEncoder(0x557cf406), "pngsave_buffer"},
}};

bool SameClsid(const ImageEncoderClsid& a, const ImageEncoderClsid& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::memcmp(a.Data4, b.Data4, sizeof a.Data4) == 0;
}

}  // namespace

bool VipsStarted() {
  static std::once_flag once;
  static bool started = false;
  std::call_once(once, [] { started = StartVipsOnce(); });
  return started;
}

VipsImagePtr VipsResult(int status, VipsImage*& out) {
  VipsImage* image = out;
  out = nullptr;
  if (status == 0) return VipsImagePtr(image);
  if (image != nullptr) g_object_unref(image);
  ForgetVipsError();
  return nullptr;
}

void ForgetVipsError() { vips_error_clear(); }

const std::array<VipsSaver, 5>& VipsSavers() { return kSavers; }

bool VipsSaverAvailable(const VipsSaver& saver) {
  return saver.operation == nullptr || vips_type_find("VipsOperation", saver.operation) != 0;
}

const VipsSaver* FindVipsSaver(const ImageEncoderClsid& clsid) {
  for (const VipsSaver& saver : kSavers) {
    if (SameClsid(saver.clsid, clsid)) return VipsSaverAvailable(saver) ? &saver : nullptr;
  }
  return nullptr;
}

VipsImagePtr Ref(VipsImage* image) {
  g_object_ref(image);
  return VipsImagePtr(image);
}

VipsImagePtr Interpreted(VipsImage* in, VipsInterpretation interpretation) {
  if (vips_image_get_interpretation(in) == interpretation) return Ref(in);
  VipsImage* out = nullptr;
  return VipsResult(vips_copy(in, &out, "interpretation", interpretation, nullptr), out);
}

VipsImagePtr Bands(VipsImage* in, int first, int count) {
  VipsImage* out = nullptr;
  return VipsResult(vips_extract_band(in, &out, first, "n", count, nullptr), out);
}

VipsImagePtr Joined(std::initializer_list<VipsImage*> parts) {
  VipsImage* in[4] = {};
  if (parts.size() > 4) return nullptr;
  int count = 0;
  for (VipsImage* part : parts) in[count++] = part;
  VipsImage* out = nullptr;
  return VipsResult(vips_bandjoin(in, &out, count, nullptr), out);
}

}  // namespace Tavro_KVO_Util::platform

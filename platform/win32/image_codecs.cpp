#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/image_codecs.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/win32/gdiplus_owners.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

struct FreeDeleter {
  void operator()(void* block) const { std::free(block); }
};

}  // namespace

std::uintptr_t StartImaging() {
  Gdiplus::GdiplusStartupInput input;
  input.GdiplusVersion = 1;
  input.DebugEventCallback = nullptr;
  input.SuppressBackgroundThread = FALSE;
  input.SuppressExternalCodecs = FALSE;
  ULONG_PTR token = 0;
  // The status is not examined, as it never was: a failed start leaves the token 0, and every
  // later GDI+ call then fails on its own.
  Gdiplus::GdiplusStartup(&token, &input, /*output=*/nullptr);
  return token;
}

void StopImaging(std::uintptr_t token) {
  if (token != 0) Gdiplus::GdiplusShutdown(token);
}

EncoderListStatus ListImageEncoders(std::vector<ImageEncoder>& encoders) {
  encoders.clear();
  UINT count = 0;
  UINT size = 0;
  // The status is not examined: a failure leaves the size 0, which is reported below.
  Gdiplus::DllExports::GdipGetImageEncodersSize(&count, &size);
  if (size == 0) return EncoderListStatus::kSizeIsZero;

  // One block of `size` bytes: the entries come first, followed by the strings they point into.
  std::unique_ptr<Gdiplus::ImageCodecInfo, FreeDeleter> info(
      static_cast<Gdiplus::ImageCodecInfo*>(std::malloc(size)));
  if (!info) return EncoderListStatus::kNoMemory;
  // Zeroed so that a failed listing (whose status is not examined either) yields entries with no
  // MIME type, which match nothing, instead of pointers read from uninitialised memory.
  std::memset(info.get(), 0, size);
  Gdiplus::DllExports::GdipGetImageEncoders(count, size, info.get());

  encoders.reserve(count);
  for (UINT i = 0; i < count; ++i) {
    const Gdiplus::ImageCodecInfo& entry = info.get()[i];
    encoders.push_back({entry.MimeType != nullptr ? entry.MimeType : L"", entry.Clsid});
  }
  return EncoderListStatus::kListed;
}

}  // namespace Tavro_KVO_Util::platform

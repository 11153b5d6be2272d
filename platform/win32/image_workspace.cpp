#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/image_workspace.h"

#include <cwchar>
#include <vector>

#include "platform/image_faults.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/gdiplus_owners.h"
#include "platform/win32/windows_include.h"
// <objbase.h> separately: WIN32_LEAN_AND_MEAN leaves the compound-file API out of <windows.h>.
#include <objbase.h>

namespace Tavro_KVO_Util::platform {
namespace {

namespace gdip = Gdiplus::DllExports;

// The first GetTempPathW buffer; a longer folder gets a second call with the length it asks for.
constexpr DWORD kTempPathChars = MAX_PATH;
// Room that the file name adds to the folder: "TavroID", eight hex digits, ".cmp" and the null.
constexpr size_t kNameExtraChars = 50;

constexpr DWORD kStorageMode = STGM_DELETEONRELEASE | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE;
constexpr DWORD kStreamMode = STGM_SHARE_EXCLUSIVE | STGM_READWRITE;
static_assert(kStorageMode == 0x4001012 && kStreamMode == 0x12, "the modes the product has always used");

// Releases each pointer that is not null, in argument order: the storage before its streams, as
// the product has always done.
void ReleaseResources(IStorage* storage, IStream* source, IStream* destination) {
  if (storage != nullptr) storage->Release();
  if (source != nullptr) source->Release();
  if (destination != nullptr) destination->Release();
}

// The temporary folder with its trailing backslash, in a buffer of the length GetTempPathW was
// last given (which sizes the file name's buffer). False when the folder cannot be found.
bool TempFolder(std::vector<wchar_t>& folder) {
  if (ImageFaultInjected(ImageFault::kTempPath)) return false;
  folder.assign(kTempPathChars, L'\0');
  const DWORD length = GetTempPathW(kTempPathChars, folder.data());
  if (length == 0) return false;
  if (length <= kTempPathChars) return true;
  // Too small: `length` is then the size the folder needs, terminating null included.
  folder.assign(length, L'\0');
  return GetTempPathW(length, folder.data()) != 0;
}

IStream* CreateNamedStream(IStorage* storage, const wchar_t* name, ImageFault fault) {
  if (ImageFaultInjected(fault)) return nullptr;
  IStream* stream = nullptr;
  if (FAILED(storage->CreateStream(name, kStreamMode, /*reserved1=*/0, /*reserved2=*/0, &stream)))
    return nullptr;
  return stream;
}

}  // namespace

struct ImageWorkspace::State {
  ComPtr<IStorage> storage;
  ComPtr<IStream> source;
  ComPtr<IStream> destination;
  UniqueGpImage image;
  UniqueGpGraphics graphics;
  UniqueGpBitmap stretched;
  // The last GDI+ status, kept for a debugger: the steps that make GDI+ objects do not report.
  Gdiplus::GpStatus lastStatus = Gdiplus::Ok;
  bool leaveStorageUnreleased = false;

  void ReleaseStorage() { ReleaseResources(storage.release(), source.release(), destination.release()); }
};

ImageWorkspace::ImageWorkspace() : mState(std::make_unique<State>()) {}

ImageWorkspace::~ImageWorkspace() {
  // The GDI+ objects first: the decoded image still reads from the source stream.
  mState->image.reset();
  mState->graphics.reset();
  mState->stretched.reset();
  if (mState->leaveStorageUnreleased) {
    // Leaked on purpose: the "Destination buffer is NULL!" path has always left them (and the file).
    mState->storage.release();
    mState->source.release();
    mState->destination.release();
    return;
  }
  mState->ReleaseStorage();
}

ImageWorkspace::OpenStatus ImageWorkspace::Open() {
  std::vector<wchar_t> folder;
  if (!TempFolder(folder)) return OpenStatus::kNoTempPath;

  std::vector<wchar_t> name(folder.size() + kNameExtraChars, L'\0');
  // %ls, not %s: MinGW's libstdc++ turns on ANSI stdio, where %s in a wide format means char*.
  std::swprintf(name.data(), name.size(), L"%lsTavroID%0X.cmp", folder.data(),
                static_cast<unsigned>(GetCurrentThreadId()));

  IStorage* storage = nullptr;
  if (ImageFaultInjected(ImageFault::kStorage) ||
      FAILED(StgCreateDocfile(name.data(), kStorageMode, /*reserved=*/0, &storage))) {
    return OpenStatus::kNoStorage;
  }
  mState->storage.reset(storage);

  mState->source.reset(CreateNamedStream(storage, L"SourceStream", ImageFault::kSourceStream));
  if (!mState->source) {
    mState->ReleaseStorage();
    return OpenStatus::kNoSourceStream;
  }
  mState->destination.reset(CreateNamedStream(storage, L"DestinationStream", ImageFault::kDestinationStream));
  if (!mState->destination) {
    mState->ReleaseStorage();
    return OpenStatus::kNoDestinationStream;
  }
  return OpenStatus::kOpen;
}

bool ImageWorkspace::WriteSource(const unsigned char* bytes, unsigned long length) {
  if (!mState->source || ImageFaultInjected(ImageFault::kWriteSource)) return false;
  return SUCCEEDED(mState->source.get()->Write(bytes, length, /*pcbWritten=*/nullptr));
}

void ImageWorkspace::LoadSource() {
  Gdiplus::GpImage* image = nullptr;
  mState->lastStatus = gdip::GdipLoadImageFromStream(mState->source.get(), &image);
  mState->image.reset(mState->lastStatus == Gdiplus::Ok ? image : nullptr);
}

std::uint32_t ImageWorkspace::SourcePixelFormat() {
  if (!mState->image) return pixel_format::kUndefined;
  Gdiplus::PixelFormat format = pixel_format::kUndefined;
  gdip::GdipGetImagePixelFormat(mState->image.get(), &format);
  return format;
}

bool ImageWorkspace::SaveSource(const ImageEncoderClsid& encoder, const EncoderParameter* parameter) {
  if (!mState->image) return false;
  Gdiplus::EncoderParameters parameters{};
  ULONG value = 0;
  EncoderParameterBlock block;
  if (parameter != nullptr) {
    value = parameter->value;
    parameters.Count = 1;
    parameters.Parameter[0].Guid = parameter->guid;
    parameters.Parameter[0].NumberOfValues = 1;
    parameters.Parameter[0].Type = Gdiplus::EncoderParameterValueTypeLong;
    parameters.Parameter[0].Value = &value;
    block = {parameters.Count, parameters.Parameter[0].Guid, parameters.Parameter[0].NumberOfValues,
             parameters.Parameter[0].Type, *static_cast<const ULONG*>(parameters.Parameter[0].Value)};
  }
  RecordEncoderParameterBlock(block);
  mState->lastStatus = gdip::GdipSaveImageToStream(mState->image.get(), mState->destination.get(), &encoder,
                                                   parameter != nullptr ? &parameters : nullptr);
  return mState->lastStatus == Gdiplus::Ok;
}

void ImageWorkspace::StretchSource(std::int32_t cx, std::int32_t cy) {
  // No step is checked, as none ever was: a null object only makes the calls after it fail.
  State& s = *mState;
  s.graphics.reset();  // drawing into a bitmap of an earlier stretch: gone before that bitmap is
  Gdiplus::PixelFormat format = pixel_format::kUndefined;
  gdip::GdipGetImagePixelFormat(s.image.get(), &format);

  Gdiplus::GpBitmap* bitmap = nullptr;
  s.lastStatus = gdip::GdipCreateBitmapFromScan0(cx, cy, /*stride=*/0, format, /*scan0=*/nullptr, &bitmap);
  s.stretched.reset(bitmap);

  Gdiplus::GpGraphics* graphics = nullptr;
  s.lastStatus = gdip::GdipGetImageGraphicsContext(s.stretched.get(), &graphics);
  s.graphics.reset(graphics);
  gdip::GdipSetInterpolationMode(s.graphics.get(), Gdiplus::InterpolationModeHighQualityBicubic);

  UINT height = 0;
  UINT width = 0;
  gdip::GdipGetImageHeight(s.image.get(), &height);
  gdip::GdipGetImageWidth(s.image.get(), &width);
  s.lastStatus = gdip::GdipDrawImageRectRectI(s.graphics.get(), s.image.get(), /*dstx=*/0, /*dsty=*/0, cx, cy,
                                              /*srcx=*/0, /*srcy=*/0, static_cast<INT>(width),
                                              static_cast<INT>(height), Gdiplus::UnitPixel,
                                              /*imageAttributes=*/nullptr, /*callback=*/nullptr,
                                              /*callbackData=*/nullptr);
}

void ImageWorkspace::SaveStretched(const ImageEncoderClsid& encoder) {
  RecordEncoderParameterBlock(EncoderParameterBlock{});
  mState->lastStatus =
      gdip::GdipSaveImageToStream(mState->stretched.get(), mState->destination.get(), &encoder,
                                  /*params=*/nullptr);
}

std::uint64_t ImageWorkspace::DestinationSize() {
  if (!mState->destination) return 0;
  STATSTG stat{};
  if (FAILED(mState->destination.get()->Stat(&stat, STATFLAG_NONAME))) return 0;
  return stat.cbSize.QuadPart;
}

bool ImageWorkspace::RewindDestination() {
  if (!mState->destination || ImageFaultInjected(ImageFault::kRewind)) return false;
  LARGE_INTEGER start{};
  return SUCCEEDED(mState->destination.get()->Seek(start, STREAM_SEEK_SET, /*plibNewPosition=*/nullptr));
}

void ImageWorkspace::ReadDestination(unsigned char* out, unsigned long length) {
  if (!mState->destination) return;
  mState->destination.get()->Read(out, length, /*pcbRead=*/nullptr);
}

void ImageWorkspace::LeaveStorageUnreleased() { mState->leaveStorageUnreleased = true; }

}  // namespace Tavro_KVO_Util::platform

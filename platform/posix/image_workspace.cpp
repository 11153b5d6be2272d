#include "platform/image_workspace.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

#include "ImageUtil.h"
#include "platform/image_faults.h"
#include "platform/posix/vips_decoding.h"
#include "platform/posix/vips_pixel_format.h"
#include "platform/posix/vips_saving.h"
#include "platform/posix/vips_stretching.h"
#include "platform/posix/vips_support.h"

// The image workspace on Linux: libvips decodes the caller's bytes in place, and saving and
// stretching (vips_saving.h, vips_stretching.h) write the destination into memory.
namespace Tavro_KVO_Util::platform {
namespace {

// The GDI+ value type of the one value in a parameter block: a 32-bit unsigned integer.
constexpr std::uint32_t kValueTypeLong = 4;

}  // namespace

struct ImageWorkspace::State {
  bool open = false;
  // The caller's bytes, which outlive the workspace: libvips decodes them in place.
  const unsigned char* source = nullptr;
  std::size_t sourceLength = 0;
  VipsImagePtr decoded;
  std::uint32_t pixelFormat = pixel_format::kUndefined;
  VipsImagePtr stretched;
  Encoded destination;
  std::size_t position = 0;  // of the next read in the destination

  // The destination as a stream holds it after a write: the position at its end.
  void SetDestination(Encoded encoded) {
    destination = std::move(encoded);
    position = destination.length;
  }
};

ImageWorkspace::ImageWorkspace() : mState(std::make_unique<State>()) {}

// The stretched image reads from the decoded one: it goes first. The destination is plain memory.
ImageWorkspace::~ImageWorkspace() {
  mState->stretched.reset();
  mState->decoded.reset();
}

// Nothing to create: the faults a test injects fail the same steps as on Windows.
ImageWorkspace::OpenStatus ImageWorkspace::Open() {
  if (ImageFaultInjected(ImageFault::kTempPath)) return OpenStatus::kNoTempPath;
  if (ImageFaultInjected(ImageFault::kStorage)) return OpenStatus::kNoStorage;
  if (ImageFaultInjected(ImageFault::kSourceStream)) return OpenStatus::kNoSourceStream;
  if (ImageFaultInjected(ImageFault::kDestinationStream)) return OpenStatus::kNoDestinationStream;
  mState->open = true;
  return OpenStatus::kOpen;
}

bool ImageWorkspace::WriteSource(const unsigned char* bytes, unsigned long length) {
  if (!mState->open || ImageFaultInjected(ImageFault::kWriteSource)) return false;
  mState->source = bytes;
  mState->sourceLength = length;
  return true;
}

void ImageWorkspace::LoadSource() {
  State& s = *mState;
  s.stretched.reset();
  s.decoded.reset();
  s.pixelFormat = pixel_format::kUndefined;
  if (s.source == nullptr || s.sourceLength == 0 || !VipsStarted()) return;

  // Libvips reads only the header here; the size is checked before any pixel is decoded, so a
  // forged header cannot make it allocate more than the limits allow. A truncated file fails.
  VipsImage* header =
      vips_image_new_from_buffer(s.source, s.sourceLength, "", "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                 VIPS_FAIL_ON_TRUNCATED, nullptr);
  if (header == nullptr) {
    ForgetVipsError();
    return;
  }
  VipsImagePtr lazy(header);
  if (!WithinDecodeLimits(lazy.get())) return;
  lazy = Normalised(std::move(lazy));
  if (!lazy) return;
  // Decoded later, strip by strip, as the one save (or stretch and save) reads it from top to
  // bottom: a 12-megapixel photo never sits in memory whole. A decoding error (a truncated file)
  // surfaces there, as a failed save.
  s.pixelFormat = VipsPixelFormat(lazy.get());
  s.decoded = std::move(lazy);
}

std::uint32_t ImageWorkspace::SourcePixelFormat() { return mState->pixelFormat; }

bool ImageWorkspace::SaveSource(const ImageEncoderClsid& encoder, const EncoderParameter* parameter) {
  State& s = *mState;
  if (!s.decoded) return false;
  EncoderParameterBlock block;
  if (parameter != nullptr) block = {1, parameter->guid, 1, kValueTypeLong, parameter->value};
  RecordEncoderParameterBlock(block);

  s.SetDestination({});
  const VipsSaver* saver = FindVipsSaver(encoder);
  Encoded encoded;
  if (saver == nullptr || !SaveWith(*saver, s.decoded.get(), s.pixelFormat, parameter, encoded)) return false;
  s.SetDestination(std::move(encoded));
  return true;
}

void ImageWorkspace::StretchSource(std::int32_t cx, std::int32_t cy) {
  State& s = *mState;
  s.stretched.reset();
  if (!s.decoded || cx <= 0 || cy <= 0) return;
  if (static_cast<std::uint64_t>(cx) * static_cast<std::uint64_t>(cy) > ImageUtil::kMaxLinuxPixels) return;
  VipsImagePtr reduced = JpegDecodedSmaller(s.decoded.get(), s.source, s.sourceLength, cx, cy);
  s.stretched = Stretched(reduced ? reduced.get() : s.decoded.get(), cx, cy);
}

void ImageWorkspace::SaveStretched(const ImageEncoderClsid& encoder) {
  State& s = *mState;
  RecordEncoderParameterBlock(EncoderParameterBlock{});
  s.SetDestination({});
  const VipsSaver* saver = FindVipsSaver(encoder);
  Encoded encoded;
  if (!s.stretched || saver == nullptr ||
      !SaveWith(*saver, s.stretched.get(), s.pixelFormat, nullptr, encoded))
    return;
  s.SetDestination(std::move(encoded));
}

std::uint64_t ImageWorkspace::DestinationSize() { return mState->destination.length; }

bool ImageWorkspace::RewindDestination() {
  if (!mState->open || ImageFaultInjected(ImageFault::kRewind)) return false;
  mState->position = 0;
  return true;
}

void ImageWorkspace::ReadDestination(unsigned char* out, unsigned long length) {
  State& s = *mState;
  const std::size_t count = std::min<std::size_t>(length, s.destination.length - s.position);
  if (count == 0) return;
  std::memcpy(out, s.destination.bytes.get() + s.position, count);
  s.position += count;
}

// Windows keeps its compound file and streams on this path; here the destination is memory of
// this workspace, which no caller can reach after the workspace ends, so there is nothing that
// staying behind would keep for anyone. It is released with the workspace.
void ImageWorkspace::LeaveStorageUnreleased() {}

}  // namespace Tavro_KVO_Util::platform

// Platform service: the working place of one image conversion.
//
// Windows: a compound file "<GetTempPathW>TavroID<thread id, upper-case hex>.cmp" created with
// StgCreateDocfile (delete-on-release, create, share-exclusive, read/write: 0x4001012) holding the
// streams "SourceStream" and "DestinationStream" (share-exclusive, read/write: 0x12); GDI+'s flat
// API decodes from the one and encodes into the other. Releasing the storage deletes the file.
// Linux: the source bytes are decoded in place by libvips and the output is kept in memory;
// nothing touches the disk. Decoded images of more than ImageUtil::kMaxLinuxPixels pixels, and
// truncated files, do not decode there.
//
// Each step mirrors one step of the conversion, so that the caller can report each failure with
// its own text. A workspace belongs to one call on one thread, and its decoded source is read
// once: one SaveSource, or one StretchSource with its SaveStretched (Linux streams the pixels from
// top to bottom, so a 12-megapixel photo never sits in memory whole).
#ifndef TAVROMEDIVANEUTIL_PLATFORM_IMAGE_WORKSPACE_H
#define TAVROMEDIVANEUTIL_PLATFORM_IMAGE_WORKSPACE_H

#include <cstdint>
#include <memory>

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::platform {

class ImageWorkspace {
 public:
  enum class OpenStatus {
    kOpen,
    kNoTempPath,           // the temporary folder could not be found (GetTempPathW returned 0)
    kNoStorage,            // the compound file could not be created
    kNoSourceStream,       // "SourceStream" could not be created
    kNoDestinationStream,  // "DestinationStream" could not be created
  };

  ImageWorkspace();
  // Destroys the decoded, stretched and drawing objects, then releases the storage, the source
  // stream and the destination stream, in that order (unless LeaveStorageUnreleased was called).
  ~ImageWorkspace();
  ImageWorkspace(const ImageWorkspace&) = delete;
  ImageWorkspace& operator=(const ImageWorkspace&) = delete;

  // Finds the temporary folder and creates the storage and both streams. On failure, what was
  // created is released again before the call returns.
  OpenStatus Open();

  // Writes the source bytes into the source stream. The stream is not rewound afterwards: the
  // decoder gets it as it stands (GDI+ reads it from the start itself).
  bool WriteSource(const unsigned char* bytes, unsigned long length);

  // Decodes the source stream. A failure is kept, not reported: it surfaces as a failed save.
  void LoadSource();

  // The decoded source's pixel format (pixel_format::...); kUndefined when nothing decoded.
  std::uint32_t SourcePixelFormat();

  // Encodes the decoded source into the destination stream with `encoder`, handing it `parameter`
  // as a one-entry parameter block when it is not null. False when the encoder fails or the
  // source did not decode.
  bool SaveSource(const ImageEncoderClsid& encoder, const EncoderParameter* parameter);

  // Draws the decoded source, stretched bicubically, into a new bitmap of cx x cy pixels in the
  // source's pixel format. Failures (nothing decoded, an impossible size) are kept, not reported.
  void StretchSource(std::int32_t cx, std::int32_t cy);

  // Encodes the stretched bitmap into the destination stream with `encoder` and no parameters.
  // A failure is kept, not reported: it shows as a short or empty destination.
  void SaveStretched(const ImageEncoderClsid& encoder);

  // The destination stream's size in bytes (IStream::Stat without the name).
  std::uint64_t DestinationSize();

  // Seeks the destination stream to its start.
  bool RewindDestination();

  // Reads `length` bytes from the destination stream's position into `out`. The read's own
  // status and byte count are not reported; callers have sized `out` from DestinationSize.
  void ReadDestination(unsigned char* out, unsigned long length);

  // Keeps the storage and both streams unreleased when this workspace is destroyed (the decoded
  // and drawing objects are still destroyed). The "Destination buffer is NULL!" path has always
  // done this; on Windows the temporary file then stays until the process ends.
  void LeaveStorageUnreleased();

 private:
  struct State;
  std::unique_ptr<State> mState;
};

// The largest decoded image, in pixels, that the Linux back end accepts: ImageUtil::kMaxLinuxPixels
// unless a test lowers it.
std::uint64_t DecodedPixelLimit();

// Test seam: lowers the Linux decoding limit while an object lives (the fuzzer keeps each input's
// work small with it). Windows decodes whatever GDI+ decodes and ignores it.
class DecodedPixelLimitForTesting {
 public:
  explicit DecodedPixelLimitForTesting(std::uint64_t pixels);
  ~DecodedPixelLimitForTesting();
  DecodedPixelLimitForTesting(const DecodedPixelLimitForTesting&) = delete;
  DecodedPixelLimitForTesting& operator=(const DecodedPixelLimitForTesting&) = delete;

 private:
  std::uint64_t mPrevious;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_IMAGE_WORKSPACE_H

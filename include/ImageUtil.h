// ImageUtil: converts, stretches and copies images that the caller holds in memory.
//
// The input is always the bytes of a complete image file (JPEG, PNG, BMP, GIF, TIFF, or whatever
// else the system's codecs decode); the output of a conversion is the bytes of a complete file of
// the asked-for format, in an array the library allocates with new[] and the caller frees with
// delete[].
//
//   Tavro_KVO_Util::ImageUtil images;            // on the thread that will convert
//   unsigned char* png = nullptr;
//   unsigned long pngLength = 0;
//   if (images.SetImageFormat(jpegBytes, jpegLength, png, &pngLength, {IT_PNG, nullptr, 0})) {
//     ...                                         // use png[0 .. pngLength)
//     delete[] png;
//   }
//
// Windows: GDI+ decodes and encodes; each conversion passes through a compound file
// "<temporary folder>TavroID<thread id in upper-case hex>.cmp", opened delete-on-release, that
// holds the streams "SourceStream" and "DestinationStream" and disappears when the call ends.
// Linux: libvips decodes and encodes in memory (BMP is written by the library itself, as GDI+
// writes it: 40-byte information header, bottom-up rows, 24 bits, or 32 with alpha, or 8 with a
// grey palette for grey sources); nothing is written to disk. Decoded images larger than
// kMaxLinuxPixels are refused there, so a forged header cannot make the library allocate
// gigabytes. Libvips has no pixel formats; the Linux build names what it decoded with the nearest
// Windows pixel format, which decides the TIFF depth and what a stretch keeps:
//   palette PNG, GIF, 1-band 8-bit JPEG/PNG/TIFF  -> 8-bit indexed   (TIFF and BMP written as
//                                                                      8-bit RGB, PNG as a palette)
//   3 bands of 8 bits                              -> 24-bit RGB      (TIFF 8-bit RGB)
//   4 bands of 8 bits, or 2 (grey and alpha)       -> 32-bit ARGB     (TIFF 8-bit RGBA)
//   1 band of 16 bits                              -> 16-bit grey     (TIFF 8-bit RGB)
//   3 bands of 16 bits                             -> 48-bit RGB      (TIFF 8-bit RGB, PNG 16-bit)
//   4 bands of 16 bits                             -> 64-bit ARGB     (TIFF 8-bit RGB)
// A JPEG stretched to a quarter of its size or less is decoded at a reduced scale by the JPEG
// decoder first, never below twice the target, so the bicubic resize still makes the last 2x.
// The JPEG quality goes to libvips's Q as it is; libvips takes only 1 to 100, so a larger value
// fails the save ("pSrcImage->Save() returns ERROR!").
//
// Logging: every step is written through the Logger; failures at ERROR (2) with these exact
// texts, which support tools search for: "Source buffer is NULL or empty!", "CoInitialize
// FAILED!", "GetTempPath FAILED!", "Failed to create TavroImageFomat storage file!" (resizing:
// "Failed to create TavroImageDimension storage file!"), "Failed to create Source Stream!",
// "Failed to create Destination Stream!", "Failed to write into Source Stream!",
// "pSrcImage->Save() returns ERROR!", "Destination buffer is NULL!". The areas are
// "ImageUtil::SetImageFormat", "ImageUtil::SetImageDimensions" (whose "GetTempPath FAILED!" is
// still written under "ImageUtil::SetImageFormat"), "ImageUtil::CopyToClipBoard",
// "ImageUtil::GetEncoderClsid" and "ImageUtil".
//
// Threads: an object belongs to the thread that made it (it initialises COM for that thread and
// undoes it when destroyed). Objects on different threads convert at the same time safely.
// Nothing is thrown.
#ifndef TAVROMEDIVANEUTIL_IMAGEUTIL_H
#define TAVROMEDIVANEUTIL_IMAGEUTIL_H

#include <cstdint>

#include "TavroMedivaneUtilExport.h"
#include "mvImageFormat.h"

#ifdef _WIN32
// tagSIZE and GUID exactly as <windows.h> declares them, so the two headers mix in any order.
// The header itself adds no min/max macros (<windows.h> still does, unless NOMINMAX is defined).
#ifndef NOMINMAX
#define NOMINMAX
#define TAVROMEDIVANEUTIL_IMAGEUTIL_SET_NOMINMAX
#endif
#include <windef.h>
#ifdef TAVROMEDIVANEUTIL_IMAGEUTIL_SET_NOMINMAX
#undef NOMINMAX
#undef TAVROMEDIVANEUTIL_IMAGEUTIL_SET_NOMINMAX
#endif
#else
// The width and height of a stretch, laid out as the Windows SIZE structure.
struct tagSIZE {
  std::int32_t cx;
  std::int32_t cy;
};
#endif

namespace Tavro_KVO_Util {

// The identifier of an installed image encoder: the system's GUID.
#ifdef _WIN32
using ImageEncoderClsid = ::GUID;
#else
struct ImageEncoderClsid {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
#endif

class TAVRO_KVO_UTIL_API ImageUtil {
 public:
  // The largest decoded image, in pixels, that the Linux build accepts (about 100 megapixels).
  static constexpr std::uint64_t kMaxLinuxPixels = 100'000'000;
  // The largest stretch, in pixels (width x height), on every system: see SetImageDimensions.
  static constexpr std::uint64_t kMaxStretchPixels = 100'000'000;

  // Starts the imaging library and initialises COM (apartment model) for the calling thread.
  // A thread that already runs the multi-threaded model is accepted: COM is used as it is and
  // left alone by the destructor. Any other COM failure is logged ("CoInitialize FAILED!", area
  // "ImageUtil") and makes every conversion of this object fail with the same message.
  ImageUtil();
  // Shuts the imaging library down and undoes this object's COM initialisation, if it made one.
  ~ImageUtil();
  // Member-wise copy.
  ImageUtil& operator=(const ImageUtil& other);

  // Converts the `srcLen` bytes at `src` into a new file of `format.imageType` (see
  // mvImageFormat.h). JPEG is written at the quality described there; TIFF at the colour depth of
  // the decoded source: 1, 4 or 8 for indexed sources, 16 for 16-bit ones, 32 for 32-bit RGB and
  // (premultiplied) ARGB, 24 for everything else (24, 48 and 64 bits alike).
  // On success returns true, `dst` points to a new[] array with the whole file and `*dstLen`
  // holds its length. Source bytes that do not decode fail the save. On a false result `dst` and
  // `*dstLen` are untouched, except after "Destination buffer is NULL!" (`*dstLen` holds the size
  // and `dst` is null; the temporary file is then left behind, as it always has been) and when
  // the output cannot be rewound (`dst` holds an array the caller must still free). A null
  // `dstLen` is refused with "Destination length pointer is NULL!".
  bool SetImageFormat(unsigned char* src, unsigned long srcLen, unsigned char*& dst, unsigned long* dstLen,
                      mvImageFormat format);

  // Stretches the image in the `srcLen` bytes at `src` to exactly `size.cx` x `size.cy` pixels
  // (bicubic; the aspect ratio is not kept) and returns it as a BMP file in the source's pixel
  // format, allocated as by SetImageFormat. A source that does not decode, or a stretch the system
  // fails to make, is not reported separately: the call returns true with a short or empty file.
  // Failures before decoding are those of SetImageFormat.
  // Sizes, the same on every system: a width or height below 1, or more than kMaxStretchPixels
  // pixels in all (70000 x 70000, say), is not stretched. The call logs "Size <cx>x<cy> cannot be
  // made: ..." at WARN (3) and returns true with an empty output: `*dstLen` 0 and `dst` an array
  // of no bytes, which the caller still frees with delete[]. Nothing of that size is allocated.
  bool SetImageDimensions(unsigned char* src, unsigned long srcLen, unsigned char*& dst,
                          unsigned long* dstLen, tagSIZE size);

  // Places the BMP file in `src` on the system clipboard as a device-independent bitmap (CF_DIB):
  // the bytes after its 14-byte file header. The clipboard is not emptied first. Returns false
  // for an empty source ("Source buffer is NULL or empty!"), for one shorter than the file header
  // ("Source buffer is shorter than a BMP file header!") and when the system refuses the data
  // ("SetClipboardData FAILED!"). A clipboard that another program holds open is not a
  // failure: the call logs "Clipboard Open FAILED" at WARN (3) and returns true.
  // Linux has no system clipboard the library can reach: the call logs "No system clipboard to
  // copy to: <why>" and returns false.
  bool CopyToClipBoard(unsigned char* src, unsigned long srcLen);

 private:
  // Writes the identifier of the installed encoder whose MIME type equals `mimeType` (exactly)
  // to `*clsid` and returns its index in the system's encoder list; -1 (and `*clsid` untouched)
  // when there is none.
  int GetEncoderClsid(const wchar_t* mimeType, ImageEncoderClsid* clsid);

  std::uintptr_t gdiplusToken;  // handed back to the imaging library at shut-down
  bool comInitialized;          // this object initialised COM, so the destructor undoes it
  bool comUsable;               // false when COM could not be initialised: conversions refuse
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_IMAGEUTIL_H

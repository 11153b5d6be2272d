// mvImageType and mvImageFormat: the output an ImageUtil conversion is asked for.
//
// Declared outside the library's namespace because the product's other programs share these
// types. Both are plain data, passed by value.
//
//   std::uint32_t quality = 40;
//   const mvImageFormat jpeg{IT_JPEG, &quality, 1};
#ifndef TAVROMEDIVANEUTIL_MVIMAGEFORMAT_H
#define TAVROMEDIVANEUTIL_MVIMAGEFORMAT_H

#include <cstdint>

// The output file format. Fixed at 32 bits; the numbers are stored by other programs.
// Every value that is not listed here (and 0, 1 and 2, which exist only to be compatible with
// programs that pass them) produces a BMP file: an unknown type never fails.
enum mvImageType : std::int32_t {
  IT_DEFAULT = 0,  // BMP
  IT_BMP = 1,      // BMP
  IT_DIB = 2,      // BMP
  IT_JPEG = 3,     // JPEG; quality from pParams[0] (see mvImageFormat)
  IT_PNG = 4,      // PNG
  IT_GIF = 5,      // GIF
  IT_TIFF = 6,     // TIFF; colour depth follows the decoded source
};

struct mvImageFormat {
  mvImageType imageType;
  // Optional encoder parameters. Only pParams[0] is read, only for IT_JPEG, as the quality, and
  // only when numParams > 0: 0 there (or no parameters) means 100; any other value is handed to
  // the encoder as it is, without clamping.
  std::uint32_t* pParams;
  std::uint32_t numParams;
};

#endif  // TAVROMEDIVANEUTIL_MVIMAGEFORMAT_H

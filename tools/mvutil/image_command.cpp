#include "image_command.h"

#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "ImageUtil.h"
#include "image_files.h"

namespace mvutil {

using Tavro_KVO_Util::ImageUtil;

const char kImageUsage[] =
    "Usage: mvutil image convert IN OUT --to jpeg|png|gif|tiff|bmp [--quality N]\n"
    "       mvutil image resize IN OUT WIDTHxHEIGHT\n"
    "       mvutil image info FILE\n"
    "       mvutil image clip IN.bmp\n"
    "Works on image files with the library's ImageUtil, as the tablet's programs do in memory.\n\n"
    "  convert  write IN as a file of another format; --quality N (JPEG only) is handed to the\n"
    "           encoder as it is (0 or none means 100)\n"
    "  resize   stretch IN to exactly WIDTHxHEIGHT pixels (bicubic) and write it as BMP; both\n"
    "           numbers 1 or more, and at most 100000000 pixels in all\n"
    "  info     print the format, size and pixel format of FILE as the library decodes it\n"
    "  clip     put a BMP file on the clipboard as a device-independent bitmap (Windows)\n\n"
    "OUT is written under OUT.part and renamed when complete: a failure never leaves a partial\n"
    "file. Why the library refused an image is written to the shared log.\n\n"
    "Exit codes: 0 success, 1 the input is unreadable or does not decode, or the output cannot\n"
    "be written, 2 wrong command line.\n";

namespace {

bool ParseType(const std::string& name, mvImageType& type) {
  const std::pair<const char*, mvImageType> kTypes[] = {
      {"jpeg", IT_JPEG}, {"png", IT_PNG}, {"gif", IT_GIF}, {"tiff", IT_TIFF}, {"bmp", IT_BMP}};
  for (const auto& [typeName, value] : kTypes) {
    if (name == typeName) {
      type = value;
      return true;
    }
  }
  return false;
}

bool ParseUnsigned(const std::string& text, std::uint32_t& value) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos || text.size() > 10)
    return false;
  const unsigned long long parsed = std::strtoull(text.c_str(), nullptr, 10);
  if (parsed > 0xFFFFFFFFull) return false;
  value = static_cast<std::uint32_t>(parsed);
  return true;
}

bool ParseSize(const std::string& text, tagSIZE& size) {
  const std::size_t x = text.find('x');
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  if (x == std::string::npos || !ParseUnsigned(text.substr(0, x), width) ||
      !ParseUnsigned(text.substr(x + 1), height) || width == 0 || height == 0 || width > 0x7FFFFFFF ||
      height > 0x7FFFFFFF) {
    return false;
  }
  size.cx = static_cast<std::int32_t>(width);
  size.cy = static_cast<std::int32_t>(height);
  return true;
}

int Usage(Io& io, const std::string& why) {
  io.err << "mvutil image: " << why << "\n" << kImageUsage;
  return kExitUsage;
}

bool ReadInput(const std::string& name, std::vector<unsigned char>& bytes, Io& io) {
  std::string error;
  if (!ReadWholeFile(name, bytes, error)) {
    io.err << "mvutil image: " << name << ": " << error << "\n";
    return false;
  }
  if (bytes.empty()) {
    io.err << "mvutil image: " << name << ": the file is empty\n";
    return false;
  }
  return true;
}

// Hands the library's array to OUT and frees it.
int WriteOutput(const std::string& name, unsigned char* dst, unsigned long length, Io& io) {
  std::string error;
  const bool written = WriteFileAtomically(name, dst, length, error);
  delete[] dst;
  if (!written) {
    io.err << "mvutil image: " << error << "\n";
    return kExitFailure;
  }
  return kExitOk;
}

int NotDecoded(const std::string& name, unsigned char* dst, Io& io) {
  delete[] dst;  // a failed rewind still hands an array over
  io.err << "mvutil image: " << name << ": the library could not decode or convert it (see the shared log)\n";
  return kExitFailure;
}

int Convert(const Args& args, Io& io) {
  std::vector<std::string> positional;
  std::string to;
  std::uint32_t quality = 0;
  for (std::size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--to" && i + 1 < args.size()) {
      to = args[++i];
    } else if (args[i] == "--quality" && i + 1 < args.size()) {
      if (!ParseUnsigned(args[++i], quality))
        return Usage(io, "--quality needs a number from 0 to 4294967295");
    } else {
      positional.push_back(args[i]);
    }
  }
  mvImageType type{};
  if (positional.size() != 2) return Usage(io, "convert needs IN and OUT");
  if (!ParseType(to, type)) return Usage(io, "--to needs jpeg, png, gif, tiff or bmp");
  std::vector<unsigned char> source;
  if (!ReadInput(positional[0], source, io)) return kExitFailure;
  ImageUtil images;
  unsigned char* dst = nullptr;
  unsigned long length = 0;
  const mvImageFormat format{type, &quality, 1};
  if (!images.SetImageFormat(source.data(), static_cast<unsigned long>(source.size()), dst, &length,
                             format)) {
    return NotDecoded(positional[0], dst, io);
  }
  return WriteOutput(positional[1], dst, length, io);
}

int Resize(const Args& args, Io& io) {
  tagSIZE size{};
  if (args.size() != 4) return Usage(io, "resize needs IN, OUT and WIDTHxHEIGHT");
  if (!ParseSize(args[3], size))
    return Usage(io, "WIDTHxHEIGHT must be two positive numbers, such as 320x240");
  std::vector<unsigned char> source;
  if (!ReadInput(args[1], source, io)) return kExitFailure;
  ImageUtil images;
  unsigned char* dst = nullptr;
  unsigned long length = 0;
  // The library returns true with an empty file when the source does not decode, and when it
  // refuses the size (it says so in the shared log).
  if (!images.SetImageDimensions(source.data(), static_cast<unsigned long>(source.size()), dst, &length,
                                 size) ||
      length == 0) {
    if (static_cast<std::uint64_t>(size.cx) * static_cast<std::uint64_t>(size.cy) >
        ImageUtil::kMaxStretchPixels) {
      delete[] dst;
      io.err << "mvutil image: " << args[3] << ": the library stretches to at most "
             << ImageUtil::kMaxStretchPixels << " pixels (see the shared log)\n";
      return kExitFailure;
    }
    return NotDecoded(args[1], dst, io);
  }
  return WriteOutput(args[2], dst, length, io);
}

std::uint32_t Le32(const unsigned char* b) {
  return b[0] | (b[1] << 8) | (b[2] << 16) | (static_cast<std::uint32_t>(b[3]) << 24);
}

const char* PixelFormatName(unsigned bitsPerPixel) {
  switch (bitsPerPixel) {
    case 1:
      return "1-bit indexed";
    case 4:
      return "4-bit indexed";
    case 8:
      return "8-bit indexed";
    case 16:
      return "16-bit RGB";
    case 24:
      return "24-bit RGB";
    case 32:
      return "32-bit ARGB";
    default:
      return "other";
  }
}

// The library decodes the file and writes it as BMP; the BMP's header tells what it decoded.
int Info(const Args& args, Io& io) {
  if (args.size() != 2) return Usage(io, "info needs FILE");
  std::vector<unsigned char> source;
  if (!ReadInput(args[1], source, io)) return kExitFailure;
  ImageUtil images;
  unsigned char* dst = nullptr;
  unsigned long length = 0;
  if (!images.SetImageFormat(source.data(), static_cast<unsigned long>(source.size()), dst, &length,
                             {IT_BMP, nullptr, 0}) ||
      length < 30) {
    return NotDecoded(args[1], dst, io);
  }
  const std::int32_t width = static_cast<std::int32_t>(Le32(dst + 18));
  const std::int32_t height = static_cast<std::int32_t>(Le32(dst + 22));
  const unsigned bits = dst[28] | (dst[29] << 8);
  delete[] dst;
  const std::string format = FormatBySignature(source);
  io.out << "format " << (format.empty() ? "other" : format) << "\n"
         << "size " << width << "x" << (height < 0 ? -height : height) << "\n"
         << "pixels " << PixelFormatName(bits) << " (" << bits << " bits per pixel)\n";
  return kExitOk;
}

int Clip(const Args& args, Io& io) {
  if (args.size() != 2) return Usage(io, "clip needs IN.bmp");
  std::vector<unsigned char> source;
  if (!ReadInput(args[1], source, io)) return kExitFailure;
  if (FormatBySignature(source) != "BMP") {
    io.err << "mvutil image: " << args[1] << ": not a BMP file\n";
    return kExitFailure;
  }
  ImageUtil images;
  if (!images.CopyToClipBoard(source.data(), static_cast<unsigned long>(source.size()))) {
    io.err << "mvutil image: the clipboard did not take the image (see the shared log)\n";
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace

int RunImageCommand(const Args& args, Io& io) {
  if (args.empty()) return Usage(io, "missing convert, resize, info or clip");
  if (args[0] == "convert") return Convert(args, io);
  if (args[0] == "resize") return Resize(args, io);
  if (args[0] == "info") return Info(args, io);
  if (args[0] == "clip") return Clip(args, io);
  return Usage(io, "unknown action '" + args[0] + "'");
}

}  // namespace mvutil

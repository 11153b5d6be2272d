// A 1-megapixel JPEG converted to PNG through the C interface (tmu_image_convert, which makes an
// ImageUtil for the call) against the same conversion through one long-lived ImageUtil.
//
// Plain C++ rather than Google Benchmark, so that the same program also runs under Wine, where the
// C call's ImageUtil starts and stops COM (and counts a GDI+ reference) at every call. The two
// sides alternate in every repetition, each converting `--calls` times; the figures are medians of
// the wall time per conversion over `--repetitions` (10). Exit code 1 when the C call takes more
// than 5% longer than the class; `--smoke` runs one short repetition and judges nothing.
//
// The program gives itself a configuration (KVO_INSTALL_DIR, a folder under the temporary folder)
// with the threshold at ERROR, as a tablet runs: without the file every log call of a conversion
// would wait a second for it.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ImageUtil.h"
#include "TavroMedivaneUtil_c.h"
#include "support/config_file.h"
#include "support/environment.h"

namespace {

using Tavro_KVO_Util::ImageUtil;
using Clock = std::chrono::steady_clock;

constexpr int kSide = 1000;  // 1000 x 1000 pixels
constexpr double kGoal = 1.05;

void Put32(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A photo-like picture: smooth gradients with a little noise, so that neither the JPEG nor the PNG
// is trivially small.
std::vector<std::uint8_t> MakeBmp() {
  const std::size_t row = kSide * 3;  // a multiple of 4 already
  std::vector<std::uint8_t> bmp(54 + row * kSide, 0);
  bmp[0] = 'B';
  bmp[1] = 'M';
  Put32(bmp, 2, static_cast<std::uint32_t>(bmp.size()));
  Put32(bmp, 10, 54);
  Put32(bmp, 14, 40);
  Put32(bmp, 18, kSide);
  Put32(bmp, 22, kSide);
  bmp[26] = 1;
  bmp[28] = 24;
  std::uint32_t noise = 12345;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      noise = noise * 1103515245u + 12345u;
      const int jitter = static_cast<int>((noise >> 16) % 9) - 4;
      std::uint8_t* pixel = &bmp[54 + y * row + x * 3];
      pixel[0] = static_cast<std::uint8_t>(std::clamp(x * 255 / kSide + jitter, 0, 255));
      pixel[1] = static_cast<std::uint8_t>(std::clamp(y * 255 / kSide + jitter, 0, 255));
      pixel[2] = static_cast<std::uint8_t>(std::clamp((x + y) * 255 / (2 * kSide) + jitter, 0, 255));
    }
  }
  return bmp;
}

std::vector<std::uint8_t> MakeJpeg() {
  std::vector<std::uint8_t> bmp = MakeBmp();
  ImageUtil images;
  unsigned char* jpeg = nullptr;
  unsigned long length = 0;
  std::uint32_t quality = 90;
  if (!images.SetImageFormat(bmp.data(), static_cast<unsigned long>(bmp.size()), jpeg, &length,
                             {IT_JPEG, &quality, 1})) {
    return {};
  }
  std::vector<std::uint8_t> bytes(jpeg, jpeg + length);
  delete[] jpeg;
  return bytes;
}

// Each returns the PNG's length, so that the work cannot be skipped and both sides can be compared.
std::size_t ThroughTheC(const std::vector<std::uint8_t>& jpeg) {
  std::uint8_t* png = nullptr;
  std::size_t length = 0;
  if (tmu_image_convert(jpeg.data(), jpeg.size(), TMU_IMAGE_PNG, nullptr, 0, &png, &length) != TMU_OK)
    return 0;
  tmu_free(png);
  return length;
}

std::size_t ThroughTheClass(ImageUtil& images, std::vector<std::uint8_t>& jpeg) {
  unsigned char* png = nullptr;
  unsigned long length = 0;
  if (!images.SetImageFormat(jpeg.data(), static_cast<unsigned long>(jpeg.size()), png, &length,
                             {IT_PNG, nullptr, 0})) {
    return 0;
  }
  delete[] png;
  return length;
}

template <typename Conversion>
double MillisecondsPerCall(int calls, Conversion&& convert, std::size_t& length) {
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < calls; ++i) length = convert();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count() / calls;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The folder of the program's own configuration, with the log beside it.
std::filesystem::path PrivateInstallFolder() {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tavro_image_c_call_bench";
  std::error_code error;
  std::filesystem::create_directories(folder / "Bin", error);
  Tavro_KVO_Util::testing::WriteBytes(
      folder / "Bin" / "TavroMedivane.cfg",
      Tavro_KVO_Util::testing::Utf16LeBytes(L"/Tavro/MedivaneSDK/Logging/DefaultLevel=ERROR\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/LogFileLocation=" +
                                            (folder / "logs").wstring() + L"\r\n"));
  return folder;
}

}  // namespace

int main(int argc, char** argv) {
  int repetitions = 10;
  int calls = 5;
  bool smoke = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--smoke") {
      smoke = true;
      repetitions = 1;
      calls = 1;
    } else if (argument == "--repetitions" && i + 1 < argc) {
      repetitions = std::max(1, std::atoi(argv[++i]));
    } else if (argument == "--calls" && i + 1 < argc) {
      calls = std::max(1, std::atoi(argv[++i]));
    } else {
      std::fprintf(stderr, "usage: image_c_call_bench [--repetitions N] [--calls N] [--smoke]\n");
      return 2;
    }
  }
  const Tavro_KVO_Util::testing::ScopedEnvironmentVariable install("KVO_INSTALL_DIR",
                                                                   (PrivateInstallFolder() / "").string());
  std::vector<std::uint8_t> jpeg = MakeJpeg();
  if (jpeg.empty()) {
    std::fprintf(stderr, "image_c_call_bench: the JPEG could not be made\n");
    return 1;
  }
  ImageUtil longLived;
  std::size_t cLength = ThroughTheC(jpeg);  // warm both up: codecs load at their first use
  std::size_t classLength = ThroughTheClass(longLived, jpeg);
  if (cLength == 0 || cLength != classLength) {
    std::fprintf(stderr, "image_c_call_bench: the two sides gave %zu and %zu bytes\n", cLength, classLength);
    return 1;
  }
  std::vector<double> cTimes;
  std::vector<double> classTimes;
  for (int r = 0; r < repetitions; ++r) {
    // Alternating which side goes first spreads any drift of the machine over both.
    const auto c = [&] {
      cTimes.push_back(MillisecondsPerCall(
          calls, [&] { return ThroughTheC(jpeg); }, cLength));
    };
    const auto cls = [&] {
      classTimes.push_back(MillisecondsPerCall(
          calls, [&] { return ThroughTheClass(longLived, jpeg); }, classLength));
    };
    if (r % 2 == 0) {
      c();
      cls();
    } else {
      cls();
      c();
    }
  }
  const double cMedian = Median(cTimes);
  const double classMedian = Median(classTimes);
  const double ratio = cMedian / classMedian;
  std::printf("1-megapixel JPEG (%zu bytes) to PNG (%zu bytes), %d repetitions of %d calls, medians\n",
              jpeg.size(), cLength, repetitions, calls);
  std::printf("tmu_image_convert             %8.2f ms a call\n", cMedian);
  std::printf("one long-lived ImageUtil      %8.2f ms a call\n", classMedian);
  std::printf("ratio C / class               %8.3fx (goal <= %.2fx) %s\n", ratio, kGoal,
              smoke            ? "(smoke run, not judged)"
              : ratio <= kGoal ? "PASS"
                               : "FAIL");
  return smoke || ratio <= kGoal ? 0 : 1;
}

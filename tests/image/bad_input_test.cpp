// Truncated and corrupted files of every format, and random bytes: each conversion fails with
// the save's text, leaves no temporary file, keeps the process's handle count, and the process
// goes on.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ImageUtil.h"
#include "image/image_test_support.h"
#include "logging/library_log.h"

#ifndef _WIN32
#include <dirent.h>
#endif

namespace Tavro_KVO_Util {
namespace {

using testing::Convert;
using testing::Stretch;

// Open handles (Windows) or file descriptors (Linux) of this process.
long OpenHandleCount() {
#ifdef _WIN32
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return static_cast<long>(count);
#else
  long count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    (void)entry;
    ++count;
  }
  return count;
#endif
}

std::vector<std::filesystem::path> Corpus() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(testing::FixturePath("bad"))) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(ImageBadInput, TheCorpusIsThere) {
  // 6 formats x 5 damages, a forged gigapixel header, a zero width, 8 random files.
  EXPECT_EQ(Corpus().size(), 40u);
}

TEST(ImageBadInput, EveryDamagedFileFailsEveryConversionCleanly) {
  testing::PrivateTempFolder temp;
  internal::ReportRecorderForTesting quiet;
  ImageUtil images;
  // Warm the codecs up first: their one-time set-up is not a leak.
  ASSERT_TRUE(Convert(images, testing::Fixture("rgb24.png"), IT_GIF).ok);
  for (auto type : {IT_JPEG, IT_PNG, IT_GIF, IT_TIFF, IT_BMP}) {
    ASSERT_TRUE(Convert(images, testing::Fixture("photo.jpg"), type).ok);
  }
  const long handlesBefore = OpenHandleCount();
  for (const auto& file : Corpus()) {
    const auto bytes = testing::ReadImageFile(file);
    for (auto type : {IT_JPEG, IT_PNG, IT_GIF, IT_TIFF, IT_BMP}) {
      internal::ReportRecorderForTesting recorder;
      const auto result = Convert(images, bytes, type);
      EXPECT_FALSE(result.ok) << file << " to " << type;
      EXPECT_FALSE(result.dstSet) << file;
      EXPECT_EQ(recorder.Messages(2), std::vector<std::wstring>{L"pSrcImage->Save() returns ERROR!"}) << file;
    }
    // Resizing has no save check: what does not decode comes back as an empty BMP, and true.
    internal::ReportRecorderForTesting recorder;
    const auto stretched = Stretch(images, bytes, 32, 32);
    EXPECT_TRUE(stretched.ok) << file;
    EXPECT_EQ(stretched.length, 0u) << file;
    EXPECT_TRUE(recorder.Messages(2).empty()) << file;
    EXPECT_EQ(temp.Files(), std::vector<std::string>{}) << file;
  }
  EXPECT_EQ(OpenHandleCount(), handlesBefore);
  // And the object still converts.
  EXPECT_TRUE(Convert(images, testing::Fixture("rgb24.bmp"), IT_PNG).ok);
}

}  // namespace
}  // namespace Tavro_KVO_Util

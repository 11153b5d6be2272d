// A conversion leaves nothing in the temporary folder, whichever way it ends; the one exception
// is the path where the output array cannot be allocated, which has always kept its file.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ImageUtil.h"
#include "image/destination_copy.h"
#include "image/encoder_list_seam.h"
#include "image/image_test_support.h"
#include "logging/library_log.h"
#include "platform/image_faults.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Convert;
using testing::Fixture;
using testing::PrivateTempFolder;
using testing::Stretch;

class ImageTempFiles : public ::testing::Test {
 protected:
  PrivateTempFolder temp;
  internal::ReportRecorderForTesting quiet;  // keeps the shared log out of it
  ImageUtil images;
};

TEST_F(ImageTempFiles, NothingIsLeftAfterASuccess) {
  ASSERT_TRUE(Convert(images, Fixture("photo.jpg"), IT_PNG).ok);
  ASSERT_TRUE(Stretch(images, Fixture("photo.jpg"), 20, 10).ok);
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});
}

TEST_F(ImageTempFiles, NothingIsLeftAfterBytesThatDoNotDecode) {
  ASSERT_FALSE(Convert(images, {1, 2, 3, 4, 5, 6, 7, 8, 9}, IT_JPEG).ok);
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});
}

TEST_F(ImageTempFiles, NothingIsLeftAfterAnUnknownEncoder) {
  internal::EncoderListForTesting none(platform::EncoderListStatus::kListed, {});
  ASSERT_FALSE(Convert(images, Fixture("rgb24.png"), IT_TIFF).ok);
  EXPECT_EQ(quiet.Messages(2), (std::vector<std::wstring>{L"Get GUID/CLSID for format image/tiff FAILED!",
                                                          L"pSrcImage->Save() returns ERROR!"}));
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});
}

TEST_F(ImageTempFiles, NothingIsLeftAfterAFailedSave) {
  // A source cut inside its pixels decodes its header but cannot be saved in any format.
  auto truncated = Fixture("rgb24.png");
  truncated.resize(40);
  ASSERT_FALSE(Convert(images, truncated, IT_PNG).ok);
  EXPECT_EQ(quiet.Messages(2).back(), L"pSrcImage->Save() returns ERROR!");
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});
}

TEST_F(ImageTempFiles, NothingIsLeftAfterEachWorkspaceFailure) {
  for (const auto fault : {platform::ImageFault::kSourceStream, platform::ImageFault::kDestinationStream,
                           platform::ImageFault::kWriteSource, platform::ImageFault::kRewind}) {
    platform::ImageFaultForTesting failing(fault);
    auto result = Convert(images, Fixture("rgb24.png"), IT_GIF);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(temp.Files(), std::vector<std::string>{}) << static_cast<int>(fault);
  }
}

TEST_F(ImageTempFiles, TwoThreadsConvertingAtOnceLeaveNothing) {
  bool firstOk = false;
  bool secondOk = false;
  auto work = [](bool& ok) {
    ImageUtil own;  // an object per thread: each belongs to the thread that made it
    ok = true;
    for (int i = 0; i < 20; ++i) {
      ok = ok && Convert(own, Fixture(i % 2 ? "rgb24.png" : "photo.jpg"), IT_TIFF).ok &&
           Stretch(own, Fixture("argb32.png"), 30, 30).ok;
    }
  };
  std::thread first(work, std::ref(firstOk));
  std::thread second(work, std::ref(secondOk));
  first.join();
  second.join();
  EXPECT_TRUE(firstOk);
  EXPECT_TRUE(secondOk);
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});
}

#ifdef _WIN32
// Each thread has its own file name: the thread id in upper-case hex without leading zeros.
TEST_F(ImageTempFiles, AFailedOutputAllocationKeepsItsFileAsItAlwaysHas) {
  internal::DestinationAllocationFailureForTesting noMemory;
  std::string expected;
  std::thread worker([&] {
    ImageUtil own;
    char name[32];
    std::snprintf(name, sizeof name, "TavroID%lX.cmp", static_cast<unsigned long>(GetCurrentThreadId()));
    expected = name;
    EXPECT_FALSE(Convert(own, Fixture("rgb24.png"), IT_PNG).ok);
  });
  worker.join();
  EXPECT_EQ(temp.Files(), std::vector<std::string>{expected});
}
#else
TEST_F(ImageTempFiles, AFailedOutputAllocationLeavesNothingOnLinux) {
  internal::DestinationAllocationFailureForTesting noMemory;
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_EQ(temp.Files(), std::vector<std::string>{});  // nothing is ever written to disk there
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util

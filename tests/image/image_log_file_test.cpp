// ImageUtil's messages as they reach a real log: through the Logger, the shared configuration and
// the log file, with no recorder in between. A private configuration keeps only errors and writes
// level, area and message, so the file's lines can be compared whole.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ImageUtil.h"
#include "support/log_lines.h"
#include "support/private_install_dir.h"

namespace Tavro_KVO_Util {
namespace {

TEST(ImageLogFile, AFailedSaveIsWrittenToTheLogFileAsItsExactLine) {
  const testing::PrivateInstallDir install(
      L"/Tavro/MedivaneSDK/Logging/DefaultLevel=ERROR\r\n/Tavro/MedivaneSDK/Logging/FormatString=%L %A "
      L"%m\r\n");
  ImageUtil images;
  unsigned char junk[64] = {0x5A, 0x5A, 0x5A};
  unsigned char* dst = nullptr;
  unsigned long length = 0;
  EXPECT_FALSE(images.SetImageFormat(junk, sizeof junk, dst, &length, {IT_PNG, nullptr, 0}));
  EXPECT_FALSE(images.SetImageFormat(junk, 0, dst, &length, {IT_PNG, nullptr, 0}));
  EXPECT_EQ(dst, nullptr);
  EXPECT_EQ(testing::ReadLogLines(install.LogFile()),
            (std::vector<std::wstring>{L"E ImageUtil::SetImageFormat pSrcImage->Save() returns ERROR!",
                                       L"E ImageUtil::SetImageFormat Source buffer is NULL or empty!"}));
}

}  // namespace
}  // namespace Tavro_KVO_Util

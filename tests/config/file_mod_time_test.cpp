#include "FileModTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include "support/config_file.h"
#include "support/file_times.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

using testing::TempDir;

bool IsAllZero(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] != 0) return false;
  }
  return true;
}

TEST(FileModTime, BothFieldsAreZeroAfterConstruction) {
  const FileModTime stamp;
  EXPECT_TRUE(IsAllZero(stamp.timeString, sizeof stamp.timeString));
  EXPECT_TRUE(IsAllZero(stamp.timeZone.bytes, sizeof stamp.timeZone.bytes));
}

TEST(FileModTime, MissingFileLeavesTheStampUntouched) {
  TempDir dir;
  FileModTime stamp;
  std::wcscpy(stamp.timeString, L"previous");
  EXPECT_FALSE(stamp.Record((dir.path() / "missing.cfg").wstring().c_str()));
  EXPECT_FALSE(stamp.GetFSFModTime((dir.path() / "missing.cfg").wstring().c_str(), stamp.timeZone));
  EXPECT_FALSE(stamp.Record(nullptr));
  EXPECT_STREQ(stamp.timeString, L"previous");
}

TEST(FileModTime, ThreeDigitMillisecondsAreWrittenInFull) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  testing::SetLastWriteMilliseconds(file, 123);
  FileModTime stamp;
  ASSERT_TRUE(stamp.Record(file.wstring().c_str()));
  const std::wstring text = stamp.timeString;
  EXPECT_EQ(text.substr(text.size() - 4), L":123") << std::string(text.begin(), text.end());
}

TEST(FileModTime, SingleDigitMillisecondsArePaddedWithABlank) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  testing::SetLastWriteMilliseconds(file, 5);
  FileModTime stamp;
  ASSERT_TRUE(stamp.Record(file.wstring().c_str()));
  const std::wstring text = stamp.timeString;
  EXPECT_EQ(text.substr(text.size() - 3), L": 5") << std::string(text.begin(), text.end());
}

TEST(FileModTime, RenderingInTheSavedZoneGivesTheRecordedText) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  FileModTime recorded;
  ASSERT_TRUE(recorded.Record(file.wstring().c_str()));
  FileModTime again;
  ASSERT_TRUE(again.GetFSFModTime(file.wstring().c_str(), recorded.timeZone));
  EXPECT_STREQ(again.timeString, recorded.timeString);
  EXPECT_EQ(std::memcmp(again.timeZone.bytes, recorded.timeZone.bytes, sizeof again.timeZone.bytes), 0);
}

TEST(FileModTime, ClearZeroesBothFields) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  FileModTime stamp;
  ASSERT_TRUE(stamp.Record(file.wstring().c_str()));
  stamp.Clear();
  EXPECT_TRUE(IsAllZero(stamp.timeString, sizeof stamp.timeString));
  EXPECT_TRUE(IsAllZero(stamp.timeZone.bytes, sizeof stamp.timeZone.bytes));
}

}  // namespace
}  // namespace Tavro_KVO_Util

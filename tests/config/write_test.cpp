#include <gtest/gtest.h>

#include "Config.h"
#include "config/config_test_peer.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using testing::ConfigFileTest;
using testing::Utf16LeBytes;

class ConfigWrite : public ConfigFileTest {};

TEST_F(ConfigWrite, ReadOnlyInstanceRefusesWithoutReloading) {
  WriteAnsi(L"a=1");
  const auto config = Open(/*logging=*/true, /*writable=*/false);
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->SetParameter(L"a", L"2"), CFG_WRITE_NOT_ALLOWED);
  EXPECT_TRUE(recorder.Entries().empty());
  EXPECT_EQ(FileBytes(), "a=1");
}

TEST_F(ConfigWrite, EmptyKeyOrNullValueIsInvalid) {
  WriteAnsi(L"a=1");
  const auto config = Open(true, true);
  EXPECT_EQ(config->SetParameter(L"", L"2"), CFG_INVALID_PARAMETER);
  EXPECT_EQ(config->SetParameter(L"a", nullptr), CFG_INVALID_PARAMETER);
  EXPECT_EQ(FileBytes(), "a=1");
}

TEST_F(ConfigWrite, ExistingKeyIsRewrittenInPlaceAsUtf16LittleEndian) {
  WriteAnsi(L"// header\r\n  a = 1 // old\r\nb=2");
  const auto config = Open(true, true);
  EXPECT_EQ(config->SetParameter(L"a", L"new"), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"// header\r\na=new\r\nb=2"));
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"a", value), CFG_SUCCESS);
  EXPECT_EQ(value, L"new");
  EXPECT_TRUE(config->WasReloaded());
}

TEST_F(ConfigWrite, SameValueLeavesFileUntouchedAndLogsErrorEvenWithoutLogging) {
  WriteAnsi(L"a = 1 // keep me");
  const auto config = Open(/*logging=*/false, /*writable=*/true);
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->SetParameter(L"a", L"1"), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), "a = 1 // keep me");
  ASSERT_EQ(recorder.Entries().size(), 1u);
  EXPECT_EQ(recorder.Entries()[0].level, internal::kLevelError);
  EXPECT_EQ(recorder.Entries()[0].message, L"Not updating the value as it was same.");
  EXPECT_EQ(recorder.Entries()[0].area, L"Config");
}

TEST_F(ConfigWrite, NewKeyIsAppendedAfterTheTrailingBlankRecord) {
  WriteAnsi(L"a=1\r\n");
  const auto config = Open(true, true);
  EXPECT_EQ(config->SetParameter(L"b", L"2"), CFG_SUCCESS);
  // The empty last line stays before the new one, and the file now ends without a line break.
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"a=1\r\n\r\nb=2"));
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"b", value), CFG_SUCCESS);
  EXPECT_EQ(value, L"2");
}

TEST_F(ConfigWrite, EmptyValueWritesKeyEqualsAndKeyThenReadsAsNotFound) {
  WriteAnsi(L"a=1\nb=2");
  const auto config = Open(true, true);
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->SetParameter(L"a", L""), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"a=\r\nb=2"));
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"a", value), CFG_NOT_FOUND);
  const auto warnings = recorder.Messages(internal::kLevelWarn);
  ASSERT_FALSE(warnings.empty());
  EXPECT_EQ(warnings[0], L"The following key is being set to a blank value: a***");
}

TEST_F(ConfigWrite, KeyPresentTwiceOnlyFirstLineChangesAndSecondStillWins) {
  WriteAnsi(L"k=1\nk=2");
  const auto config = Open(true, true);
  EXPECT_EQ(config->SetParameter(L"k", L"9"), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"k=9\r\nk=2"));
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"k", value), CFG_SUCCESS);
  EXPECT_EQ(value, L"2");
}

TEST_F(ConfigWrite, WriteBackKeepsCommentsBlanksAndMalformedLinesButDropsDecoration) {
  WriteAnsi(L"  // comment  \r\n \t \r\n  x // y = z\r\n=5\r\n  k  =  v  // trailing\r\nblank=");
  const auto config = Open(true, true);
  EXPECT_EQ(config->SetParameter(L"k", L"w"), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"// comment  \r\n\r\nx // y = z\r\n=5\r\nk=w\r\nblank="));
}

TEST_F(ConfigWrite, SetParameterIsTraced) {
  WriteAnsi(L"a=1");
  const auto config = Open(true, true);
  ReportRecorderForTesting recorder;
  config->SetParameter(L"a", L"2");
  const auto debug = recorder.Messages(internal::kLevelDebug);
  EXPECT_NE(std::find(debug.begin(), debug.end(), L"The following key value was set: 2***"), debug.end());
}

TEST_F(ConfigWrite, UnwritableFileFailsAfterRetriesAndTheChangeIsLost) {
  WriteAnsi(L"a=1");
  const auto config = Open(/*logging=*/false, /*writable=*/true);
  // A directory where the file was makes every write attempt fail.
  std::filesystem::remove(File());
  std::filesystem::create_directory(File());
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->SetParameter(L"a", L"2"), CFG_WRITE_FAILED);
  EXPECT_EQ(recorder.Messages(internal::kLevelError),
            std::vector<std::wstring>{L"Config file could not be written to"});
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"a", value), CFG_NOT_FOUND);
}

TEST_F(ConfigWrite, CharactersBeyondBasicPlaneAreWrittenAsSurrogatePairs) {
  WriteAnsi(L"a=1");
  const auto config = Open(true, true);
  std::wstring value(1, static_cast<wchar_t>(0x1F600));
  if (sizeof(wchar_t) == 2) value = L"\xD83D\xDE00";  // the same character in UTF-16
  EXPECT_EQ(config->SetParameter(L"a", value.c_str()), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), std::string("\xFF\xFE"
                                     "a\0=\0\x3D\xD8\x00\xDE",
                                     10));
}

}  // namespace
}  // namespace Tavro_KVO_Util

// The buffer and numeric getters of Config: statuses, outputs and the exact log texts.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Config.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"
#include "support/config_file.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

using internal::kLevelDebug;
using internal::kLevelError;
using internal::kLevelInfo;
using internal::kLevelWarn;
using internal::ReportRecorderForTesting;
using Messages = std::vector<std::wstring>;

constexpr wchar_t kLongTrace[] = L"*** Config::GetParameter (long) \u2013 Requested Key is: %s***";
constexpr wchar_t kTooSmall[] = L"The value buffer is larger than the buffer passed in!";

// "%s" of a log text filled in, as the recorder shows it.
std::wstring Filled(const std::wstring& format, const std::wstring& argument) {
  std::wstring text = format;
  return text.replace(text.find(L"%s"), 2, argument);
}

class ConfigGetters : public ::testing::Test {
 protected:
  // A store read from `text`, written as an 8-bit file.
  Config& Load(const std::wstring& text, bool logging = true) {
    mFile = mDir.WriteFile("TavroMedivane.cfg", testing::AnsiBytes(text));
    mConfig = std::make_unique<Config>(testing::WidePath(mFile).c_str(), logging, /*writable=*/false);
    return *mConfig;
  }

  // Replaces the file's text and moves its last-write time on, so that Reload(false) sees a
  // change even where the file system keeps coarse times.
  void Rewrite(const std::wstring& text) {
    const auto before = std::filesystem::last_write_time(mFile);
    testing::WriteBytes(mFile, testing::AnsiBytes(text));
    std::filesystem::last_write_time(mFile, before + std::chrono::seconds(2));
  }

  testing::TempDir mDir;
  std::filesystem::path mFile;
  std::unique_ptr<Config> mConfig;
};

// ---- GetParameter(key, wchar_t*, int*) ----

TEST_F(ConfigGetters, BufferOfDeclaredLengthReceivesValueAndTerminator) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {L'x', L'x', L'x', L'x', L'x', L'x', L'x', L'x'};
  int size = 3;
  EXPECT_EQ(config.GetParameter(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(std::wstring(buffer, 5), std::wstring(L"abc\0x", 5));
}

TEST_F(ConfigGetters, BufferLargerThanValueReceivesValueAndTerminator) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {};
  int size = 8;
  EXPECT_EQ(config.GetParameter(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(std::wstring(buffer), L"abc");
}

TEST_F(ConfigGetters, BufferShorterThanValueIsRefusedWithTheNeededSize) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
  int size = 2;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"k", buffer, &size), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(std::wstring(buffer, 4), L"xxxx");
  EXPECT_EQ(recorder.Messages(kLevelWarn), Messages{kTooSmall});
}

TEST_F(ConfigGetters, NullBufferAsksForTheSize) {
  Config& config = Load(L"k=abc\r\n");
  int size = 100;
  EXPECT_EQ(config.GetParameter(L"k", nullptr, &size), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4);
}

TEST_F(ConfigGetters, NullSizeIsRefusedInsteadOfCrashing) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {L'x'};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"k", buffer, nullptr), CFG_INVALID_PARAMETER);
  EXPECT_EQ(buffer[0], L'x');
  EXPECT_EQ(recorder.Messages(kLevelError), Messages{L"Invalid parameter"});
}

TEST_F(ConfigGetters, BufferGetterReportsAMissingKeyWithSizeZero) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {L'x'};
  int size = 8;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"missing", buffer, &size), CFG_NOT_FOUND);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(buffer[0], L'x');
  EXPECT_EQ(recorder.Messages(kLevelInfo), Messages{L"Could not find the following key: missing"});
}

TEST_F(ConfigGetters, BufferGetterTracesTheRequestedKey) {
  Config& config = Load(L"k=abc\r\n");
  int size = 0;
  ReportRecorderForTesting recorder;
  config.GetParameter(L"missing", nullptr, &size);
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            Messages{L"*** Config::GetParameter (wchar_t) \u2013 Requested Key is: missing***"});
}

// ---- GetParameterFromUnorderedMap ----

TEST_F(ConfigGetters, UnorderedMapGetterNeedsRoomForTheTerminator) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
  unsigned long size = 3;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(std::wstring(buffer, 4), L"xxxx");
  EXPECT_EQ(recorder.Messages(kLevelWarn), Messages{kTooSmall});
}

TEST_F(ConfigGetters, UnorderedMapGetterCopiesTheValueWhenTheTerminatorFits) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
  unsigned long size = 4;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(std::wstring(buffer, 4), std::wstring(L"abc\0", 4));
}

TEST_F(ConfigGetters, UnorderedMapGetterWithNullBufferAsksForTheSize) {
  Config& config = Load(L"k=abc\r\n");
  unsigned long size = 100;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", nullptr, &size), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
}

TEST_F(ConfigGetters, UnorderedMapGetterWithoutSizeIsAnInvalidParameter) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, nullptr), CFG_INVALID_PARAMETER);
  EXPECT_EQ(recorder.Messages(kLevelError), Messages{L"Invalid parameter"});
  EXPECT_TRUE(recorder.Messages(kLevelDebug).empty());
}

TEST_F(ConfigGetters, UnorderedMapGetterLeavesSizeAloneForAMissingKey) {
  Config& config = Load(L"k=abc\r\n");
  wchar_t buffer[8] = {};
  unsigned long size = 8;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"missing", buffer, &size), CFG_NOT_FOUND);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(recorder.Messages(kLevelInfo), Messages{L"Could not find the following key: missing"});
  const Messages debug = recorder.Messages(kLevelDebug);  // the reload adds its own after it
  ASSERT_FALSE(debug.empty());
  EXPECT_EQ(debug.front(),
            L"*** Config::GetParameterFromUnorderedMap (wstring) \u2013 Requested Key is: missing***");
}

TEST_F(ConfigGetters, UnorderedMapGetterMatchesKeysExactly) {
  Config& config = Load(L"// k=comment\r\nK=upper\r\nk2=longer\r\n");
  wchar_t buffer[16] = {};
  unsigned long size = 16;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_NOT_FOUND);
}

TEST_F(ConfigGetters, BlankValueIsMissingForNumbersButEmptyForTheUnorderedMap) {
  Config& config = Load(L"k=\r\n");
  long number = 7;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_NOT_FOUND);
  EXPECT_EQ(number, 7);
  wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
  unsigned long size = 4;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(std::wstring(buffer), L"");
}

TEST_F(ConfigGetters, LastLineWinsForNumbersAndFirstLineForTheUnorderedMap) {
  Config& config = Load(L"k=1\r\nk=2\r\n");
  long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_SUCCESS);
  EXPECT_EQ(number, 2);
  wchar_t buffer[4] = {};
  unsigned long size = 4;
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(std::wstring(buffer), L"1");
  EXPECT_EQ(size, 2u);
}

TEST_F(ConfigGetters, UnorderedMapGetterReloadsAChangedFile) {
  Config& config = Load(L"k=first\r\nk=later\r\n");
  wchar_t buffer[16] = {};
  unsigned long size = 16;
  ASSERT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(std::wstring(buffer), L"first");
  Rewrite(L"other=1\r\nk=second\r\nk=third\r\n");
  size = 16;
  ASSERT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &size), CFG_SUCCESS);
  EXPECT_EQ(std::wstring(buffer), L"second");
  EXPECT_EQ(size, 7u);
}

// ---- Numeric getters ----

TEST_F(ConfigGetters, LongStopsAtTheFirstNonDigit) {
  Config& config = Load(L"k=12abc\r\n");
  long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_SUCCESS);
  EXPECT_EQ(number, 12);
}

TEST_F(ConfigGetters, LongReadsANegativeValue) {
  Config& config = Load(L"k=-42\r\n");
  long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_SUCCESS);
  EXPECT_EQ(number, -42);
}

TEST_F(ConfigGetters, UnsignedLongWrapsANegativeValueAtThirtyTwoBits) {
  Config& config = Load(L"k=-5\r\n");
  unsigned long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", 10, number), CFG_SUCCESS);
  EXPECT_EQ(number, 4294967291ul);
}

TEST_F(ConfigGetters, UnsignedLongReadsHexadecimalInRadixSixteen) {
  Config& config = Load(L"k=ff\r\nprefixed=0x1F\r\n");
  unsigned long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", 16, number), CFG_SUCCESS);
  EXPECT_EQ(number, 255ul);
  EXPECT_EQ(config.GetParameter(L"prefixed", 0, number), CFG_SUCCESS);
  EXPECT_EQ(number, 31ul);
}

TEST_F(ConfigGetters, UnsignedLongLongWrapsANegativeValueAtSixtyFourBits) {
  Config& config = Load(L"k=-5\r\nbig=4294967296\r\n");
  unsigned long long number = 0;
  EXPECT_EQ(config.GetParameter(L"k", 10, number), CFG_SUCCESS);
  EXPECT_EQ(number, 18446744073709551611ull);
  EXPECT_EQ(config.GetParameter(L"big", 10, number), CFG_SUCCESS);
  EXPECT_EQ(number, 4294967296ull);
}

TEST_F(ConfigGetters, InvalidRadixIsAConversionFailure) {
  Config& config = Load(L"k=5\r\n");
  unsigned long number = 9;
  unsigned long long wide = 9;
  EXPECT_EQ(config.GetParameter(L"k", 1, number), CFG_CONVERSION_FAILED);
  EXPECT_EQ(config.GetParameter(L"k", 37, wide), CFG_CONVERSION_FAILED);
  EXPECT_EQ(number, 9ul);
  EXPECT_EQ(wide, 9ull);
}

TEST_F(ConfigGetters, TheTextZeroGivesZeroForEveryNumericGetter) {
  Config& config = Load(L"k=0\r\n");
  long number = 7;
  double real = 7.0;
  unsigned long unsigned32 = 7;
  unsigned long long unsigned64 = 7;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_SUCCESS);
  EXPECT_EQ(config.GetParameter(L"k", real), CFG_SUCCESS);
  EXPECT_EQ(config.GetParameter(L"k", 10, unsigned32), CFG_SUCCESS);
  EXPECT_EQ(config.GetParameter(L"k", 0, unsigned64), CFG_SUCCESS);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(real, 0.0);
  EXPECT_EQ(unsigned32, 0ul);
  EXPECT_EQ(unsigned64, 0ull);
}

TEST_F(ConfigGetters, DoubleZeroWrittenWithAFractionIsAConversionFailure) {
  Config& config = Load(L"k=0.0\r\n");
  double real = 7.5;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"k", real), CFG_CONVERSION_FAILED);
  EXPECT_EQ(real, 7.5);
  EXPECT_EQ(recorder.Messages(kLevelError),
            Messages{L"The following retrieved value can not be converted to type double: 0.0"});
}

TEST_F(ConfigGetters, DoubleReadsAFraction) {
  Config& config = Load(L"k=0.5\r\n");
  double real = 0.0;
  EXPECT_EQ(config.GetParameter(L"k", real), CFG_SUCCESS);
  EXPECT_EQ(real, 0.5);
}

TEST_F(ConfigGetters, LongZeroSpelledOtherwiseIsAConversionFailure) {
  Config& config = Load(L"a=abc\r\nb=00\r\nc=-0\r\nd=0x0\r\n");
  for (const auto& [key, text] : {std::pair{L"a", L"abc"}, {L"b", L"00"}, {L"c", L"-0"}, {L"d", L"0x0"}}) {
    long number = 7;
    ReportRecorderForTesting recorder;
    EXPECT_EQ(config.GetParameter(key, number), CFG_CONVERSION_FAILED) << text;
    EXPECT_EQ(number, 7) << text;
    EXPECT_EQ(
        recorder.Messages(kLevelError),
        Messages{Filled(L"The following retrieved value can not be converted to type long: %s***", text)});
  }
}

TEST_F(ConfigGetters, UnsignedConversionFailuresNameTheirTypes) {
  Config& config = Load(L"k=abc\r\n");
  unsigned long unsigned32 = 7;
  unsigned long long unsigned64 = 7;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"k", 10, unsigned32), CFG_CONVERSION_FAILED);
  EXPECT_EQ(config.GetParameter(L"k", 10, unsigned64), CFG_CONVERSION_FAILED);
  EXPECT_EQ(unsigned32, 7ul);
  EXPECT_EQ(unsigned64, 7ull);
  EXPECT_EQ(recorder.Messages(kLevelError),
            (Messages{L"The following retrieved value can not be converted to type long: abc",
                      L"The following retrieved value can not be converted to type _uint64: abc"}));
}

TEST_F(ConfigGetters, MissingKeyIsReportedWithEachGettersOwnText) {
  Config& config = Load(L"k=1\r\n");
  long number = 7;
  double real = 7.0;
  unsigned long unsigned32 = 7;
  unsigned long long unsigned64 = 7;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"missing", number), CFG_NOT_FOUND);
  EXPECT_EQ(config.GetParameter(L"missing", real), CFG_NOT_FOUND);
  EXPECT_EQ(config.GetParameter(L"missing", 10, unsigned32), CFG_NOT_FOUND);
  EXPECT_EQ(config.GetParameter(L"missing", 10, unsigned64), CFG_NOT_FOUND);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(real, 7.0);
  EXPECT_EQ(unsigned32, 7ul);
  EXPECT_EQ(unsigned64, 7ull);
  // Only the long getter's text ends in "***"; support tools know both forms.
  EXPECT_EQ(
      recorder.Messages(kLevelInfo),
      (Messages{L"Could not find the following key: missing***", L"Could not find the following key: missing",
                L"Could not find the following key: missing", L"Could not find the following key: missing"}));
}

TEST_F(ConfigGetters, NumericGettersTraceTheRequestedKey) {
  Config& config = Load(L"k=1\r\n");
  long number = 0;
  double real = 0.0;
  unsigned long unsigned32 = 0;
  unsigned long long unsigned64 = 0;
  ReportRecorderForTesting recorder;
  config.GetParameter(L"missing", number);
  config.GetParameter(L"missing", real);
  config.GetParameter(L"missing", 10, unsigned32);
  config.GetParameter(L"missing", 10, unsigned64);
  // The unsigned getters trace with the long getter's text.
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            (Messages{Filled(kLongTrace, L"missing"),
                      L"*** Config::GetParameter (double) \u2013 Requested Key is: missing***",
                      Filled(kLongTrace, L"missing"), Filled(kLongTrace, L"missing")}));
}

TEST_F(ConfigGetters, ReportsGoToTheConfigArea) {
  Config& config = Load(L"k=1\r\n");
  long number = 0;
  ReportRecorderForTesting recorder;
  config.GetParameter(L"missing", number);
  const auto entries = recorder.Entries();
  ASSERT_FALSE(entries.empty());
  for (const auto& entry : entries) {
    EXPECT_EQ(entry.area, L"Config");
    EXPECT_EQ(entry.file, L".\\Config.cpp");
  }
}

TEST_F(ConfigGetters, NonLoggingInstanceReportsNothing) {
  Config& config = Load(L"k=abc\r\n", /*logging=*/false);
  long number = 0;
  double real = 0.0;
  unsigned long unsigned32 = 0;
  unsigned long long unsigned64 = 0;
  wchar_t buffer[2] = {};
  int size = 2;
  unsigned long unorderedSize = 2;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config.GetParameter(L"k", number), CFG_CONVERSION_FAILED);
  EXPECT_EQ(config.GetParameter(L"missing", real), CFG_NOT_FOUND);
  EXPECT_EQ(config.GetParameter(L"k", 10, unsigned32), CFG_CONVERSION_FAILED);
  EXPECT_EQ(config.GetParameter(L"k", 10, unsigned64), CFG_CONVERSION_FAILED);
  EXPECT_EQ(config.GetParameter(L"k", buffer, &size), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, &unorderedSize), CFG_BUFFER_TOO_SMALL);
  EXPECT_EQ(config.GetParameterFromUnorderedMap(L"k", buffer, nullptr), CFG_INVALID_PARAMETER);
  EXPECT_TRUE(recorder.Entries().empty());
}

}  // namespace
}  // namespace Tavro_KVO_Util

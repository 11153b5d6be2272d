#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "mvutil_log_fixture.h"

namespace mvutil::testing {
namespace {

using support::ReadBytes;
using support::Utf16Bytes;
using support::Utf16LeBytes;

class MvutilLog : public MvutilLogTest {};

TEST_F(MvutilLog, WritesOneEntryWithAreaLevelAndTheMessageWordsJoinedBySpaces) {
  const Result result = Run({"log", "--area", "Ward7", "--level", "WARN", "hello", "there", "world"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(ReadBytes(LogFile()), Utf16LeBytes(L"W Ward7 hello there world\r\n"));
}

TEST_F(MvutilLog, DefaultAreaIsMvutilAndDefaultLevelIsInfo) {
  EXPECT_EQ(Run({"log", "started"}).code, 0);
  EXPECT_EQ(Lines(LogFile()), std::vector<std::wstring>{L"I mvutil started"});
}

TEST_F(MvutilLog, DataIsWrittenBehindTheEntry) {
  EXPECT_EQ(Run({"log", "--data", "bed 12", "moved"}).code, 0);
  EXPECT_EQ(Run({"log", "--data", "", "no", "value"}).code, 0);
  EXPECT_EQ(Lines(LogFile()),
            (std::vector<std::wstring>{L"I mvutil moved;DATA#bed 12", L"I mvutil no value;DATA#"}));
}

TEST_F(MvutilLog, LevelNamesInAnyLetterCaseAndNumbersAreAccepted) {
  for (const char* level :
       {"report", "Fatal", "ERROR", "warn", "iNfO", "debug", "0", "1", "2", "3", "4", "5"}) {
    EXPECT_EQ(Run({"log", "--level", level, level}).code, 0) << level;
  }
  EXPECT_EQ(Lines(LogFile()), (std::vector<std::wstring>{
                                  L"R mvutil report", L"F mvutil Fatal", L"E mvutil ERROR", L"W mvutil warn",
                                  L"I mvutil iNfO", L"D mvutil debug", L"R mvutil 0", L"F mvutil 1",
                                  L"E mvutil 2", L"W mvutil 3", L"I mvutil 4", L"D mvutil 5"}));
}

TEST_F(MvutilLog, SourceFileAndLineAreTheToolsOwn) {
  WriteConfig({{L"FormatString", L"%L %f %l %m"}});
  EXPECT_EQ(Run({"log", "checked"}).code, 0);
  EXPECT_EQ(Lines(LogFile()), std::vector<std::wstring>{L"I .\\mvutil 0 checked"});
}

TEST_F(MvutilLog, NonAsciiTextIsWrittenAsUtf16) {
  EXPECT_EQ(Run({"log", "--area", u8"\u00DCberwachung", u8"caf\u00E9", u8"\u03A9", u8"\U0001D11E"}).code, 0);
  // U+1D11E is the surrogate pair D834 DD1E on every build.
  EXPECT_EQ(ReadBytes(LogFile()), Utf16LeBytes(L"I \u00DCberwachung caf\u00E9 \u03A9 ") +
                                      std::string("\x34\xD8\x1E\xDD", 4) + Utf16Bytes(L"\r\n", false, false));
}

TEST_F(MvutilLog, WordsAfterDoubleDashMayStartWithADash) {
  EXPECT_EQ(Run({"log", "--", "-5", "--area"}).code, 0);
  EXPECT_EQ(Lines(LogFile()), std::vector<std::wstring>{L"I mvutil -5 --area"});
}

TEST_F(MvutilLog, EntryTheSettingsLeaveOutIsNoErrorAndDebugAreasStillCount) {
  WriteConfig({{L"DefaultLevel", L"ERROR"}, {L"DebugAreas", L"Loud"}});
  const Result quiet = Run({"log", "--level", "DEBUG", "left", "out"});
  EXPECT_EQ(quiet.code, 0);
  EXPECT_EQ(quiet.out, "");
  EXPECT_EQ(quiet.err, "");
  EXPECT_EQ(Run({"log", "--level", "DEBUG", "--area", "Loud", "kept"}).code, 0);
  EXPECT_EQ(Run({"log", "--level", "ERROR", "also", "kept"}).code, 0);
  EXPECT_EQ(Lines(LogFile()), (std::vector<std::wstring>{L"D Loud kept", L"E mvutil also kept"}));
}

TEST_F(MvutilLog, UnknownLevelIsAUsageErrorAndWritesNothing) {
  for (const char* level : {"LOUD", "6", "-1", "UNKNOWN", ""}) {
    const Result result = Run({"log", "--level", level, "x"});
    EXPECT_EQ(result.code, 2) << level;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, std::string("mvutil log: unknown level '") + level +
                              "'; use REPORT, FATAL, ERROR, WARN, INFO, DEBUG or a number 0-5\n");
  }
  EXPECT_FALSE(std::filesystem::exists(LogFile()));
}

TEST_F(MvutilLog, MissingMessageIsAUsageError) {
  const Result result = Run({"log", "--area", "Ward"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil log: no MESSAGE given; see 'mvutil log --help'\n");
  EXPECT_FALSE(std::filesystem::exists(LogFile()));
}

TEST_F(MvutilLog, OptionWithoutValueIsAUsageError) {
  const Result result = Run({"log", "message", "--data"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil log: --data needs a value; see 'mvutil log --help'\n");
}

TEST_F(MvutilLog, UnknownOptionIsAUsageError) {
  const Result result = Run({"log", "--colour", "red", "message"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil log: unknown option '--colour'; see 'mvutil log --help'\n");
  EXPECT_FALSE(std::filesystem::exists(LogFile()));
}

}  // namespace
}  // namespace mvutil::testing

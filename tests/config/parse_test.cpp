#include <gtest/gtest.h>

#include "Config.h"
#include "config/config_test_peer.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using Map = std::map<std::wstring, std::wstring>;
using Record = std::tuple<int, std::wstring, std::wstring>;
using testing::ConfigFileTest;
using testing::Records;

class ConfigParse : public ConfigFileTest {};

TEST_F(ConfigParse, CommentAfterValueIsDropped) {
  WriteAnsi(L"a = b // note");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"a", L"b"}}));
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"a", L"b"}}));
}

TEST_F(ConfigParse, LineStartingWithSlashesIsAComment) {
  WriteAnsi(L"  // a=b");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_COMMENT, L"// a=b", L""}}));
}

TEST_F(ConfigParse, CommentBeforeEqualsMakesTheLineMalformed) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"\tx // y = z");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_MALFORMED, L"x // y = z", L""}}));
  EXPECT_EQ(recorder.Messages(internal::kLevelWarn),
            std::vector<std::wstring>{
                L"The following line is not formatted correctly and was ignored: \tx // y = z"});
}

TEST_F(ConfigParse, EmptyKeyIsMalformedAndStoredUntrimmed) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"=5\n   = 5");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config),
            (std::vector<Record>{{CFG_LINE_MALFORMED, L"=5", L""}, {CFG_LINE_MALFORMED, L"   = 5", L""}}));
  EXPECT_EQ(
      recorder.Messages(internal::kLevelWarn),
      (std::vector<std::wstring>{L"The following line is not formatted correctly and was ignored: =5",
                                 L"The following line is not formatted correctly and was ignored:    = 5"}));
}

TEST_F(ConfigParse, LineWithoutEqualsIsMalformedWithLeadingBlanksRemoved) {
  WriteAnsi(L"  just text  ");
  const auto config = Open();
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_MALFORMED, L"just text  ", L""}}));
}

TEST_F(ConfigParse, ValueEndsAtDoubleSlash) {
  WriteAnsi(L"u=a//b");
  const auto config = Open();
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"u", value), CFG_SUCCESS);
  EXPECT_EQ(value, L"a");
}

TEST_F(ConfigParse, OnlyTheFirstEqualsSplits) {
  WriteAnsi(L"url = http:x=1&y=2");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"url", L"http:x=1&y=2"}}));
}

TEST_F(ConfigParse, KeyWithoutValueIsKeptAsLineButAbsentFromMap) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"k=");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"k", L""}}));
  EXPECT_EQ(recorder.Messages(internal::kLevelInfo),
            std::vector<std::wstring>{L"The following line did not include a value: k="});

  recorder.Clear();
  std::wstring value = L"untouched";
  EXPECT_EQ(config->GetParameter(L"k", value), CFG_NOT_FOUND);
  EXPECT_EQ(value, L"untouched");
  EXPECT_EQ(recorder.Messages(internal::kLevelInfo), std::vector<std::wstring>{L"Could not find the key: k"});
}

TEST_F(ConfigParse, RepeatedKeyLaterLineWinsWithOneWarning) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"k=1\nk = 2");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"k", L"2"}}));
  EXPECT_EQ(recorder.Messages(internal::kLevelWarn),
            std::vector<std::wstring>{
                L"The following line is overriding the value set for this key on a previous line: k = 2"});
  EXPECT_EQ(Records(*config),
            (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"k", L"1"}, {CFG_LINE_KEY_VALUE, L"k", L"2"}}));
}

// The reports of different lines come in the order of the lines, whatever they report; a line that
// overrides a value and gives none reports both, the override first.
TEST_F(ConfigParse, LineReportsComeInTheOrderOfTheLines) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"b = 1\n  bad\n\tb=\na=\n=x\nb=2\r\na=3");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"a", L"3"}, {L"b", L"2"}}));
  const std::vector<std::wstring> expected = {
      L"The following line is not formatted correctly and was ignored:   bad",
      L"The following line is overriding the value set for this key on a previous line: \tb=",
      L"The following line did not include a value: \tb=", L"The following line did not include a value: a=",
      L"The following line is not formatted correctly and was ignored: =x"};
  std::vector<std::wstring> reports;
  for (const std::wstring& message : recorder.Messages()) {
    if (message.rfind(L"The following line", 0) == 0) reports.push_back(message);
  }
  EXPECT_EQ(reports, expected);
}

TEST_F(ConfigParse, BlankLaterLineRemovesTheEarlierValue) {
  WriteAnsi(L"k=1\nk=");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  std::wstring value;
  EXPECT_EQ(config->GetParameter(L"k", value), CFG_NOT_FOUND);
}

TEST_F(ConfigParse, KeysAndValuesAreTrimmedOfSpacesAndTabsOnly) {
  WriteAnsi(L" \t key one \t=\t value one \t\n\vk\v=\vv\v");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"key one", L"value one"}, {L"\vk\v", L"\vv\v"}}));
}

TEST_F(ConfigParse, KeysAreCaseSensitive) {
  WriteAnsi(L"Key=upper\nkey=lower");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"Key", L"upper"}, {L"key", L"lower"}}));
}

TEST_F(ConfigParse, LoneCarriageReturnInsideALineDisappears) {
  WriteAnsi(L"ke\ry=va\rlue\r\n");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"key", L"value"}}));
}

TEST_F(ConfigParse, EmptyFileGivesEmptyMapAndOneBlankRecord) {
  WriteAnsi(L"");
  const auto config = Open();
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_BLANK, L"", L""}}));
}

TEST_F(ConfigParse, FinalLineBreakYieldsATrailingBlankRecord) {
  WriteAnsi(L"a=1\r\n\r\n  \t\r\n// c\r\n");
  const auto config = Open();
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"a", L"1"},
                                                   {CFG_LINE_BLANK, L"", L""},
                                                   {CFG_LINE_BLANK, L"", L""},
                                                   {CFG_LINE_COMMENT, L"// c", L""},
                                                   {CFG_LINE_BLANK, L"", L""}}));
}

TEST_F(ConfigParse, ParseIsTracedWithFileNameAndEncoding) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"a=1");
  const auto config = Open();
  const auto debug = recorder.Messages(internal::kLevelDebug);
  ASSERT_GE(debug.size(), 3u);
  EXPECT_EQ(debug[0], L"*** Config::Reload ***");
  EXPECT_EQ(debug[1], L"*** Config::ParseFile - Config File Parsed is: " + FileName() + L"***");
  EXPECT_EQ(debug[2], L"The Config file type is: ANSI");
  EXPECT_EQ(debug.back(), L"Config file reloaded seccessfully");
  for (const auto& entry : recorder.Entries()) {
    EXPECT_EQ(entry.area, L"Config");
    EXPECT_EQ(entry.file, L".\\Config.cpp");
    EXPECT_GT(entry.line, 0);
  }
}

TEST_F(ConfigParse, NonLoggingInstanceReportsNothing) {
  ReportRecorderForTesting recorder;
  WriteAnsi(L"=bad\nk=1\nk=\nx");
  const auto config = Open(/*logging=*/false);
  std::wstring value;
  config->GetParameter(L"missing", value);
  EXPECT_TRUE(recorder.Entries().empty());
}

TEST_F(ConfigParse, FileThatCannotBeOpenedIsTriedFiveTimesThenReportedAndStoreIsEmptied) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  std::filesystem::remove(File());
  ReportRecorderForTesting recorder;
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(config->Reload(true), CFG_FILE_OPEN_FAILED);
  // Five attempts, each followed by a 200 ms pause.
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1000));
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_TRUE(ConfigTestPeer::Lines(*config).empty());
  EXPECT_FALSE(config->WasReloaded());
  EXPECT_EQ(recorder.Messages(internal::kLevelError),
            (std::vector<std::wstring>{L"The following Config file could not be opened: " + FileName(),
                                       L"Error parsing the Config file!"}));
}

TEST_F(ConfigParse, ConstructorWithUnopenablePathFallsBackToTheDefaultFile) {
  const std::wstring missing = testing::WidePath(Dir().path() / "missing.cfg");
  Config config(missing.c_str(), /*logging=*/false, /*writable=*/false);
  EXPECT_NE(ConfigTestPeer::File(config), missing);
  EXPECT_EQ(ConfigTestPeer::File(config).size() >= 17
                ? ConfigTestPeer::File(config).substr(ConfigTestPeer::File(config).size() - 17)
                : L"",
            L"TavroMedivane.cfg");
}

TEST_F(ConfigParse, ConstructorWithOpenablePathUsesItAndLeavesTheDirectoryEmpty) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::File(*config), FileName());
  EXPECT_EQ(ConfigTestPeer::Directory(*config), L"");
  EXPECT_FALSE(ConfigTestPeer::ForceParse(*config));
}

}  // namespace
}  // namespace Tavro_KVO_Util

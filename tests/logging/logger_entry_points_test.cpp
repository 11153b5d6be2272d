#include <gtest/gtest.h>

#include "Config.h"
#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

class LoggerEntryPoints : public LoggerTest {
 protected:
  void SetUp() override {
    LoggerTest::SetUp();
    WriteConfig({{L"FormatString", L"%L %A %m"}});
  }
};

TEST_F(LoggerEntryPoints, LogBufferWithLengthZeroWritesNothing) {
  const unsigned char bytes[] = {1, 2};
  TheLogger().LogBuffer(L"A", 4, L"buffer", bytes, 0, L".\\t.cpp", 1);
  TheLogger().LogBuffer(L"A", 4, L"buffer", bytes, -3, L".\\t.cpp", 1);
  EXPECT_TRUE(Lines().empty());
}

TEST_F(LoggerEntryPoints, LogBufferWithNullBufferWritesAnEmptyData) {
  TheLogger().LogBuffer(L"A", 4, L"buffer", nullptr, 4, L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A buffer;DATA#"});
}

TEST_F(LoggerEntryPoints, LogBufferWritesLowerCaseHexPairsEachFollowedByASpace) {
  const unsigned char bytes[] = {0x01, 0x10, 0x0A, 0xFF};
  TheLogger().LogBuffer(L"A", 4, L"buffer", bytes, 4, L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A buffer;DATA#01 10 0a ff "});
}

TEST_F(LoggerEntryPoints, FormatYieldingAnEmptyTextIsReportedAsTooLarge) {
  TheLogger().LogFmt(L"A", 4, L".\\t.cpp", 1, L"%s", L"");
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"E A LogFmtVA() failed, String too large."});
}

TEST_F(LoggerEntryPoints, FormatUsesWideStringsForPercentS) {
  TheLogger().LogFmt(L"A", 4, L".\\t.cpp", 1, L"key %s = %d (%hs)", L"k", 7, "narrow");
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A key k = 7 (narrow)"});
}

TEST_F(LoggerEntryPoints, FormatByResourceIdWithoutTheModuleReportsTheLoadFailure) {
  TheLogger().LogFmt(L"A", 4, L".\\t.cpp", 1, 1234, 5);
#ifdef _WIN32
  const std::wstring error = L"126";  // ERROR_MOD_NOT_FOUND: the module is not loaded
#else
  const std::wstring error = L"2";  // ENOENT: no module carries string tables here
#endif
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"E A LoadString 1234 failed, Error " + error + L")."});
}

TEST_F(LoggerEntryPoints, MvLogFmtCreatesTheLogger) {
  ASSERT_EQ(Logger::mInstance, nullptr);
  MV_LogFmt(L"Plain", 4, L".\\t.cpp", 1, L"made by %s", L"MV_LogFmt");
  EXPECT_NE(Logger::mInstance, nullptr);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I Plain made by MV_LogFmt"});
}

TEST_F(LoggerEntryPoints, NumericValuesAreWrittenAsDecimalData) {
  TheLogger().LogLong(L"A", 4, L"long", -5, L".\\t.cpp", 1);
  TheLogger().LogUnsignedLong(L"A", 4, L"ulong", 4294967295UL, L".\\t.cpp", 1);
  TheLogger().LogDouble(L"A", 4, L"double", 2.5, L".\\t.cpp", 1);
  TheLogger().LogString(L"A", 4, L"string", L"text", L".\\t.cpp", 1);
  TheLogger().LogString(L"A", 4, L"null string", nullptr, L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A long;DATA#-5", L"I A ulong;DATA#4294967295",
                                                L"I A double;DATA#2.500000", L"I A string;DATA#text",
                                                L"I A null string"}));
}

TEST_F(LoggerEntryPoints, UnsignedShortStringsAreUtf16Units) {
  const unsigned short area[] = {'U', 0};
  const unsigned short message[] = {'c', 0x00E9, 0};
  const unsigned short file[] = {'f', 0};
  TheLogger().Log(area, 4, message, file, 1);
  TheLogger().LogLong(area, 4, message, 9, file, 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I U c\u00E9", L"I U c\u00E9;DATA#9"}));
}

TEST_F(LoggerEntryPoints, FilteredCallsWriteNothing) {
  WriteConfig({{L"FormatString", L"%L %A %m"}, {L"DefaultLevel", L"ERROR"}});
  TheLogger().Log(L"A", 4, L"info", L".\\t.cpp", 1);
  TheLogger().LogFmt(L"A", 5, L".\\t.cpp", 1, L"%d", 1);
  MV_LogFmt(L"A", 3, L".\\t.cpp", 1, L"warn");
  EXPECT_TRUE(Lines().empty());
}

TEST_F(LoggerEntryPoints, ConfigurationStoreReportsThroughTheLogger) {
  WriteConfig({{L"FormatString", L"%L %A %f %m"}, {L"DebugAreas", L"Config"}});
  Config* config = Config::GetInstance(true, false);
  ASSERT_NE(config, nullptr);
  std::wstring value;
  config->GetParameter(L"/No/Such/Key", value);
  const auto lines = Lines();
  EXPECT_NE(
      std::find(lines.begin(), lines.end(), L"I Config .\\Config.cpp Could not find the key: /No/Such/Key"),
      lines.end());
}

}  // namespace
}  // namespace Tavro_KVO_Util

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

const wchar_t kAsciiText[] =
    L"// settings\r\n/Tavro/A = 1\r\n\r\n/Tavro/B=two words // note\r\nbad line\r\n/Tavro/C=\r\n";

class ConfigEncoding : public ConfigFileTest {
 protected:
  std::unique_ptr<Config> OpenBytes(const std::string& bytes) {
    testing::WriteBytes(File(), bytes);
    return Open();
  }
};

TEST_F(ConfigEncoding, Utf16LittleEndianGivesTheSameStoreAsAnsi) {
  const auto ansi = OpenBytes(testing::AnsiBytes(kAsciiText));
  const auto utf16 = OpenBytes(testing::Utf16LeBytes(kAsciiText));
  EXPECT_EQ(ConfigTestPeer::Map(*utf16), ConfigTestPeer::Map(*ansi));
  EXPECT_EQ(ConfigTestPeer::Map(*utf16), (Map{{L"/Tavro/A", L"1"}, {L"/Tavro/B", L"two words"}}));
  EXPECT_EQ(Records(*utf16), Records(*ansi));
  EXPECT_EQ(Records(*utf16).size(), 7u);
}

TEST_F(ConfigEncoding, Utf16BigEndianIsReadCorrectly) {
  const auto config = OpenBytes(testing::Utf16BeBytes(L"k\u00E9y=\u20AC uro\r\nx=\u4E2D"));
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"k\u00E9y", L"\u20AC uro"}, {L"x", L"\u4E2D"}}));
}

TEST_F(ConfigEncoding, EncodingNameIsTraced) {
  for (const auto& [bytes, name] :
       std::vector<std::pair<std::string, std::wstring>>{{testing::Utf16LeBytes(L"a=1"), L"LE"},
                                                         {testing::Utf16BeBytes(L"a=1"), L"BE"},
                                                         {testing::AnsiBytes(L"a=1"), L"ANSI"}}) {
    ReportRecorderForTesting recorder;
    OpenBytes(bytes);
    const auto debug = recorder.Messages(internal::kLevelDebug);
    EXPECT_NE(std::find(debug.begin(), debug.end(), L"The Config file type is: " + name), debug.end())
        << name.size();
  }
}

TEST_F(ConfigEncoding, AnsiByteBecomesTheCharacterOfTheSameCode) {
  const auto config = OpenBytes(std::string("caf\xE9=\xFF\x80", 7));
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"caf\u00E9", L"\u00FF\u0080"}}));
}

TEST_F(ConfigEncoding, Utf8WithMarkIsRefused) {
  WriteUtf16Le(L"a=1");
  const auto config = Open();
  ReportRecorderForTesting recorder;
  testing::WriteBytes(File(), "\xEF\xBB\xBFk=v\r\n");
  EXPECT_EQ(config->Reload(true), CFG_FILE_UTF8);
  EXPECT_EQ(static_cast<int>(CFG_FILE_UTF8), -17);
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_TRUE(ConfigTestPeer::Lines(*config).empty());
  EXPECT_EQ(
      recorder.Messages(internal::kLevelError),
      (std::vector<std::wstring>{L"The following Config file is UTF-8 and can not be parsed:  " + FileName(),
                                 L"Error parsing the Config file!"}));
}

TEST_F(ConfigEncoding, Utf8WithoutMarkIsReadAsAnsiByteByByte) {
  const auto config = OpenBytes("k=caf\xC3\xA9");
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"k", L"caf\u00C3\u00A9"}}));
}

TEST_F(ConfigEncoding, OddLengthUtf16DropsTheFinalByte) {
  std::string bytes = testing::Utf16LeBytes(L"k=vw");
  bytes.push_back('x');
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"k", L"vw"}}));
}

TEST_F(ConfigEncoding, LoneByteOrderMarkGivesOneBlankRecord) {
  const auto config = OpenBytes("\xFF\xFE");
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_BLANK, L"", L""}}));
}

TEST_F(ConfigEncoding, SingleByteFileIsAnsi) {
  const auto config = OpenBytes("x");
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_MALFORMED, L"x", L""}}));
}

TEST_F(ConfigEncoding, NulCharactersAreKeptInsideLines) {
  const auto config = OpenBytes(std::string("k=a\0b\nn\0=1", 10));
  EXPECT_EQ(ConfigTestPeer::Map(*config),
            (Map{{L"k", std::wstring(L"a\0b", 3)}, {std::wstring(L"n\0", 2), L"1"}}));
}

TEST_F(ConfigEncoding, CarriageReturnUnitsAreDroppedInUtf16Too) {
  const auto config = OpenBytes(testing::Utf16LeBytes(L"a\r=\r1\r\r\n"));
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"a", L"1"}}));
  EXPECT_EQ(Records(*config).size(), 2u);
}

}  // namespace
}  // namespace Tavro_KVO_Util

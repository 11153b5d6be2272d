// Files that no one writes on purpose but that reach the store anyway: huge lines, huge line
// counts, truncated UTF-16, stray marks, NUL bytes, bare CRs and LFs, and noise. Every case states
// exactly what the store must hold afterwards.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "Config.h"
#include "config/config_test_peer.h"

namespace Tavro_KVO_Util {
namespace {

using Map = std::map<std::wstring, std::wstring>;
using Record = std::tuple<int, std::wstring, std::wstring>;
using testing::ConfigFileTest;
using testing::Records;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

class ConfigBadInput : public ConfigFileTest {
 protected:
  std::unique_ptr<Config> OpenBytes(const std::string& bytes) const {
    testing::WriteBytes(File(), bytes);
    return Open(/*logging=*/false);
  }
};

// A value of `length` letters: no blanks to trim, no "//" to cut, no LF to split.
std::wstring LetterValue(std::size_t length) {
  std::wstring value(length, L'\0');
  for (std::size_t i = 0; i < length; ++i) value[i] = static_cast<wchar_t>(L'a' + i % 26);
  return value;
}

std::wstring NumberedKey(int i) {
  return L"/Tavro/MedivaneSDK/Section" + std::to_wstring(i / 100) + L"/Key" + std::to_wstring(i);
}

std::vector<Record> BlankRecords(std::size_t count) {
  return std::vector<Record>(count, Record{CFG_LINE_BLANK, L"", L""});
}

// The map must be exactly what the key/value records give when read in file order: the last
// record of each key decides, and a blank last value leaves the key out.
::testing::AssertionResult MapFollowsRecords(const Config& config) {
  Map expected;
  for (const ConfigLine& line : ConfigTestPeer::Lines(config)) {
    if (line.type != CFG_LINE_KEY_VALUE) continue;
    if (line.key.empty()) return ::testing::AssertionFailure() << "key/value record with an empty key";
    if (line.value.empty()) {
      expected.erase(line.key);
    } else {
      expected[line.key] = line.value;
    }
  }
  const Map& actual = ConfigTestPeer::Map(config);
  if (actual == expected) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "map has " << actual.size() << " keys, the records give " << expected.size();
}

TEST_F(ConfigBadInput, OneMebibyteValueInAnsiIsReadWhole) {
  const std::wstring value = LetterValue(kMebibyte);
  WriteAnsi(L"/Big/Key=" + value);
  const auto config = Open(/*logging=*/false);
  std::wstring found;
  ASSERT_EQ(config->GetParameter(L"/Big/Key", found), CFG_SUCCESS);
  EXPECT_EQ(found.size(), kMebibyte);
  EXPECT_TRUE(found == value);  // not EXPECT_EQ: a failure would print two mebibytes
  EXPECT_EQ(ConfigTestPeer::Lines(*config).size(), 1u);
  EXPECT_EQ(ConfigTestPeer::Map(*config).size(), 1u);
}

TEST_F(ConfigBadInput, OneMebibyteValueInUtf16IsReadWhole) {
  // Characters above 0xFF only UTF-16 can carry, to see that both bytes of each unit arrive.
  std::wstring value = LetterValue(kMebibyte);
  for (std::size_t i = 0; i < value.size(); i += 7) value[i] = L'\u0416';
  WriteUtf16Le(L"  /Big/Key  =  " + value + L"  \r\n");
  const auto config = Open(/*logging=*/false);
  std::wstring found;
  ASSERT_EQ(config->GetParameter(L"/Big/Key", found), CFG_SUCCESS);
  EXPECT_EQ(found.size(), kMebibyte);
  EXPECT_TRUE(found == value);
  const auto& lines = ConfigTestPeer::Lines(*config);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].type, CFG_LINE_KEY_VALUE);
  EXPECT_EQ(lines[0].key, L"/Big/Key");
  EXPECT_EQ(lines[1].type, CFG_LINE_BLANK);
}

TEST_F(ConfigBadInput, HundredThousandLinesAreAllKept) {
  constexpr int kLines = 100000;
  std::wstring text;
  for (int i = 0; i < kLines; ++i) text += NumberedKey(i) + L" = value " + std::to_wstring(i) + L"\r\n";
  WriteAnsi(text);
  const auto config = Open(/*logging=*/false);

  // The final CR LF opens one more, empty line.
  const auto& lines = ConfigTestPeer::Lines(*config);
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(kLines) + 1);
  EXPECT_EQ(lines.back().type, CFG_LINE_BLANK);
  EXPECT_EQ(ConfigTestPeer::Map(*config).size(), static_cast<std::size_t>(kLines));
  for (const int i : {0, kLines / 2, kLines - 1}) {
    std::wstring value;
    EXPECT_EQ(config->GetParameter(NumberedKey(i), value), CFG_SUCCESS) << i;
    EXPECT_EQ(value, L"value " + std::to_wstring(i));
    EXPECT_EQ(lines[static_cast<std::size_t>(i)].key, NumberedKey(i));
  }
}

TEST_F(ConfigBadInput, OddLengthUtf16LittleEndianDropsALoneLineFeedByte) {
  // The lone last byte would be LF if its partner had arrived; alone it is no unit and no break.
  std::string bytes = testing::Utf16LeBytes(L"a=b\nc=d");
  bytes.push_back('\n');
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{L"a", L"b"}, {L"c", L"d"}}));
  EXPECT_EQ(Records(*config), (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"a", L"b"},  //
                                                   {CFG_LINE_KEY_VALUE, L"c", L"d"}}));
}

TEST_F(ConfigBadInput, OddLengthUtf16BigEndianDropsTheFinalByte) {
  std::string bytes = testing::Utf16BeBytes(L"a=b\n");
  bytes.push_back('\0');
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(Records(*config),
            (std::vector<Record>{{CFG_LINE_KEY_VALUE, L"a", L"b"}, {CFG_LINE_BLANK, L"", L""}}));
}

TEST_F(ConfigBadInput, LoneLittleEndianMarkIsOneBlankRecord) {
  const auto config = OpenBytes("\xFF\xFE");
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), BlankRecords(1));
}

TEST_F(ConfigBadInput, LoneBigEndianMarkIsOneBlankRecord) {
  const auto config = OpenBytes("\xFE\xFF");
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(Records(*config), BlankRecords(1));
}

TEST_F(ConfigBadInput, MarkWithOneMoreByteIsOneBlankRecord) {
  const auto config = OpenBytes("\xFF\xFE=");
  EXPECT_EQ(Records(*config), BlankRecords(1));
}

TEST_F(ConfigBadInput, NulBytesInAnsiKeysAndValuesAreKept) {
  const auto config = OpenBytes(std::string("k\0ey = va\0lue\n\0=\0\n", 18));
  const std::wstring key(L"k\0ey", 4);
  const std::wstring nul(1, L'\0');
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{key, std::wstring(L"va\0lue", 6)}, {nul, nul}}));
  std::wstring value;
  ASSERT_EQ(config->GetParameter(key, value), CFG_SUCCESS);
  EXPECT_EQ(value, std::wstring(L"va\0lue", 6));
  // The key cut short at its NUL is another key.
  EXPECT_EQ(config->GetParameter(L"k", value), CFG_NOT_FOUND);
  EXPECT_EQ(Records(*config).size(), 3u);
}

TEST_F(ConfigBadInput, NulUnitsInUtf16KeysAndValuesAreKept) {
  const std::wstring key(L"\0k\0", 3);
  const std::wstring value(L"\0\0v", 3);
  WriteUtf16Le(key + L"=" + value);
  const auto config = Open(/*logging=*/false);
  EXPECT_EQ(ConfigTestPeer::Map(*config), (Map{{key, value}}));
}

TEST_F(ConfigBadInput, FileOfOnlyCarriageReturnsIsOneBlankRecord) {
  WriteAnsi(std::wstring(10000, L'\r'));
  const auto ansi = Open(/*logging=*/false);
  EXPECT_TRUE(ConfigTestPeer::Map(*ansi).empty());
  EXPECT_EQ(Records(*ansi), BlankRecords(1));

  WriteUtf16Le(std::wstring(10000, L'\r'));
  const auto utf16 = Open(/*logging=*/false);
  EXPECT_EQ(Records(*utf16), BlankRecords(1));
}

TEST_F(ConfigBadInput, FileOfOnlyLineFeedsIsOneBlankRecordMoreThanFeeds) {
  constexpr std::size_t kFeeds = 10000;
  WriteAnsi(std::wstring(kFeeds, L'\n'));
  const auto ansi = Open(/*logging=*/false);
  EXPECT_TRUE(ConfigTestPeer::Map(*ansi).empty());
  EXPECT_EQ(Records(*ansi), BlankRecords(kFeeds + 1));

  WriteUtf16Le(std::wstring(kFeeds, L'\n'));
  const auto utf16 = Open(/*logging=*/false);
  EXPECT_EQ(Records(*utf16), BlankRecords(kFeeds + 1));
}

// 64 KiB from a fixed seed, behind `prefix` so each encoding is reached on purpose rather than by
// what the first two random bytes happen to be.
std::string RandomBytes(const std::string& prefix, std::uint32_t seed) {
  std::mt19937 rng(seed);
  std::string bytes = prefix;
  while (bytes.size() < 64 * 1024) bytes.push_back(static_cast<char>(rng() & 0xFF));
  return bytes;
}

// Lines in the body: one more than its line feeds (LF bytes, or LF code units in UTF-16).
std::size_t ExpectedRecordCount(const std::string& bytes, std::size_t bodyStart, int unitBytes,
                                bool bigEndian) {
  std::size_t feeds = 0;
  for (std::size_t at = bodyStart; at + static_cast<std::size_t>(unitBytes) <= bytes.size();
       at += unitBytes) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    if (unitBytes == 1) {
      feeds += first == '\n';
    } else {
      const auto second = static_cast<unsigned char>(bytes[at + 1]);
      feeds += bigEndian ? (first == 0 && second == '\n') : (first == '\n' && second == 0);
    }
  }
  return feeds + 1;
}

TEST_F(ConfigBadInput, RandomAnsiBytesGiveConsistentRecordsAndMap) {
  const std::string bytes = RandomBytes("x", 20240611);
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(ConfigTestPeer::Lines(*config).size(), ExpectedRecordCount(bytes, 0, 1, false));
  EXPECT_FALSE(ConfigTestPeer::Map(*config).empty());  // the seed gives keys; an empty map tests nothing
  EXPECT_TRUE(MapFollowsRecords(*config));
}

TEST_F(ConfigBadInput, RandomUtf16LittleEndianBytesGiveConsistentRecordsAndMap) {
  // One LF unit in 65536 is too rare to make lines: mix LF and '=' units in every 64th unit.
  std::string bytes = RandomBytes("\xFF\xFE", 7);
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 128) {
    bytes[at] = (at / 128) % 2 == 0 ? '\n' : '=';
    bytes[at + 1] = '\0';
  }
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(ConfigTestPeer::Lines(*config).size(), ExpectedRecordCount(bytes, 2, 2, false));
  EXPECT_FALSE(ConfigTestPeer::Map(*config).empty());
  EXPECT_TRUE(MapFollowsRecords(*config));
}

TEST_F(ConfigBadInput, RandomUtf16BigEndianBytesGiveConsistentRecordsAndMap) {
  std::string bytes = RandomBytes("\xFE\xFF", 11);
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 128) {
    bytes[at] = '\0';
    bytes[at + 1] = (at / 128) % 2 == 0 ? '\n' : '=';
  }
  bytes.push_back('\x5A');  // and an odd length
  const auto config = OpenBytes(bytes);
  EXPECT_EQ(ConfigTestPeer::Lines(*config).size(), ExpectedRecordCount(bytes, 2, 2, true));
  EXPECT_FALSE(ConfigTestPeer::Map(*config).empty());
  EXPECT_TRUE(MapFollowsRecords(*config));
}

}  // namespace
}  // namespace Tavro_KVO_Util

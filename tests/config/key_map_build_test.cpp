// The map a whole file gives, built in one go from the line records, against the map that reading
// the lines one by one gives.
#include "config/key_map_build.h"

#include <gtest/gtest.h>

#include <random>

namespace Tavro_KVO_Util::internal {
namespace {

using Map = std::map<std::wstring, std::wstring>;
using Notes = std::vector<std::pair<std::size_t, LineNote>>;

ConfigLine KeyLine(const std::wstring& key, const std::wstring& value) {
  return {CFG_LINE_KEY_VALUE, key, value};
}

Notes Flatten(const std::vector<NotedLine>& notes) {
  Notes flat;
  for (const NotedLine& note : notes) flat.emplace_back(note.line, note.note);
  return flat;
}

// Line by line, as the file reads top to bottom: the reference the one-go build must match.
Map ReadOneByOne(const std::vector<ConfigLine>& lines, std::vector<NotedLine>& notes) {
  Map map;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const ConfigLine& line = lines[i];
    if (line.type != CFG_LINE_KEY_VALUE) continue;
    const auto found = map.find(line.key);
    if (found != map.end()) notes.push_back({i, LineNote::kOverriding});
    if (line.value.empty()) {
      if (found != map.end()) map.erase(found);
      notes.push_back({i, LineNote::kNoValue});
    } else {
      map[line.key] = line.value;
    }
  }
  return map;
}

TEST(KeyMapBuild, LaterLineWinsAndBlankValueRemovesUntilSetAgain) {
  const std::vector<ConfigLine> lines = {KeyLine(L"k", L"1"), KeyLine(L"k", L""), KeyLine(L"k", L"2"),
                                         KeyLine(L"j", L""), KeyLine(L"k", L"3")};
  Map map;
  std::vector<NotedLine> notes;
  BuildKeyMap(lines, map, notes);
  EXPECT_EQ(map, (Map{{L"k", L"3"}}));
  EXPECT_EQ(Flatten(notes), (Notes{{1, LineNote::kOverriding},
                                   {1, LineNote::kNoValue},
                                   {3, LineNote::kNoValue},
                                   {4, LineNote::kOverriding}}));
}

TEST(KeyMapBuild, NotesOfOtherLinesAreMergedInLineOrder) {
  const std::vector<ConfigLine> lines = {KeyLine(L"b", L"1"),
                                         {CFG_LINE_MALFORMED, L"x", L""},
                                         KeyLine(L"a", L""),
                                         KeyLine(L"b", L"2"),
                                         {CFG_LINE_MALFORMED, L"y", L""}};
  std::vector<NotedLine> notes = {{1, LineNote::kMalformed}, {4, LineNote::kMalformed}};
  Map map;
  BuildKeyMap(lines, map, notes);
  EXPECT_EQ(map, (Map{{L"b", L"2"}}));
  EXPECT_EQ(Flatten(notes), (Notes{{1, LineNote::kMalformed},
                                   {2, LineNote::kNoValue},
                                   {3, LineNote::kOverriding},
                                   {4, LineNote::kMalformed}}));
}

TEST(KeyMapBuild, OtherLinesAndNoKeysGiveAnEmptyMap) {
  const std::vector<ConfigLine> lines = {{CFG_LINE_BLANK, L"", L""}, {CFG_LINE_COMMENT, L"// k=v", L""}};
  Map map;
  std::vector<NotedLine> notes;
  BuildKeyMap(lines, map, notes);
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(notes.empty());
}

// Builds `keys` twice over (every key once, then every key again, from the last back to the first)
// and checks the map and notes against reading line by line. A key sorted out of place would
// separate its two lines and keep the first value instead of the second.
void ExpectEveryKeyTwice(const std::vector<std::wstring>& keys) {
  std::vector<ConfigLine> lines;
  for (std::size_t i = 0; i < keys.size(); ++i) lines.push_back(KeyLine(keys[i], L"first"));
  for (std::size_t i = keys.size(); i-- > 0;)
    lines.push_back(KeyLine(keys[i], L"second " + std::to_wstring(i)));
  Map map;
  std::vector<NotedLine> notes;
  BuildKeyMap(lines, map, notes);
  std::vector<NotedLine> expectedNotes;
  EXPECT_EQ(map, ReadOneByOne(lines, expectedNotes));
  EXPECT_EQ(Flatten(notes), Flatten(expectedNotes));
  ASSERT_EQ(map.size(), keys.size());
  EXPECT_EQ(map.at(keys.front()), L"second 0");
  EXPECT_EQ(notes.size(), keys.size());
}

// Keys that agree on their first units past the shared part and differ only later, keys that are
// beginnings of others, and keys holding a zero unit, which reads like the end of a shorter key
// in the packed first units.
TEST(KeyMapBuild, KeysAlikeInTheirFirstUnitsStayApart) {
  const std::wstring base = L"/Tavro/MedivaneSDK/Section/";
  ExpectEveryKeyTwice({base + L"abcdefghijklmnopqrstuvwxyz2", base + L"abcdefghijklmnopqrstuvwxyz1",
                       base + L"abcdefghijklmnopq", base + L"abcdefghijklmnop",
                       base + std::wstring(L"abc\0", 4), base + L"abc", base + std::wstring(L"abc\0d", 5),
                       base});
}

// Units above 0xFF (from UTF-16 files) and, where wchar_t has 32 bits, above 0xFFFF are packed
// wider.
TEST(KeyMapBuild, WideUnitsStayApart) {
  std::vector<std::wstring> keys = {L"k\u00FF", L"k\u0100", L"k\uFFFF", L"k\u0101a", L"k\u0101", L"k\u0101b"};
  ExpectEveryKeyTwice(keys);
  if (sizeof(wchar_t) == 4) {
    keys.push_back(std::wstring(1, static_cast<wchar_t>(0x1F600)) + L"x");
    keys.push_back(std::wstring(1, static_cast<wchar_t>(0x10000)));
    ExpectEveryKeyTwice(keys);
  }
}

// Many random files over a small set of alike keys, with repeats and blank values: the one-go
// build gives exactly the line-by-line map and notes.
TEST(KeyMapBuild, MatchesReadingLineByLineOnRandomFiles) {
  std::mt19937 rng(20261125);
  const std::vector<std::wstring> stems = {L"/Tavro/A",
                                           L"/Tavro/A/",
                                           L"/Tavro/AB",
                                           L"/Tavro/Medivane/Key1",
                                           L"/Tavro/Medivane/Key10",
                                           L"/Tavro/Medivane/Key2",
                                           L"x",
                                           L"\u0416y"};
  for (int file = 0; file < 500; ++file) {
    std::vector<ConfigLine> lines;
    const int count = static_cast<int>(rng() % 40);
    for (int i = 0; i < count; ++i) {
      switch (rng() % 6) {
        case 0:
          lines.push_back({CFG_LINE_COMMENT, L"// c", L""});
          break;
        case 1:
          lines.push_back(KeyLine(stems[rng() % stems.size()], L""));
          break;
        default:
          lines.push_back(
              KeyLine(stems[rng() % stems.size()] + std::to_wstring(rng() % 3), std::to_wstring(i)));
      }
    }
    Map map;
    std::vector<NotedLine> notes;
    BuildKeyMap(lines, map, notes);
    std::vector<NotedLine> expectedNotes;
    const Map expected = ReadOneByOne(lines, expectedNotes);
    ASSERT_EQ(map, expected) << "file " << file;
    ASSERT_EQ(Flatten(notes), Flatten(expectedNotes)) << "file " << file;
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal

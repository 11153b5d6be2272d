#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "mvutil_log_fixture.h"
#include "platform/host_name.h"
#include "platform/process_info.h"
#include "platform/time_zone.h"
#include "wide_text.h"

namespace mvutil::testing {
namespace {

using support::Utf16LeBytes;

class MvutilTail : public MvutilLogTest {
 protected:
  // Writes "entry <first>" to "entry <last>" in area Ward at level INFO.
  static void WriteNumbered(int first, int last) {
    for (int number = first; number <= last; ++number) Write(L"Ward", 4, Numbered(number));
  }

  // The lines "I Ward entry <first>\n" to "I Ward entry <last>\n", as tail prints them.
  static std::string Printed(int first, int last) {
    std::string text;
    for (int number = first; number <= last; ++number) {
      text += "I Ward entry " + std::string(number < 10 ? "0" : "") + std::to_string(number) + "\n";
    }
    return text;
  }

  // Follow options that call `step` with the number of the look (1, 2, ...) before each look;
  // its result says whether to look again afterwards.
  template <typename Step>
  static FollowOptions Steps(Step step) {
    FollowOptions options;
    options.interval = std::chrono::milliseconds(10);
    options.keepFollowing = [step, look = 0]() mutable { return step(++look); };
    return options;
  }

  // Appends raw bytes to the log, as a writer in the middle of an entry leaves it.
  static void AppendRaw(const std::string& bytes) {
    std::ofstream(LogFile(), std::ios::binary | std::ios::app) << bytes;
  }
};

TEST_F(MvutilTail, PrintsTheLastTenEntriesByDefault) {
  WriteNumbered(1, 12);
  const Result result = Run({"tail"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, Printed(3, 12));
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilTail, DashNPrintsTheLastNEntries) {
  WriteNumbered(1, 5);
  EXPECT_EQ(Run({"tail", "-n", "3"}).out, Printed(3, 5));
  EXPECT_EQ(Run({"tail", "-n", "9"}).out, Printed(1, 5));
  const Result none = Run({"tail", "-n", "0"});
  EXPECT_EQ(none.code, 0);
  EXPECT_EQ(none.out, "");
}

TEST_F(MvutilTail, LevelShowsEntriesOfThatLevelOrMoreSevere) {
  for (int level = 0; level <= 5; ++level) Write(L"Ward", level, L"level " + std::to_wstring(level));
  Write(L"NoSuchArea", 7, L"level 7");  // a debug area, so written, as "U"
  EXPECT_EQ(Run({"tail", "--level", "WARN"}).out,
            "R Ward level 0\nF Ward level 1\nE Ward level 2\nW Ward level 3\n");
  EXPECT_EQ(Run({"tail", "--level", "1"}).out, "R Ward level 0\nF Ward level 1\n");
  EXPECT_EQ(
      Run({"tail", "--level", "debug"}).out,
      "R Ward level 0\nF Ward level 1\nE Ward level 2\nW Ward level 3\nI Ward level 4\nD Ward level 5\n");
  EXPECT_EQ(Run({"tail"}).out,
            "R Ward level 0\nF Ward level 1\nE Ward level 2\nW Ward level 3\nI Ward level 4\nD Ward level 5\n"
            "U NoSuchArea level 7\n");
}

TEST_F(MvutilTail, AreaShowsOnlyEntriesOfExactlyThatArea) {
  Write(L"Ward", 4, L"one");
  Write(L"Ward7", 4, L"two");
  Write(L"ward", 4, L"three");
  Write(L"Ward", 4, L"four");
  EXPECT_EQ(Run({"tail", "--area", "Ward"}).out, "I Ward one\nI Ward four\n");
}

TEST_F(MvutilTail, FiltersCombineAndDashNCountsTheEntriesThatPass) {
  Write(L"Ward", 2, L"a");
  Write(L"Ward", 4, L"b");
  Write(L"Bed", 2, L"c");
  Write(L"Ward", 1, L"d");
  Write(L"Ward", 5, L"e");
  Write(L"Ward", 2, L"f");
  EXPECT_EQ(Run({"tail", "--level", "ERROR", "--area", "Ward", "-n", "2"}).out, "F Ward d\nE Ward f\n");
}

TEST_F(MvutilTail, EntriesArePrintedAsUtf8WithTheirData) {
  Write(L"\u00DCberwachung", 4, L"caf\u00E9 \u03A9 \U0001D11E");
  Tavro_KVO_Util::Logger::GetInstance()->LogString(L"Ward", 4, L"moved", L"bed \u00BD", L".\\test", 2);
  const std::string watched = u8"I \u00DCberwachung caf\u00E9 \u03A9 \U0001D11E\n";
  EXPECT_EQ(Run({"tail"}).out, watched + u8"I Ward moved;DATA#bed \u00BD\n");
  EXPECT_EQ(Run({"tail", "--area", u8"\u00DCberwachung"}).out, watched);
}

TEST_F(MvutilTail, TheDefaultTemplateIsReadFieldByField) {
  WriteConfig({{L"FormatString", L"%L %D %T %Z %A {%P-%t} %m"}});
  Write(L"Ward 7", 4, L"first");
  Write(L"Ward", 2, L"second");
  Write(L"Ward 7", 3, L"third");
  std::vector<std::string> lines;
  for (const std::wstring& line : Lines(LogFile())) lines.push_back(WideToUtf8(line));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(Run({"tail", "--area", "Ward 7"}).out, lines[0] + "\n" + lines[2] + "\n");
  EXPECT_EQ(Run({"tail", "--area", "Ward"}).out, lines[1] + "\n");
  EXPECT_EQ(Run({"tail", "--level", "WARN"}).out, lines[1] + "\n" + lines[2] + "\n");
}

TEST_F(MvutilTail, AFilterTheTemplateCannotServeIsRefused) {
  WriteConfig({{L"FormatString", L"%A %m"}});
  Write(L"Ward", 4, L"one");
  const Result level = Run({"tail", "--level", "INFO"});
  EXPECT_EQ(level.code, 1);
  EXPECT_EQ(level.out, "");
  EXPECT_EQ(level.err, "mvutil tail: the entry template has no %L, so entries cannot be picked by level\n");
  WriteConfig({{L"FormatString", L"%L %m"}});
  const Result area = Run({"tail", "--area", "Ward"});
  EXPECT_EQ(area.code, 1);
  EXPECT_EQ(area.err, "mvutil tail: the entry template has no %A, so entries cannot be picked by area\n");
  EXPECT_EQ(Run({"tail"}).out, "Ward one\n");
}

TEST_F(MvutilTail, NoLogFileExitsWithOneAndSaysWhichFile) {
  const Result result = Run({"tail"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil tail: " + LogFile().u8string() + ": no log file\n");
}

TEST_F(MvutilTail, WrongCommandLinesAreUsageErrors) {
  const std::vector<std::pair<Args, std::string>> cases = {
      {{"tail", "-n", "x"}, "mvutil tail: -n needs a whole number of entries from 0 to 1000000, not 'x'\n"},
      {{"tail", "-n", "-1"}, "mvutil tail: -n needs a whole number of entries from 0 to 1000000, not '-1'\n"},
      {{"tail", "-n", "1000001"},
       "mvutil tail: -n needs a whole number of entries from 0 to 1000000, not '1000001'\n"},
      {{"tail", "-n"}, "mvutil tail: -n needs a value; see 'mvutil tail --help'\n"},
      {{"tail", "--level", "LOUD"},
       "mvutil tail: unknown level 'LOUD'; use REPORT, FATAL, ERROR, WARN, INFO, DEBUG or a number 0-5\n"},
      {{"tail", "--area"}, "mvutil tail: --area needs a value; see 'mvutil tail --help'\n"},
      {{"tail", "KVO.log"}, "mvutil tail: unexpected argument 'KVO.log'; see 'mvutil tail --help'\n"},
  };
  for (const auto& [args, message] : cases) {
    const Result result = Run(args);
    EXPECT_EQ(result.code, 2) << message;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, message);
  }
}

TEST_F(MvutilTail, AnEntryStillBeingWrittenWaitsUntilItIsComplete) {
  support::WriteBytes(LogFile(),
                      Utf16LeBytes(L"I Ward one\r\n") + support::Utf16Bytes(L"I Ward tw", false, false));
  EXPECT_EQ(Run({"tail"}).out, "I Ward one\n");
  const Result result = RunTailFollowing({"-f"}, Steps([](int look) {
                                           if (look == 1) AppendRaw(support::Utf16Bytes(L"o", false, false));
                                           if (look == 2)
                                             AppendRaw(support::Utf16Bytes(L"\r\n", false, false));
                                           return look < 2;
                                         }));
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "I Ward one\nI Ward two\n");
}

TEST_F(MvutilTail, FollowPrintsEachNewEntryOnce) {
  WriteNumbered(1, 2);
  const Result result = RunTailFollowing({"-f", "-n", "1"}, Steps([](int look) {
                                           if (look == 1) WriteNumbered(3, 4);
                                           if (look == 3) WriteNumbered(5, 5);
                                           return look < 4;
                                         }));
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, Printed(2, 5));
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilTail, FollowAppliesTheFilters) {
  const Result result = RunTailFollowing({"-f", "--area", "Bed", "--level", "WARN"}, Steps([](int look) {
                                           Write(L"Bed", 2, L"kept " + std::to_wstring(look));
                                           Write(L"Bed", 4, L"too verbose");
                                           Write(L"Ward", 2, L"other area");
                                           return look < 2;
                                         }));
  EXPECT_EQ(result.out, "E Bed kept 1\nE Bed kept 2\n");
}

// The file rolls between two looks: the entries appended to it before the roll are read from the
// backup it became, then the new files, each entry exactly once and in order.
TEST_F(MvutilTail, FollowGoesOnAcrossRollsInOrderAndExactlyOnce) {
  // An entry is 2 + 34 bytes in a new file; at 100 bytes the third entry rolls the file.
  WriteConfig({{L"MaxLogFileSize", L"100"}, {L"MaxLogFileBackups", L"9"}});
  WriteNumbered(1, 2);
  const Result result = RunTailFollowing({"-f"}, Steps([](int look) {
                                           if (look == 1) WriteNumbered(3, 7);
                                           if (look == 2) WriteNumbered(8, 9);
                                           return look < 3;
                                         }));
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, Printed(1, 9));
  // The entries lie in four files: 1-3 | 4-6 | 7-9 ... as the logger rolled them.
  EXPECT_EQ(Lines(Backup(2)),
            (std::vector<std::wstring>{L"I Ward entry 01", L"I Ward entry 02", L"I Ward entry 03"}));
  EXPECT_EQ(Lines(Backup(1)),
            (std::vector<std::wstring>{L"I Ward entry 04", L"I Ward entry 05", L"I Ward entry 06"}));
  EXPECT_EQ(Lines(LogFile()),
            (std::vector<std::wstring>{L"I Ward entry 07", L"I Ward entry 08", L"I Ward entry 09"}));
}

// A writer in another thread logs and rolls while tail looks: tail must print every entry once,
// and its reading must cost the writer none (on Windows the writer opens the file without
// sharing, so a read at the wrong moment would drop an entry).
TEST_F(MvutilTail, FollowBesideABusyWriterMissesNothingAndCostsItNothing) {
  WriteConfig({{L"MaxLogFileSize", L"500"}, {L"MaxLogFileBackups", L"20"}});
  std::atomic<bool> written{false};
  std::thread writer;
  const Result result = RunTailFollowing({"-f"}, Steps([&](int look) {
                                           if (look == 1) {
                                             writer = std::thread([&] {
                                               WriteNumbered(1, 99);
                                               written = true;
                                             });
                                           }
                                           return !written;  // the look after the last entry is the last
                                         }));
  writer.join();
  EXPECT_EQ(result.out, Printed(1, 99));
  std::vector<std::wstring> logged;
  for (int number = 20; number >= 1; --number) {
    if (!std::filesystem::exists(Backup(number))) continue;
    for (const std::wstring& line : Lines(Backup(number))) logged.push_back(line);
  }
  for (const std::wstring& line : Lines(LogFile())) logged.push_back(line);
  ASSERT_EQ(logged.size(), 99u);
  EXPECT_EQ(logged.back(), L"I Ward entry 99");
  EXPECT_TRUE(std::filesystem::exists(Backup(6)));  // 14 entries a file: it rolled six times
}

TEST_F(MvutilTail, FollowReadsEveryFileWhenEachEntryRollsTheLog) {
  WriteConfig({{L"MaxLogFileSize", L"1"}, {L"MaxLogFileBackups", L"9"}});
  WriteNumbered(1, 1);
  const Result result = RunTailFollowing({"-f"}, Steps([](int look) {
                                           if (look == 1) WriteNumbered(2, 6);
                                           return look < 2;
                                         }));
  EXPECT_EQ(result.out, Printed(1, 6));
  EXPECT_EQ(Lines(Backup(5)), std::vector<std::wstring>{L"I Ward entry 01"});
  EXPECT_EQ(Lines(LogFile()), std::vector<std::wstring>{L"I Ward entry 06"});
}

// Without backups the logger empties the file in place and writes on at its start (without a
// byte-order mark). An entry that was emptied away before a look is lost with the file's old text.
TEST_F(MvutilTail, FollowStartsAgainAtTheTopWhenTheFileIsEmptiedInPlace) {
  WriteConfig({{L"MaxLogFileSize", L"100"}, {L"MaxLogFileBackups", L"0"}});
  WriteNumbered(1, 2);  // 2 + 2 x 34 = 70 bytes
  const Result result = RunTailFollowing({"-f"}, Steps([](int look) {
                                           // 3 makes 104 bytes; 4 empties the file; 4-6 refill it past 70.
                                           if (look == 1) WriteNumbered(3, 6);
                                           // 7 empties it again: now shorter than before.
                                           if (look == 2) WriteNumbered(7, 7);
                                           return look < 2;
                                         }));
  EXPECT_EQ(result.out, Printed(1, 2) + Printed(4, 7));
  EXPECT_EQ(support::ReadBytes(LogFile()), support::Utf16Bytes(L"I Ward entry 07\r\n", false, false));
}

TEST_F(MvutilTail, FollowWaitsForTheLogToAppear) {
  const Result result = RunTailFollowing({"-f"}, Steps([](int look) {
                                           if (look == 2) WriteNumbered(1, 2);
                                           return look < 3;
                                         }));
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, Printed(1, 2));
  EXPECT_EQ(result.err, "mvutil tail: " + LogFile().u8string() + ": no log file yet; waiting for it\n");
}

// The last entries of a long log are found by reading it backwards a block at a time; a filter
// that passes only the first entry reads it all.
TEST_F(MvutilTail, ALongLogIsReadFromItsEnd) {
  std::wstring text = L"I Rare first\r\n";
  for (int number = 0; number < 60000; ++number)
    text += L"I Ward entry " + std::to_wstring(100000 + number) + L"\r\n";
  const std::wstring longMessage(700000, L'x');  // longer than a block read
  text += L"I Ward " + longMessage + L"\r\n";
  support::WriteBytes(LogFile(), Utf16LeBytes(text));
  EXPECT_EQ(Run({"tail", "-n", "2"}).out, "I Ward entry 159999\nI Ward " + std::string(700000, 'x') + "\n");
  EXPECT_EQ(Run({"tail", "--area", "Rare"}).out, "I Rare first\n");
}

TEST_F(MvutilTail, JsonPrintsOneObjectPerEntryWithTheTemplatesFieldsUnderTheirSchemaNames) {
  WriteConfig({{L"FormatString", L"%L %A %p %f:%l %m"}});
  Write(L"Ward", 2, L"pump \"stopped\"");
  Tavro_KVO_Util::Logger::GetInstance()->LogLong(L"Ward", 4, L"rate", 42, L".\\test", 7);
  AppendRaw(support::Utf16Bytes(L"no template here\r\n", /*bigEndian=*/false, /*withMark=*/false));
  const std::string pid = std::to_string(Tavro_KVO_Util::platform::CurrentProcessId());
  const std::string host = Tavro_KVO_Util::platform::ComputerName();
  const Result result = Run({"tail", "--json"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  // Numbers are numbers; the file name's backslash and the message's quotes are escaped.
  EXPECT_EQ(result.out,
            "{\"log.level\":\"ERROR\",\"message\":\"pump \\\"stopped\\\"\",\"process.pid\":" + pid +
                ",\"log.origin.file.name\":\".\\\\test\",\"log.origin.file.line\":1,\"host.name\":\"" + host +
                "\",\"tavro.area\":\"Ward\",\"tavro.entry\":\"E Ward " + pid +
                " .\\\\test:1 pump \\\"stopped\\\"\",\"tavro.parsed\":true}\n"
                "{\"log.level\":\"INFO\",\"message\":\"rate\",\"process.pid\":" +
                pid + ",\"log.origin.file.name\":\".\\\\test\",\"log.origin.file.line\":7,\"host.name\":\"" +
                host + "\",\"tavro.area\":\"Ward\",\"tavro.data\":\"42\",\"tavro.entry\":\"I Ward " + pid +
                " .\\\\test:7 rate;DATA#42\",\"tavro.parsed\":true}\n"
                "{\"message\":\"no template here\",\"host.name\":\"" +
                host + "\",\"tavro.entry\":\"no template here\",\"tavro.parsed\":false}\n");
}

TEST_F(MvutilTail, JsonGivesTheEntrysTimeWithItsOffset) {
  WriteConfig({{L"FormatString", L"%D %T %m"}});
  AppendRaw(Utf16LeBytes(L"2026-01-15 08:00:00.500 at eight\r\n"));  // a new file: with its mark
  const Result result = Run({"tail", "--json"});
  // The offset is this machine's for that day, whatever the zone the test runs in.
  int offset = 0;
  ASSERT_TRUE(Tavro_KVO_Util::platform::LocalTimeUtcOffset({2026, 1, 15, 8, 0, 0, 500}, "", offset));
  const int minutes = offset / 60 < 0 ? -offset / 60 : offset / 60;
  char zone[16];
  std::snprintf(zone, sizeof zone, "%c%02d:%02d", offset < 0 ? '-' : '+', minutes / 60, minutes % 60);
  EXPECT_EQ(result.out,
            "{\"@timestamp\":\"2026-01-15T08:00:00.500" + std::string(zone) +
                "\",\"message\":\"at eight\",\"host.name\":\"" + Tavro_KVO_Util::platform::ComputerName() +
                "\",\"tavro.entry\":\"2026-01-15 08:00:00.500 at eight\",\"tavro.parsed\":true}\n");
}

}  // namespace
}  // namespace mvutil::testing

// The log on a disk that is really full: a volume of the test's own (support/private_volumes.h)
// is filled until the OS refuses more, then entries are logged into it.
//
// An entry that cannot be written whole must leave the log exactly as it was (a torn line would
// be joined by the next writer's entry), be reported to the event log once per process, and
// logging must go on by itself once space returns. FreeSpaceMinimum is 0 throughout, and pages
// are left free so that the space policy never drops an entry itself (no free page at all counts
// as too little space, and the policy would then start deleting backups): one page, or two where
// the failing entry's file is made on the full disk and its byte-order mark takes the first. Each
// failing entry is longer than one free page and the slack of the file's last page together.
#include <gtest/gtest.h>

#include "logging/event_texts.h"
#include "logging/logger_fixture.h"
#include "platform/path.h"
#include "support/private_volumes.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ErrorsText;
using testing::EventsText;
using testing::Findings;
using testing::kVolumePage;
using testing::LoggerTest;

constexpr char kWriteError[] = "Error writing to log file, the entry will not be logged";

class LoggerFullDisk : public LoggerTest {
 protected:
  // An entry of more than two pages in UTF-16: it cannot fit in one free page plus the slack of
  // the file's last page, whatever the file's size.
  static std::wstring TooBig(wchar_t fill) { return std::wstring(kVolumePage + 100, fill); }

  static std::string Entry(const std::wstring& line) {
    return testing::Utf16Bytes(line + L"\r\n", /*bigEndian=*/false, /*withMark=*/false);
  }

  static void Log(const wchar_t* message) { Logger::GetInstance()->Log(L"A", 4, message, L".\\t.cpp", 1); }

  // The file's bytes, or "(missing)".
  static std::string BytesOf(const std::filesystem::path& file) {
    return std::filesystem::exists(file) ? testing::ReadBytes(file) : std::string("(missing)");
  }

  // The log's lines, for bytes a child sent back (Lines() reads a file).
  std::vector<std::wstring> LinesOf(const std::string& bytes) const {
    const auto copy = mDir.path() / "copy-of-the-log";
    testing::WriteBytes(copy, bytes);
    return Lines(copy);
  }

  testing::PrivateVolumes mVolumes{mDir.path() / "volumes"};
};

TEST_F(LoggerFullDisk, EntryThatDoesNotFitLeavesTheFileAsItWasAndIsReportedOnce) {
  if (!mVolumes.Unavailable().empty()) GTEST_SKIP() << mVolumes.Unavailable();
  const auto log = mVolumes.Small() / "test.log";
  WriteConfig({{L"LogFileLocation", mVolumes.Small().wstring()}});
  const testing::ScenarioRun run = mVolumes.Run([&](Findings& found) {
    Log(L"one");
    Log(L"two");
    found["before"] = BytesOf(log);
    mEvents.Clear();
    found["error"] = testing::FillVolumeLeaving(mVolumes.Small(), kVolumePage);
    if (!found["error"].empty()) return;
    // Several failing entries, so that the once-per-process rule shows.
    Log(TooBig(L'x').c_str());
    Log(TooBig(L'y').c_str());
    Log(TooBig(L'z').c_str());
    found["after the full disk"] = BytesOf(log);
    found["reports"] = EventsText(mEvents.Records());
    std::filesystem::remove(mVolumes.Small() / "filler");
    Log(L"space again");
    found["after space returned"] = BytesOf(log);
    found["reports at the end"] = EventsText(mEvents.Records());
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);

  const std::string before = run.Found("before");
  ASSERT_EQ(before, "\xFF\xFE" + Entry(L"I A one") + Entry(L"I A two"));
  // The whole file, not just its lines: no partial line, no second byte-order mark.
  EXPECT_EQ(run.Found("after the full disk"), before);
  EXPECT_EQ(LinesOf(run.Found("after the full disk")), (std::vector<std::wstring>{L"I A one", L"I A two"}));
  EXPECT_EQ(run.Found("reports"), ErrorsText({kWriteError}));
  EXPECT_EQ(run.Found("after space returned"), before + Entry(L"I A space again"));
  EXPECT_EQ(run.Found("reports at the end"), ErrorsText({kWriteError}));
}

// The file is made (with its byte-order mark, which takes one of the two free pages) when the entry
// is placed; the entry itself then does not fit.
TEST_F(LoggerFullDisk, FirstEntryOfANewFileThatDoesNotFitLeavesOnlyTheByteOrderMark) {
  if (!mVolumes.Unavailable().empty()) GTEST_SKIP() << mVolumes.Unavailable();
  const auto log = mVolumes.Small() / "test.log";
  WriteConfig({{L"LogFileLocation", mVolumes.Small().wstring()}});
  const testing::ScenarioRun run = mVolumes.Run([&](Findings& found) {
    Logger::GetInstance();
    mEvents.Clear();  // making the logger reports the missing log file (tested elsewhere)
    found["error"] = testing::FillVolumeLeaving(mVolumes.Small(), 2 * kVolumePage);
    if (!found["error"].empty()) return;
    Log(TooBig(L'x').c_str());
    Log(TooBig(L'y').c_str());
    found["after the full disk"] = BytesOf(log);
    found["reports"] = EventsText(mEvents.Records());
    std::filesystem::remove(mVolumes.Small() / "filler");
    Log(L"space again");
    found["after space returned"] = BytesOf(log);
    found["reports at the end"] = EventsText(mEvents.Records());
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);

  // The file existed, with its mark, before the entry was appended: that is what stays.
  EXPECT_EQ(run.Found("after the full disk"), "\xFF\xFE");
  EXPECT_EQ(run.Found("reports"), ErrorsText({kWriteError}));
  EXPECT_EQ(run.Found("after space returned"), "\xFF\xFE" + Entry(L"I A space again"));
  EXPECT_EQ(run.Found("reports at the end"), ErrorsText({kWriteError}));
}

// After a roll the entry's own append makes the fresh file, writes its mark (taking one of the two
// free pages) and then the entry.
TEST_F(LoggerFullDisk, EntryAfterARollThatDoesNotFitLeavesNoPartialLineAndTheBackupWhole) {
  if (!mVolumes.Unavailable().empty()) GTEST_SKIP() << mVolumes.Unavailable();
  const auto log = mVolumes.Small() / "test.log";
  const auto backup = mVolumes.Small() / "test.log.1";
  WriteConfig({{L"LogFileLocation", mVolumes.Small().wstring()}, {L"MaxLogFileSize", L"40"}});
  const testing::ScenarioRun run = mVolumes.Run([&](Findings& found) {
    Log(L"one");
    Log(L"two, which takes the file past its maximum size");
    found["before"] = BytesOf(log);
    mEvents.Clear();
    found["error"] = testing::FillVolumeLeaving(mVolumes.Small(), 2 * kVolumePage);
    if (!found["error"].empty()) return;
    Log(TooBig(L'x').c_str());
    found["after the full disk"] = BytesOf(log);
    found["backup after the full disk"] = BytesOf(backup);
    Log(TooBig(L'y').c_str());
    found["reports"] = EventsText(mEvents.Records());
    std::filesystem::remove(mVolumes.Small() / "filler");
    Log(L"space again");
    found["after space returned"] = BytesOf(log);
    found["backup at the end"] = BytesOf(backup);
    found["reports at the end"] = EventsText(mEvents.Records());
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);

  const std::string before = run.Found("before");
  ASSERT_EQ(before,
            "\xFF\xFE" + Entry(L"I A one") + Entry(L"I A two, which takes the file past its maximum size"));
  EXPECT_EQ(run.Found("backup after the full disk"), before);
  // The fresh file that this entry's open made keeps its byte-order mark (two bytes still fit);
  // the entry's line is taken back.
  const std::string fresh = run.Found("after the full disk");
  EXPECT_EQ(fresh, "\xFF\xFE");
  EXPECT_EQ(run.Found("reports"), ErrorsText({kWriteError}));
  EXPECT_EQ(run.Found("after space returned"), "\xFF\xFE" + Entry(L"I A space again"));
  EXPECT_EQ(run.Found("backup at the end"), before);
  EXPECT_EQ(run.Found("reports at the end"), ErrorsText({kWriteError}));
}

// The byte-order mark itself does not fit. The free-space policy looks at LogFileLocation, so the
// log is placed there on the roomy volume while its file lies on the full small one (the name
// reaches into it): the policy sees room, the create succeeds (an empty file takes no page) and
// the two-byte write is refused.
TEST_F(LoggerFullDisk, ByteOrderMarkThatDoesNotFitIsReportedAndTheEntryIsDropped) {
  if (!mVolumes.Unavailable().empty()) GTEST_SKIP() << mVolumes.Unavailable();
  const auto log = mVolumes.Small() / "test.log";
  const std::wstring name = std::wstring(L"small") + platform::PathSeparator() + L"test.log";
  WriteConfig({{L"LogFileLocation", mVolumes.Root().wstring()}, {L"LogFileName", name}});
  const testing::ScenarioRun run = mVolumes.Run([&](Findings& found) {
    Logger::GetInstance();
    mEvents.Clear();  // making the logger reports the missing log file (tested elsewhere)
    found["error"] = testing::FillVolumeLeaving(mVolumes.Small(), 0);
    if (!found["error"].empty()) return;
    Log(L"dropped one");
    found["after the first entry"] = BytesOf(log);
    Log(L"dropped two");
    found["after the second entry"] = BytesOf(log);
    found["reports"] = EventsText(mEvents.Records());
    std::filesystem::remove(mVolumes.Small() / "filler");
    Log(L"space again");
    found["after space returned"] = BytesOf(log);
    found["reports at the end"] = EventsText(mEvents.Records());
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);

  // The file was made, so only the first entry tries (and fails) to give it its mark; the entry
  // cannot follow either.
  EXPECT_EQ(run.Found("after the first entry"), "");
  EXPECT_EQ(run.Found("after the second entry"), "");
  EXPECT_EQ(run.Found("reports"), ErrorsText({"Error writing unicode BOM to log file", kWriteError}));
  // A file that exists gets no mark later (the rule a trimmed file relies on), so the first entry
  // written after space returns starts the file without one.
  EXPECT_EQ(run.Found("after space returned"), Entry(L"I A space again"));
  EXPECT_EQ(run.Found("reports at the end"),
            ErrorsText({"Error writing unicode BOM to log file", kWriteError}));
}

}  // namespace
}  // namespace Tavro_KVO_Util

// Every failure of placing the log file, each produced by a real refusal of the OS: a folder where
// the log file should be, a log held open by another writer, a file where a folder should be, a
// working directory that is gone, a backup that cannot be deleted, a location whose free space
// cannot be read. Each test asserts the exact sequence of event-log reports (which come once per
// process, or with every entry) and that the entry was dropped, not written somewhere else.
//
// The one stand-in is the amount of free space in the deleting test: real free space cannot be
// made short on demand (logger_full_disk_test.cpp fills a volume of its own instead), so
// FreeSpaceForTesting says it is; the delete that then fails is real.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "logging/event_texts.h"
#include "logging/free_space_probe.h"
#include "logging/logger_fixture.h"
#include "platform/path.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace Tavro_KVO_Util {
namespace {

using testing::ErrorsText;
using testing::LoggerTest;

constexpr char kOpenOrCreateError[] = "Error opening/creating log file.";
constexpr char kOpenError[] = "Error opening log file";
constexpr char kLowSpaceInformation[] =
    "4 Not enough disk space for logging, will try to free up enough disk space to continue\n";

// A file held open by someone else, the way the OS makes that a refusal.
class HeldFile {
 public:
  enum class Hold {
    // Another writer of the log: Windows opens it without sharing; Linux writers take an
    // exclusive advisory lock, which every writer of the log asks for.
    kExclusiveWriter,
    // Windows only: a reader that shares reading and writing but not deleting.
    kReaderThatForbidsDeleting,
  };

  HeldFile(const std::filesystem::path& file, Hold hold) {
#ifdef _WIN32
    const bool writer = hold == Hold::kExclusiveWriter;
    mHandle = CreateFileW(file.wstring().c_str(), writer ? GENERIC_WRITE : GENERIC_READ,
                          writer ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE,
                          /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                          /*hTemplateFile=*/nullptr);
    if (mHandle == INVALID_HANDLE_VALUE) mError = "CreateFileW: error " + std::to_string(GetLastError());
#else
    if (hold != Hold::kExclusiveWriter) {
      mError = "Linux has no share modes";
      return;
    }
    mFd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (mFd < 0 || ::flock(mFd, LOCK_EX | LOCK_NB) != 0) mError = std::strerror(errno);
#endif
  }
  ~HeldFile() { Close(); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

  // "" when the file is held.
  const std::string& Error() const { return mError; }

  void Close() {
#ifdef _WIN32
    if (mHandle != INVALID_HANDLE_VALUE) CloseHandle(mHandle);
    mHandle = INVALID_HANDLE_VALUE;
#else
    if (mFd >= 0) ::close(mFd);
    mFd = -1;
#endif
  }

 private:
#ifdef _WIN32
  HANDLE mHandle = INVALID_HANDLE_VALUE;
#else
  int mFd = -1;
#endif
  std::string mError;
};

// Puts the working directory back when the test ends.
class WorkingDirectoryRestorer {
 public:
  WorkingDirectoryRestorer() : mPrevious(std::filesystem::current_path()) {}
  ~WorkingDirectoryRestorer() {
    std::error_code ignored;
    std::filesystem::current_path(mPrevious, ignored);
  }
  WorkingDirectoryRestorer(const WorkingDirectoryRestorer&) = delete;
  WorkingDirectoryRestorer& operator=(const WorkingDirectoryRestorer&) = delete;

 private:
  std::filesystem::path mPrevious;
};

class LoggerPlacementFailure : public LoggerTest {
 protected:
  std::filesystem::path Backup(int number) const {
    return LogDirectory() / ("test.log." + std::to_string(number));
  }
  static std::string Entry(const std::wstring& line) {
    return testing::Utf16Bytes(line + L"\r\n", /*bigEndian=*/false, /*withMark=*/false);
  }
  // A log file as a writer leaves it: the mark and whole lines.
  static void WriteLog(const std::filesystem::path& file, const std::wstring& line) {
    std::filesystem::create_directories(file.parent_path());
    testing::WriteBytes(file, "\xFF\xFE" + Entry(line));
  }
  std::string Reports() const { return testing::EventsText(mEvents.Records()); }
  void Log(const wchar_t* message) { TheLogger().Log(L"A", 4, message, L".\\t.cpp", 1); }

  // The names in the log folder, sorted.
  std::vector<std::string> LogFolderNames() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(LogDirectory())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

// The write path: placing the file succeeds (a folder has a size of its own, 0), opening it to
// append fails. The first failure reaches the event log three times: the open's own report, the
// once-per-process report of the open and the once-per-process report of the write.
TEST_F(LoggerPlacementFailure, LogFileThatIsAFolderDropsEntriesAndReportsTheFirstOpenFailureThreeTimes) {
  WriteConfig();
  std::filesystem::create_directories(LogFile());
  TheLogger();
  EXPECT_EQ(Reports(), "");
  Log(L"dropped one");
  EXPECT_EQ(Reports(), ErrorsText({kOpenOrCreateError, kOpenError, kOpenError}));
  Log(L"dropped two");
  EXPECT_EQ(Reports(), ErrorsText({kOpenOrCreateError, kOpenError, kOpenError, kOpenOrCreateError}));
  EXPECT_TRUE(std::filesystem::is_directory(LogFile()));
  EXPECT_TRUE(std::filesystem::is_empty(LogFile()));
  EXPECT_EQ(LogFolderNames(), std::vector<std::string>{"test.log"}) << "the entries went nowhere else";
}

TEST_F(LoggerPlacementFailure, LogFileHeldOpenByAnotherWriterDropsEntriesUntilItIsClosed) {
  WriteConfig();
  WriteLog(LogFile(), L"before");
  HeldFile holder(LogFile(), HeldFile::Hold::kExclusiveWriter);
  ASSERT_EQ(holder.Error(), "");
  TheLogger();
  EXPECT_EQ(Reports(), "");
  Log(L"dropped one");
  Log(L"dropped two");
  const std::string reports = ErrorsText({kOpenOrCreateError, kOpenError, kOpenError, kOpenOrCreateError});
  EXPECT_EQ(Reports(), reports);

  holder.Close();  // (Windows: the test itself cannot read the file while it is held either)
  EXPECT_EQ(testing::ReadBytes(LogFile()), "\xFF\xFE" + Entry(L"before"));
  Log(L"written");
  EXPECT_EQ(testing::ReadBytes(LogFile()), "\xFF\xFE" + Entry(L"before") + Entry(L"I A written"));
  EXPECT_EQ(Reports(), reports);
  EXPECT_EQ(LogFolderNames(), std::vector<std::string>{"test.log"});
}

// The create path: the file is missing and cannot be made, because a file stands where the folder
// of its name should be (ENOTDIR; ERROR_PATH_NOT_FOUND on Windows). Here the first failure reaches
// the event log twice: the write path is never reached.
TEST_F(LoggerPlacementFailure, LogFileThatCannotBeCreatedDropsEntriesAndReportsTheFirstFailureTwice) {
  const std::wstring name = std::wstring(L"blocker") + platform::PathSeparator() + L"test.log";
  WriteConfig({{L"LogFileName", name}});
  std::filesystem::create_directories(LogDirectory());
  testing::WriteBytes(LogDirectory() / "blocker", "not a folder");
  TheLogger();
  // Kept behaviour: while the logger is being made, a missing file is a failed size check.
  EXPECT_EQ(Reports(), ErrorsText({"Error checking log file size"}));
  Log(L"dropped one");
  EXPECT_EQ(Reports(), ErrorsText({"Error checking log file size", kOpenOrCreateError, kOpenError}));
  Log(L"dropped two");
  EXPECT_EQ(Reports(),
            ErrorsText({"Error checking log file size", kOpenOrCreateError, kOpenError, kOpenOrCreateError}));
  EXPECT_EQ(testing::ReadBytes(LogDirectory() / "blocker"), "not a folder");
  EXPECT_EQ(LogFolderNames(), std::vector<std::string>{"blocker"});
}

// Making the folder is tried only while the configuration names no file: then the first placement
// fills in "KVO.log" and tries the folder. Later entries find the name and go on to the free-space
// check, which fails on a folder that is not there and counts as no space at all.
TEST_F(LoggerPlacementFailure, FolderThatCannotBeMadeIsReportedOnceAndEntriesAreDropped) {
  const auto blocker = mDir.path() / "blocker";
  const auto location = blocker / "logs";
  testing::WriteBytes(blocker, "not a folder");
  WriteConfig({{L"LogFileLocation", location.wstring()}, {L"LogFileName", L""}});
  TheLogger();
  const std::string made =
      ErrorsText({"Error getting log file name from Configuration", "Error creating logging directory path",
                  "Error creating directory for logging"});
  EXPECT_EQ(Reports(), made);
  Log(L"dropped one");
  Log(L"dropped two");
  EXPECT_EQ(Reports(), made + ErrorsText({"Error checking disk free space"}) + kLowSpaceInformation);
  EXPECT_EQ(testing::ReadBytes(blocker), "not a folder");
}

// Linux: getcwd fails with ENOENT once the working directory is removed. Windows keeps its working
// directory open, so it cannot be removed (ERROR_SHARING_VIOLATION, Wine too) and
// GetCurrentDirectoryW has no real failure to give.
TEST_F(LoggerPlacementFailure, WorkingDirectoryThatIsGoneIsReportedOnceAndEntriesAreDropped) {
  WriteConfig({{L"LogFileLocation", L""}});
  const WorkingDirectoryRestorer restorer;
  const auto gone = mDir.path() / "gone";
  std::filesystem::create_directories(gone);
  std::filesystem::current_path(gone);
  std::error_code removal;
  std::filesystem::remove(gone, removal);
  if (removal) {
    GTEST_SKIP() << "the working directory cannot be removed here (" << removal.message()
                 << "), so the working directory cannot be made unreadable";
  }
  TheLogger();
  const std::string reports = ErrorsText(
      {"Error getting log file location from Configuration", "Error getting working directory for logging"});
  EXPECT_EQ(Reports(), reports);
  Log(L"dropped one");
  Log(L"dropped two");
  EXPECT_EQ(Reports(), reports);

  const auto work = mDir.path() / "work";
  std::filesystem::create_directories(work);
  std::filesystem::current_path(work);
  Log(L"written");
  EXPECT_EQ(testing::ReadBytes(work / "test.log"), "\xFF\xFE" + Entry(L"I A written"));
  EXPECT_EQ(Reports(), reports);
}

// The oldest backup cannot be deleted: on Linux it is a folder (unlink gives EISDIR, even to root,
// while opening it for reading succeeds); on Windows another process holds it open without
// sharing deletion. Each entry is dropped while space stays short.
TEST_F(LoggerPlacementFailure, OldestBackupThatCannotBeDeletedIsReportedOnceAndEntriesAreDropped) {
  internal::FreeSpaceForTesting freeSpace(1000000);
  WriteConfig({{L"MaxLogFileBackups", L"3"}, {L"FreeSpaceMinimum", L"1000"}});
  WriteLog(LogFile(), L"current");
  WriteLog(Backup(1), L"old one");
#ifdef _WIN32
  WriteLog(Backup(2), L"old two");
  HeldFile holder(Backup(2), HeldFile::Hold::kReaderThatForbidsDeleting);
  ASSERT_EQ(holder.Error(), "");
#else
  std::filesystem::create_directories(Backup(2));
#endif
  TheLogger();
  EXPECT_EQ(Reports(), "");

  freeSpace.Set(1000);  // exactly the minimum is too little
  Log(L"dropped one");
  Log(L"dropped two");
  const std::string reports = kLowSpaceInformation + ErrorsText({"Error deleting old log files"});
  EXPECT_EQ(Reports(), reports);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"old one"});
  EXPECT_TRUE(std::filesystem::exists(Backup(2)));
  EXPECT_FALSE(std::filesystem::exists(Backup(3)));

  freeSpace.Set(1001);
  Log(L"written");
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"current", L"I A written"}));
  EXPECT_EQ(Reports(), reports);
}

// The location is removed after the logger made it: its free space cannot be read (statvfs gives
// ENOENT; GetDiskFreeSpaceExW ERROR_FILE_NOT_FOUND), which counts as no space at all. The folder is
// not made again; once it is back, entries are written again.
TEST_F(LoggerPlacementFailure, FreeSpaceThatCannotBeReadIsReportedOnceAndCountsAsNoSpace) {
  WriteConfig();
  WriteLog(LogFile(), L"before");
  TheLogger();
  EXPECT_EQ(Reports(), "");
  std::filesystem::remove_all(LogDirectory());
  Log(L"dropped one");
  Log(L"dropped two");
  const std::string reports = ErrorsText({"Error checking disk free space"}) + kLowSpaceInformation;
  EXPECT_EQ(Reports(), reports);
  EXPECT_FALSE(std::filesystem::exists(LogDirectory()));

  std::filesystem::create_directories(LogDirectory());
  Log(L"written");
  EXPECT_EQ(testing::ReadBytes(LogFile()), "\xFF\xFE" + Entry(L"I A written"));
  EXPECT_EQ(Reports(), reports);
}

}  // namespace
}  // namespace Tavro_KVO_Util

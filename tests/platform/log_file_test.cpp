#include "platform/log_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "support/object_access_probe.h"
#include "support/running_under_wine.h"
#include "support/temp_dir.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <cerrno>
#endif

namespace Tavro_KVO_Util::platform {
namespace {

using testing::TempDir;

std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// OS error codes of the failures the tests provoke.
#ifdef _WIN32
constexpr int kSharingViolation = ERROR_SHARING_VIOLATION;
constexpr int kMissingDirectory = ERROR_PATH_NOT_FOUND;
#else
constexpr int kSharingViolation = EWOULDBLOCK;
constexpr int kMissingDirectory = ENOENT;
#endif

TEST(LogFile, OpenAlwaysCreatesAMissingFile) {
  const TempDir dir;
  const auto path = dir.path() / "new.log";
  LogFile file;
  bool created = false;
  int error = 0;
  ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error));
  EXPECT_TRUE(created);
  EXPECT_TRUE(file.IsOpen());
  EXPECT_TRUE(std::filesystem::exists(path));
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
}

TEST(LogFile, OpenAlwaysKeepsAnExistingFileAsItIs) {
  const TempDir dir;
  const auto path = dir.WriteFile("old.log", "abc");
  {
    LogFile file;
    bool created = true;
    int error = 0;
    ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error));
    EXPECT_FALSE(created);
  }
  EXPECT_EQ(ReadBytes(path), "abc");
}

TEST(LogFile, SecondOpenFailsWhileTheFileIsOpen) {
  const TempDir dir;
  const auto path = dir.path() / "shared.log";
  LogFile first;
  bool created = false;
  int error = 0;
  ASSERT_TRUE(first.OpenAlways(path.wstring().c_str(), created, error));

  LogFile second;
  EXPECT_FALSE(second.OpenAlways(path.wstring().c_str(), created, error));
  EXPECT_EQ(error, kSharingViolation);
  EXPECT_FALSE(second.IsOpen());

  first.Close();
  EXPECT_FALSE(first.IsOpen());
  ASSERT_TRUE(second.OpenAlways(path.wstring().c_str(), created, error));
  EXPECT_FALSE(created);
}

TEST(LogFile, OpenAlwaysInAMissingDirectoryFailsWithTheOsError) {
  const TempDir dir;
  LogFile file;
  bool created = false;
  int error = 0;
  EXPECT_FALSE(file.OpenAlways((dir.path() / "missing" / "x.log").wstring().c_str(), created, error));
  EXPECT_EQ(error, kMissingDirectory);
  EXPECT_FALSE(file.IsOpen());
}

TEST(LogFile, AppendWritesAtTheEnd) {
  const TempDir dir;
  const auto path = dir.WriteFile("append.log", "abc");
  {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error));
    EXPECT_TRUE(file.Append("def"));
    EXPECT_TRUE(file.Append("gh\r\n"));
  }
  EXPECT_EQ(ReadBytes(path), "abcdefgh\r\n");
}

TEST(LogFile, WriteAddsAtTheEndOfAnExistingFile) {
  const TempDir dir;
  const auto path = dir.WriteFile("write.log", "abcdef");
  {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error));
    EXPECT_FALSE(created);
    EXPECT_TRUE(file.Write("XY"));
    EXPECT_TRUE(file.Write("Z"));
  }
  EXPECT_EQ(ReadBytes(path), "abcdefXYZ");
}

TEST(LogFile, MovedFileKeepsTheOpenFile) {
  const TempDir dir;
  const auto path = dir.path() / "moved.log";
  LogFile first;
  bool created = false;
  int error = 0;
  ASSERT_TRUE(first.OpenAlways(path.wstring().c_str(), created, error));
  LogFile second(std::move(first));
  EXPECT_FALSE(first.IsOpen());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  EXPECT_TRUE(second.IsOpen());
  LogFile third;
  third = std::move(second);
  EXPECT_TRUE(third.IsOpen());
  EXPECT_TRUE(third.Append("x"));
  third.Close();
  EXPECT_EQ(ReadBytes(path), "x");
}

TEST(LogFile, ClosedFileRefusesWrites) {
  LogFile file;
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.Append("x"));
  EXPECT_FALSE(file.Write("x"));
}

TEST(LogFile, TruncateEmptiesAFileAndCreatesAMissingOne) {
  const TempDir dir;
  const auto full = dir.WriteFile("full.log", "content");
  EXPECT_TRUE(TruncateFile(full.wstring()));
  EXPECT_EQ(std::filesystem::file_size(full), 0u);

  const auto missing = dir.path() / "missing.log";
  EXPECT_TRUE(TruncateFile(missing.wstring()));
  EXPECT_TRUE(std::filesystem::exists(missing));
  EXPECT_FALSE(TruncateFile((dir.path() / "no" / "such.log").wstring()));
}

TEST(LogFile, CanOpenForReadingOnlyExistingFiles) {
  const TempDir dir;
  EXPECT_TRUE(CanOpenForReading(dir.WriteFile("here.log", "x").wstring()));
  EXPECT_FALSE(CanOpenForReading((dir.path() / "gone.log").wstring()));
}

TEST(LogFile, DeleteRemovesAFileAndFailsForAMissingOne) {
  const TempDir dir;
  const auto path = dir.WriteFile("delete.log", "x");
  EXPECT_TRUE(DeleteFileAt(path.wstring()));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_FALSE(DeleteFileAt(path.wstring()));
}

TEST(LogFile, RenameMovesAFile) {
  const TempDir dir;
  const auto from = dir.WriteFile("from.log", "moved");
  const auto to = dir.path() / "to.log";
  EXPECT_TRUE(RenameFile(from.wstring(), to.wstring()));
  EXPECT_FALSE(std::filesystem::exists(from));
  EXPECT_EQ(ReadBytes(to), "moved");
}

TEST(LogFile, RenameFailsWhenTheTargetExists) {
  const TempDir dir;
  const auto from = dir.WriteFile("from.log", "new");
  const auto to = dir.WriteFile("to.log", "old");
  EXPECT_FALSE(RenameFile(from.wstring(), to.wstring()));
  EXPECT_EQ(ReadBytes(from), "new");
  EXPECT_EQ(ReadBytes(to), "old");
}

TEST(LogFile, RenameFailsWhenTheSourceIsMissing) {
  const TempDir dir;
  EXPECT_FALSE(RenameFile((dir.path() / "a.log").wstring(), (dir.path() / "b.log").wstring()));
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "b.log"));
}

TEST(LogFile, FileSizeIsExactOrMissing) {
  const TempDir dir;
  unsigned long long size = 99;
  EXPECT_EQ(FileSize(dir.WriteFile("sized.log", std::string(1234, 'x')).wstring().c_str(), size),
            FileSizeResult::kOk);
  EXPECT_EQ(size, 1234u);
  EXPECT_EQ(FileSize(dir.WriteFile("empty.log", "").wstring().c_str(), size), FileSizeResult::kOk);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(FileSize((dir.path() / "missing.log").wstring().c_str(), size), FileSizeResult::kMissing);
  EXPECT_EQ(FileSize((dir.path() / "no" / "such.log").wstring().c_str(), size), FileSizeResult::kMissing);
}

TEST(LogFile, FreeDiskSpaceOfADirectoryAndOfTheWorkingDirectory) {
  const TempDir dir;
  unsigned long long freeBytes = 0;
  ASSERT_TRUE(FreeDiskSpace(dir.path().wstring(), freeBytes));
  EXPECT_GT(freeBytes, 0u);
  // Empty means the working directory's volume.
  freeBytes = 0;
  ASSERT_TRUE(FreeDiskSpace(L"", freeBytes));
  EXPECT_GT(freeBytes, 0u);
}

TEST(LogFile, MakeDirectoryTellsWhenItExistsAlready) {
  const TempDir dir;
  const auto path = dir.path() / "logs";
  bool alreadyExists = true;
  EXPECT_TRUE(MakeDirectory(path.wstring(), alreadyExists));
  EXPECT_FALSE(alreadyExists);
  EXPECT_TRUE(std::filesystem::is_directory(path));

  EXPECT_FALSE(MakeDirectory(path.wstring(), alreadyExists));
  EXPECT_TRUE(alreadyExists);

  // Parents are not made.
  EXPECT_FALSE(MakeDirectory((dir.path() / "no" / "such").wstring(), alreadyExists));
  EXPECT_FALSE(alreadyExists);
}

TEST(LogFile, PathExistsForFilesAndDirectories) {
  const TempDir dir;
  EXPECT_TRUE(PathExists(dir.WriteFile("here.log", "x").wstring()));
  EXPECT_TRUE(PathExists(dir.path().wstring()));
  EXPECT_FALSE(PathExists((dir.path() / "gone.log").wstring()));
  EXPECT_FALSE(PathExists((dir.path() / "no" / "such.log").wstring()));
}

TEST(LogFile, CurrentDirectoryIsTheProcessWorkingDirectory) {
  std::wstring directory;
  ASSERT_TRUE(CurrentDirectory(directory));
  EXPECT_EQ(directory, std::filesystem::current_path().wstring());
}

// A log file made in the safe profile: only SYSTEM, Administrators and the group (Windows), or
// mode 0660 and the group (Linux); an existing file keeps what it has.
#ifdef _WIN32
TEST(LogFile, RestrictedNewFileHasAProtectedDaclForSystemAdministratorsAndUsers) {
  TempDir dir;
  const auto path = dir.path() / "x.log";
  {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error, LogFileUse::kAppend, {true, L""}));
    EXPECT_TRUE(created);
  }
  if (!testing::FileDaclsAreKept())
    GTEST_SKIP() << "Wine keeps no DACL of a file (see RestrictedDacl's tests)";
  const testing::DaclInfo dacl = testing::FileDacl(path);
  ASSERT_TRUE(dacl.read);
  EXPECT_TRUE(dacl.isProtected);
  EXPECT_EQ(dacl.allowed, (std::vector<testing::AccessEntry>{
                              {testing::kSystemSid, FILE_ALL_ACCESS},
                              {testing::kAdministratorsSid, FILE_ALL_ACCESS},
                              {testing::kUsersSid, FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE}}));
}

TEST(LogFile, OpenNewFileHasANullDaclAndAnExistingFileKeepsItWhenOpenedRestricted) {
  TempDir dir;
  const auto path = dir.path() / "x.log";
  for (const bool restricted : {false, true}) {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(
        file.OpenAlways(path.wstring().c_str(), created, error, LogFileUse::kAppend, {restricted, L""}));
    EXPECT_EQ(created, !restricted);
  }
  if (!testing::FileDaclsAreKept()) GTEST_SKIP() << "Wine keeps no DACL of a file";
  EXPECT_TRUE(testing::FileDacl(path).isNull);
}

TEST(LogFile, RestrictedToAGroupTheMachineDoesNotKnowCreatesNothing) {
  TempDir dir;
  const auto path = dir.path() / "x.log";
  LogFile file;
  bool created = false;
  int error = 0;
  EXPECT_FALSE(file.OpenAlways(path.wstring().c_str(), created, error, LogFileUse::kAppend,
                               {true, L"NoSuchGroupOnThisTablet"}));
  EXPECT_EQ(error, static_cast<int>(ERROR_NONE_MAPPED));
  EXPECT_FALSE(std::filesystem::exists(path));
}
#else
TEST(LogFile, RestrictedNewFileHasMode0660AndTheGroup) {
  TempDir dir;
  const auto path = dir.path() / "x.log";
  const long users = testing::GroupId("users");
  const bool named = users >= 0 && ::geteuid() == 0;  // only root may give any group
  {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(file.OpenAlways(path.wstring().c_str(), created, error, LogFileUse::kAppend,
                                {true, named ? L"users" : L""}));
    EXPECT_TRUE(created);
  }
  const testing::ModeAndGroup access = testing::FileModeAndGroup(path);
  EXPECT_EQ(access.mode, 0660u);
  EXPECT_EQ(access.group, named ? static_cast<gid_t>(users) : ::getegid());
}

TEST(LogFile, OpenNewFileHasMode0666AndAnExistingFileKeepsItWhenOpenedRestricted) {
  TempDir dir;
  const auto path = dir.path() / "x.log";
  for (const bool restricted : {false, true}) {
    LogFile file;
    bool created = false;
    int error = 0;
    ASSERT_TRUE(
        file.OpenAlways(path.wstring().c_str(), created, error, LogFileUse::kAppend, {restricted, L""}));
    EXPECT_EQ(created, !restricted);
  }
  EXPECT_EQ(testing::FileModeAndGroup(path).mode, 0666u);
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::platform

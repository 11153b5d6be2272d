#include "platform/log_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/group_id.h"
#include "platform/posix/narrow_path.h"
#include "platform/posix/unique_fd.h"
#include "platform/posix/write_all.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

const std::string kWorkingDirectory = ".";

// Opens for writing, creating when missing, and says which happened. The create is exclusive,
// because only the process whose exclusive create succeeds can be sure the file is new.
UniqueFd OpenOrCreate(const std::string& path, bool& created, int accessMode, const ObjectAccess& access) {
  // The file exists for all entries but the first after a roll, so opening comes first.
  for (int attempt = 0; attempt < 3; ++attempt) {
    // Append mode: every write lands at the end with no seek first, the BOM of a new file too.
    UniqueFd fd(::open(path.c_str(), accessMode | O_APPEND | O_CLOEXEC));
    if (fd || errno != ENOENT) {
      created = false;
      return fd;
    }
    fd.reset(::open(path.c_str(), accessMode | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (fd) {
      created = true;
      if (access.restricted) {
        // Only the group may write; when the named group cannot be given (not a member, not
        // root), the creator's own group at 0660 is still no wider than asked.
        if (!RestrictToGroup(fd.get(), access.group)) ::fchmod(fd.get(), 0660);
      } else {
        // The umask narrows 0666; every user's processes write the same log.
        ::fchmod(fd.get(), 0666);
      }
      return fd;
    }
    if (errno != EEXIST) return fd;
    // Made by another writer between the two calls: open it again.
  }
  return UniqueFd();
}

}  // namespace

bool LogFile::OpenAlways(const wchar_t* path, bool& created, int& error, LogFileUse use,
                         const ObjectAccess& access) {
  bool isNew = false;
  UniqueFd fd = OpenOrCreate(NarrowPath(path), isNew,
                             use == LogFileUse::kAppendAfterMending ? O_RDWR : O_WRONLY, access);
  if (!fd) {
    error = errno;
    return false;
  }
  // Linux has no share modes. An exclusive advisory lock stands in for Windows' "no sharing": a
  // second writer that also opens through here (from any process, or this one) fails at once.
  if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    error = errno;  // EWOULDBLOCK while someone else has it open
    return false;
  }
  mFile.reset(fd.release());
  created = isNew;
  return true;
}

bool LogFile::Append(const std::string& bytes) {
  if (!mFile) return false;
  const int fd = static_cast<int>(mFile.get());
  std::size_t written = 0;
  if (WriteAll(fd, bytes.data(), bytes.size(), written)) return true;
  // A line cut short (a full disk) would join the next writer's line: take it back, so the file
  // is exactly as it was before this entry. Nobody else writes while we hold the lock, so the
  // file ended `written` bytes before where it ends now.
  if (written != 0) {
    const int saved = errno;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && static_cast<std::size_t>(info.st_size) >= written) {
      const off_t before = info.st_size - static_cast<off_t>(written);
      while (::ftruncate(fd, before) != 0 && errno == EINTR) {
      }
    }
    errno = saved;
  }
  return false;
}

bool LogFile::Write(const std::string& bytes) {
  if (!mFile) return false;
  std::size_t written = 0;
  return WriteAll(static_cast<int>(mFile.get()), bytes.data(), bytes.size(), written);
}

bool LogFile::Size(unsigned long long& size) const {
  struct stat info {};
  if (!mFile || ::fstat(static_cast<int>(mFile.get()), &info) != 0) return false;
  size = static_cast<unsigned long long>(info.st_size);
  return true;
}

bool LogFile::ReadAt(unsigned long long offset, std::size_t count, std::string& bytes) const {
  bytes.clear();
  if (!mFile) return false;
  bytes.resize(count);
  std::size_t got = 0;
  while (got < count) {
    const ssize_t read = ::pread(static_cast<int>(mFile.get()), bytes.data() + got, count - got,
                                 static_cast<off_t>(offset + got));
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return false;
    if (read == 0) break;
    got += static_cast<std::size_t>(read);
  }
  bytes.resize(got);
  return true;
}

bool LogFile::CutBackTo(unsigned long long size) {
  if (!mFile) return false;
  int result = 0;
  while ((result = ::ftruncate(static_cast<int>(mFile.get()), static_cast<off_t>(size))) != 0 &&
         errno == EINTR) {
  }
  return result == 0;
}

void LogFile::Close() { mFile.reset(); }

bool LogFile::IsOpen() const { return mFile.valid(); }

bool TruncateFile(const std::wstring& path) {
  const UniqueFd fd(::open(NarrowPath(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  return fd.valid();
}

bool CanOpenForReading(const std::wstring& path) {
  const UniqueFd fd(::open(NarrowPath(path).c_str(), O_RDONLY | O_CLOEXEC));
  return fd.valid();
}

bool DeleteFileAt(const std::wstring& path) { return ::unlink(NarrowPath(path).c_str()) == 0; }

bool RenameFile(const std::wstring& from, const std::wstring& to) {
  // rename() would replace an existing target, where Windows' MoveFileW fails and callers see that
  // failure: the target is refused here too, atomically.
  const std::string source = WideToUtf8(from);
  const std::string target = WideToUtf8(to);
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // The file system cannot refuse a replacing rename (some network file systems): a hard link is
  // created only when the name is free, and dropping the old name completes the move.
  if (::link(source.c_str(), target.c_str()) != 0) return false;
  if (::unlink(source.c_str()) == 0) return true;
  const int saved = errno;
  ::unlink(target.c_str());  // undo, so that a failed move leaves things as they were
  errno = saved;
  return false;
}

FileSizeResult FileSize(const wchar_t* path, unsigned long long& size) {
  struct stat info {};
  if (::stat(NarrowPath(path).c_str(), &info) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? FileSizeResult::kMissing : FileSizeResult::kFailed;
  }
  // A directory has no size of its own on Windows either.
  size = S_ISDIR(info.st_mode) ? 0 : static_cast<unsigned long long>(info.st_size);
  return FileSizeResult::kOk;
}

bool FreeDiskSpace(const std::wstring& location, unsigned long long& freeBytes) {
  struct statvfs info {};
  const std::string& where = location.empty() ? kWorkingDirectory : NarrowPath(location);
  if (::statvfs(where.c_str(), &info) != 0) return false;
  // f_bavail: the blocks an unprivileged caller may use, as GetDiskFreeSpaceExW's "available".
  freeBytes = static_cast<unsigned long long>(info.f_bavail) * info.f_frsize;
  return true;
}

bool MakeDirectory(const std::wstring& path, bool& alreadyExists) {
  alreadyExists = false;
  if (::mkdir(NarrowPath(path).c_str(), 0777) == 0) return true;
  alreadyExists = errno == EEXIST;
  return false;
}

bool PathExists(const std::wstring& path) {
  // lstat: the directory entry itself, as a find-first sees it, even a link whose target is gone.
  struct stat info {};
  return ::lstat(NarrowPath(path).c_str(), &info) == 0;
}

bool CurrentDirectory(std::wstring& directory) {
  std::string buffer(256, '\0');
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE || buffer.size() >= std::size_t{1024} * 1024) return false;
    buffer.resize(buffer.size() * 2);
  }
  buffer.resize(buffer.find('\0'));
  directory = Utf8ToWide(buffer);
  return true;
}

}  // namespace Tavro_KVO_Util::platform

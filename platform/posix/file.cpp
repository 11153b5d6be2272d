#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/unique_fd.h"
#include "platform/posix/write_all.h"
#include "platform/truncation_hook.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {

bool ReadableFile::Open(const std::wstring& path, int& error) {
  UniqueFd fd(::open(WideToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) {
    error = errno;
    return false;
  }
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0 || S_ISDIR(info.st_mode)) {
    error = S_ISDIR(info.st_mode) ? EISDIR : errno;
    return false;
  }
  mFile.reset(fd.release());
  return true;
}

bool ReadableFile::ReadAll(std::string& bytes) {
  if (!mFile) return false;
  const int fd = static_cast<int>(mFile.get());
  struct stat info {};
  const std::size_t start = bytes.size();
  if (::fstat(fd, &info) == 0 && info.st_size > 0)
    bytes.reserve(start + static_cast<std::size_t>(info.st_size));
  char block[64 * 1024];
  for (;;) {
    const ssize_t got = ::read(fd, block, sizeof block);
    if (got == 0) return true;
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.append(block, static_cast<std::size_t>(got));
  }
}

void ReadableFile::LeaveOpen() { mFile.release(); }

bool ReadableFile::IsOpen() const { return mFile.valid(); }

bool CanOpenForReadingDenyingWriters(const std::wstring& path) {
  // Linux has no share modes; being able to open the file for reading is what counts.
  const UniqueFd fd(::open(WideToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC));
  return fd.valid();
}

bool WriteWholeFile(const std::wstring& path, const std::string& bytes, int& error) {
  UniqueFd fd(::open(WideToUtf8(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!fd) {
    error = errno;
    return false;
  }
  RunAfterTruncationHook();
  std::size_t written = 0;
  if (!WriteAll(fd.get(), bytes.data(), bytes.size(), written)) {
    error = errno;
    return false;
  }
  if (::close(fd.release()) != 0) {
    error = errno;
    return false;
  }
  return true;
}

bool ReplaceWholeFile(const std::wstring& path, const std::string& bytes, int& error) {
  const std::string target = WideToUtf8(path);
  const std::string temporary = target + "." + std::to_string(::getpid()) + ".tmp";
  // Fails on the first error, removing the temporary file and keeping errno.
  const auto fail = [&] {
    error = errno;
    ::unlink(temporary.c_str());
    return false;
  };
  {
    UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!fd) {
      error = errno;
      return false;
    }
    // The new file is the old one to everyone who uses it: same mode (the umask would narrow it).
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0 && ::fchmod(fd.get(), old.st_mode & 07777) != 0) return fail();
    RunAfterTruncationHook();
    std::size_t written = 0;
    if (!WriteAll(fd.get(), bytes.data(), bytes.size(), written) || ::fsync(fd.get()) != 0) return fail();
    if (::close(fd.release()) != 0) return fail();
  }
  if (::rename(temporary.c_str(), target.c_str()) != 0) return fail();
  // The rename is in the folder: sync it too, or a power loss could bring the old name back.
  const std::size_t slash = target.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : target.substr(0, slash);
  const UniqueFd directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) ::fsync(directory.get());
  return true;
}

}  // namespace Tavro_KVO_Util::platform

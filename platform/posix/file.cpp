#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/unique_fd.h"
#include "platform/posix/write_all.h"
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

}  // namespace Tavro_KVO_Util::platform

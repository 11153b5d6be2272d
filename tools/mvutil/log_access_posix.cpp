// Reading the shared log on Linux: writers' advisory locks do not concern readers.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "log_access.h"
#include "platform/posix/unique_fd.h"

namespace mvutil {

using Tavro_KVO_Util::platform::UniqueFd;

LogReadLock::LogReadLock() = default;
LogReadLock::~LogReadLock() = default;

LogReadResult ReadLogSlice(const std::filesystem::path& path, std::uint64_t offset, std::size_t maxBytes,
                           LogSlice& slice) {
  const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return errno == ENOENT || errno == ENOTDIR ? LogReadResult::kMissing : LogReadResult::kFailed;
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) return LogReadResult::kFailed;
  slice.id = {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)};
  slice.size = static_cast<std::uint64_t>(info.st_size);
  slice.bytes.clear();
  if (offset >= slice.size || maxBytes == 0) return LogReadResult::kOk;
  slice.bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(maxBytes, slice.size - offset)));
  std::size_t done = 0;
  while (done < slice.bytes.size()) {
    const ssize_t got = ::pread(fd.get(), slice.bytes.data() + done, slice.bytes.size() - done,
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return LogReadResult::kFailed;
    if (got == 0) break;  // the file was cut short since fstat
    done += static_cast<std::size_t>(got);
  }
  slice.bytes.resize(done);
  return LogReadResult::kOk;
}

}  // namespace mvutil

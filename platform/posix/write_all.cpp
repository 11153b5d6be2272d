#include "platform/posix/write_all.h"

#include <unistd.h>

#include <cerrno>

namespace Tavro_KVO_Util::platform {

bool WriteAll(int fd, const void* data, std::size_t size, std::size_t& written) {
  const auto* bytes = static_cast<const char*>(data);
  written = 0;
  while (written < size) {
    const ssize_t put = ::write(fd, bytes + written, size - written);
    if (put < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (put == 0) {
      errno = ENOSPC;
      return false;
    }
    written += static_cast<std::size_t>(put);
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform

// UniqueFd: an owned POSIX file descriptor.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_UNIQUE_FD_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_UNIQUE_FD_H

#include <unistd.h>

#include <cerrno>

#include "platform/unique_resource.h"

namespace Tavro_KVO_Util::platform {

struct FdTraits {
  using Type = int;
  static int Invalid() { return -1; }
  static void Close(int fd) {
    const int saved = errno;  // callers report the error of the call that failed, not of close
    ::close(fd);
    errno = saved;
  }
};
using UniqueFd = UniqueResource<FdTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_UNIQUE_FD_H

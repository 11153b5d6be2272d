// The one write-until-done loop of the Linux build.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_WRITE_ALL_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_WRITE_ALL_H

#include <cstddef>

namespace Tavro_KVO_Util::platform {

// Writes all `size` bytes to `fd` at its current position, retrying after signals and short
// writes. False with errno set when a write fails; a write that makes no progress (0 bytes,
// which a full file system may give) fails with ENOSPC rather than looping. `written` is how many
// bytes reached the file, so that a caller can undo a partial write.
bool WriteAll(int fd, const void* data, std::size_t size, std::size_t& written);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_WRITE_ALL_H

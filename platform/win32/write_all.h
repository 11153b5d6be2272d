// The one write-until-done loop of the Windows build.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_WRITE_ALL_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_WRITE_ALL_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <cstddef>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

// Writes all `size` bytes to `file` at its current position, in pieces of at most 1 GiB (the
// most one WriteFile takes). False with the thread's last error set when a write fails; a write
// that makes no progress fails with ERROR_DISK_FULL rather than looping. `written` is how many
// bytes reached the file, so that a caller can undo a partial write.
bool WriteAll(HANDLE file, const void* data, std::size_t size, std::size_t& written);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_WRITE_ALL_H

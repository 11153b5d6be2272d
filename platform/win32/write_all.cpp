#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/win32/write_all.h"

#include <algorithm>

namespace Tavro_KVO_Util::platform {

bool WriteAll(HANDLE file, const void* data, std::size_t size, std::size_t& written) {
  const auto* bytes = static_cast<const char*>(data);
  written = 0;
  while (written < size) {
    const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(size - written, std::size_t{1} << 30));
    DWORD put = 0;
    if (!::WriteFile(file, bytes + written, chunk, &put, /*lpOverlapped=*/nullptr)) return false;
    if (put == 0) {
      SetLastError(ERROR_DISK_FULL);
      return false;
    }
    written += put;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform

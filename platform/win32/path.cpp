#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/path.h"

#include <shlwapi.h>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

wchar_t PathSeparator() { return L'\\'; }

bool AppendPath(std::wstring& path, const std::wstring& more) {
  if (path.size() >= MAX_PATH) return false;
  wchar_t buffer[MAX_PATH] = {};
  path.copy(buffer, path.size());
  if (!PathAppendW(buffer, more.c_str())) return false;
  path.assign(buffer);
  return true;
}

}  // namespace Tavro_KVO_Util::platform

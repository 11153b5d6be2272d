#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/environment.h"

#include <vector>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

bool ExpandEnvironmentText(const std::wstring& text, std::size_t maxChars, std::wstring& expanded) {
  std::vector<wchar_t> buffer(maxChars + 1, L'\0');
  const DWORD needed = ExpandEnvironmentStringsW(text.c_str(), buffer.data(), static_cast<DWORD>(maxChars));
  if (needed == 0 || needed > maxChars) return false;
  expanded.assign(buffer.data());
  return true;
}

}  // namespace Tavro_KVO_Util::platform

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

std::wstring ExpandEnvironmentTextInBuffer(const std::wstring& text, std::size_t bufferChars) {
  std::vector<wchar_t> buffer(bufferChars, L'\0');
  const DWORD needed =
      ExpandEnvironmentStringsW(text.c_str(), buffer.data(), static_cast<DWORD>(bufferChars));
  if (needed == 0) return std::wstring();
  // A result that did not fit may be left without its terminator.
  buffer[bufferChars - 1] = L'\0';
  return std::wstring(buffer.data());
}

}  // namespace Tavro_KVO_Util::platform

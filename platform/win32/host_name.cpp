#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/host_name.h"

#include "platform/utf8.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

std::string ComputerName() {
  wchar_t name[256] = {};
  DWORD size = sizeof name / sizeof name[0];
  if (!GetComputerNameExW(ComputerNameDnsHostname, name, &size)) return std::string();
  return WideToUtf8(std::wstring(name, size));
}

}  // namespace Tavro_KVO_Util::platform

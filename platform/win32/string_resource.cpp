#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/string_resource.h"

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

int LoadModuleString(const std::wstring& module, int id, wchar_t* buffer, int size, unsigned long& error) {
  // Only a module the process has loaded already: the library never loads one for a log call.
  const HMODULE handle = GetModuleHandleW(module.c_str());
  if (handle == nullptr) {
    error = GetLastError();
    return 0;
  }
  const int copied = LoadStringW(handle, static_cast<UINT>(id), buffer, size);
  if (copied == 0) error = GetLastError();
  return copied;
}

}  // namespace Tavro_KVO_Util::platform

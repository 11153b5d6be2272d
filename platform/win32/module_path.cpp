#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/module_path.h"

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

bool LibraryModulePath(std::wstring& path) {
  // By name, as the product has always done: a program that links the library's code statically
  // has no such module and gets no folder.
  const HMODULE module = GetModuleHandleW(L"TavroMedivaneUtil.dll");
  if (module == nullptr) return false;
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetModuleFileNameW(module, buffer, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return false;
  path.assign(buffer, length);
  return true;
}

}  // namespace Tavro_KVO_Util::platform

#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/process_info.h"

#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

// After <windows.h>, which it depends on.
#include <psapi.h>

namespace Tavro_KVO_Util::platform {

std::uint32_t CurrentProcessId() { return GetCurrentProcessId(); }

long CurrentThreadId() { return static_cast<long>(GetCurrentThreadId()); }

bool CurrentSessionId(std::uint32_t& session) {
  DWORD id = 0;
  if (!ProcessIdToSessionId(GetCurrentProcessId(), &id)) return false;
  session = id;
  return true;
}

ProcessPathResult CurrentProcessPath(std::wstring& path) {
  const UniqueHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ,
                                         /*bInheritHandle=*/FALSE, GetCurrentProcessId()));
  if (!process) return ProcessPathResult::kNotOpened;
  // Room for one module only: the first one listed is the executable.
  HMODULE module = nullptr;
  DWORD needed = 0;
  if (!EnumProcessModules(process.get(), &module, sizeof module, &needed)) {
    return ProcessPathResult::kModuleUnknown;
  }
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetModuleFileNameExW(process.get(), module, buffer, MAX_PATH + 1);
  if (length == 0) return ProcessPathResult::kModuleUnknown;
  path.assign(buffer, length);
  return ProcessPathResult::kFound;
}

}  // namespace Tavro_KVO_Util::platform

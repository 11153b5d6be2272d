#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <shlwapi.h>

#include <string>
#include <vector>

#include "config_location.h"
#include "platform/win32/windows_include.h"

namespace mvutil::internal {

namespace {

constexpr wchar_t kInstallDirReference[] = L"%KVO_INSTALL_DIR%";
constexpr DWORD kExpansionLimit = 260;  // the library's room for the expansion

}  // namespace

bool InstallDirectory(std::wstring& directory) {
  // The same call as the library, so that every odd case (an empty value, one holding '%')
  // comes out the same.
  std::vector<wchar_t> buffer(kExpansionLimit + 1, L'\0');
  const DWORD needed = ExpandEnvironmentStringsW(kInstallDirReference, buffer.data(), kExpansionLimit);
  if (needed == 0 || needed > kExpansionLimit) return false;
  const std::wstring expanded(buffer.data());
  if (expanded == kInstallDirReference) return false;  // an unknown variable stays as written
  directory = expanded;
  return true;
}

bool AppendPath(std::wstring& path, const std::wstring& name) {
  // PathAppendW, as the library joins them (it also folds "." and ".." away).
  if (path.size() >= MAX_PATH) return false;
  wchar_t buffer[MAX_PATH] = {};
  path.copy(buffer, path.size());
  if (!PathAppendW(buffer, name.c_str())) return false;
  path.assign(buffer);
  return true;
}

std::wstring LibraryFolder() {
  // By name, as the library finds itself.
  const HMODULE module = GetModuleHandleW(L"TavroMedivaneUtil.dll");
  if (module == nullptr) return std::wstring();
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetModuleFileNameW(module, buffer, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return std::wstring();
  const std::wstring path(buffer, length);
  const std::size_t last = path.rfind(L'\\');
  return last == std::wstring::npos ? std::wstring() : path.substr(0, last + 1);
}

wchar_t PathSeparator() { return L'\\'; }

}  // namespace mvutil::internal

#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/directory_listing.h"

#include "platform/win32/unique_owners.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

bool ListDirectory(const std::wstring& directory, std::vector<std::wstring>& names) {
  std::wstring pattern = directory;
  if (!pattern.empty() && pattern.back() != L'\\' && pattern.back() != L'/') pattern += L'\\';
  pattern += L'*';
  WIN32_FIND_DATAW found{};
  const UniqueFindHandle find(FindFirstFileW(pattern.c_str(), &found));
  if (!find) return false;
  do {
    const std::wstring name = found.cFileName;
    if (name != L"." && name != L"..") names.push_back(name);
  } while (FindNextFileW(find.get(), &found));
  return GetLastError() == ERROR_NO_MORE_FILES;
}

bool FileNameStartsWith(const std::wstring& name, const std::wstring& prefix) {
  if (name.size() < prefix.size()) return false;
  return CompareStringOrdinal(name.c_str(), static_cast<int>(prefix.size()), prefix.c_str(),
                              static_cast<int>(prefix.size()), /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

}  // namespace Tavro_KVO_Util::platform

#include "platform/path.h"

#include <climits>

namespace Tavro_KVO_Util::platform {

wchar_t PathSeparator() { return L'/'; }

bool AppendPath(std::wstring& path, const std::wstring& more) {
  std::size_t skip = 0;
  while (skip < more.size() && more[skip] == L'/') ++skip;
  std::wstring joined = path;
  if (!joined.empty() && joined.back() != L'/') joined += L'/';
  joined.append(more, skip, std::wstring::npos);
  if (joined.size() >= PATH_MAX) return false;
  path = joined;
  return true;
}

}  // namespace Tavro_KVO_Util::platform

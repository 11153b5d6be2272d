#include "platform/string_resource.h"

#include <cerrno>

namespace Tavro_KVO_Util::platform {

int LoadModuleString(const std::wstring& /*module*/, int /*id*/, wchar_t* /*buffer*/, int /*size*/,
                     unsigned long& error) {
  // No module on Linux carries Windows string tables: report "not found" honestly.
  error = ENOENT;
  return 0;
}

}  // namespace Tavro_KVO_Util::platform

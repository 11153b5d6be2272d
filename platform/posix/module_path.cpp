#include "platform/module_path.h"

#include <dlfcn.h>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {

bool LibraryModulePath(std::wstring& path) {
  Dl_info info{};
  // Any function of the library locates the shared object that holds it.
  if (::dladdr(reinterpret_cast<void*>(&LibraryModulePath), &info) == 0 || info.dli_fname == nullptr ||
      info.dli_fname[0] == '\0') {
    return false;
  }
  path = Utf8ToWide(info.dli_fname);
  return true;
}

}  // namespace Tavro_KVO_Util::platform

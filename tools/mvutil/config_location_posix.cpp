#include <link.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "config_location.h"
#include "wide_text.h"

namespace mvutil::internal {

bool InstallDirectory(std::wstring& directory) {
  const char* value = std::getenv("KVO_INSTALL_DIR");
  if (value == nullptr) return false;
  const std::wstring wide = Utf8ToWide(value);
  // The library expands into room for 260 characters with the terminator.
  if (wide.size() + 1 > 260) return false;
  directory = wide;
  return true;
}

bool AppendPath(std::wstring& path, const std::wstring& name) {
  std::wstring joined = path;
  if (!joined.empty() && joined.back() != L'/') joined += L'/';
  joined += name;
  if (joined.size() >= PATH_MAX) return false;
  path = joined;
  return true;
}

std::wstring LibraryFolder() {
  // By the shared object's name among those loaded: the library finds itself with dladdr on one
  // of its own functions, which names the same file. (dladdr on an exported symbol from here
  // could name this program instead, where the linker copies the library's data.)
  std::string found;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t /*size*/, void* result) {
        const std::string name = info->dlpi_name != nullptr ? info->dlpi_name : "";
        if (name.find("libTavroMedivaneUtil.so") == std::string::npos) return 0;
        *static_cast<std::string*>(result) = name;
        return 1;
      },
      &found);
  const std::size_t last = found.rfind('/');
  return last == std::string::npos ? std::wstring() : Utf8ToWide(found.substr(0, last + 1));
}

wchar_t PathSeparator() { return L'/'; }

}  // namespace mvutil::internal

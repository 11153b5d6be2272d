#include "platform/directory_listing.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};

}  // namespace

bool ListDirectory(const std::wstring& directory, std::vector<std::wstring>& names) {
  const std::string where = directory.empty() ? std::string(".") : WideToUtf8(directory);
  const std::unique_ptr<DIR, DirCloser> dir(::opendir(where.c_str()));
  if (!dir) return false;
  errno = 0;
  while (const dirent* entry = ::readdir(dir.get())) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
      names.push_back(Utf8ToWide(entry->d_name));
    }
    errno = 0;
  }
  return errno == 0;
}

bool FileNameStartsWith(const std::wstring& name, const std::wstring& prefix) {
  return name.size() >= prefix.size() && name.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace Tavro_KVO_Util::platform

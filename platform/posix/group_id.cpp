#include "platform/posix/group_id.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/object_access.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {

bool GroupIdOf(const std::wstring& name, gid_t& id) {
  if (name.empty()) {
    id = ::getegid();
    return true;
  }
  const std::string narrow = WideToUtf8(name);
  std::vector<char> buffer(1024);
  for (;;) {
    group entry{};
    group* found = nullptr;
    const int status = ::getgrnam_r(narrow.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (status == ERANGE && buffer.size() < 1024 * 1024) {
      buffer.resize(buffer.size() * 2);
      continue;
    }
    if (status != 0 || found == nullptr) {
      errno = status != 0 ? status : ENOENT;
      return false;
    }
    id = entry.gr_gid;
    return true;
  }
}

bool IsKnownGroup(const std::wstring& group) {
  gid_t id = 0;
  return GroupIdOf(group, id);
}

bool RestrictToGroup(int fd, const std::wstring& name) {
  gid_t id = 0;
  if (!GroupIdOf(name, id)) return false;
  // The group first: while the mode is still open, nobody is shut out half-way.
  if (::fchown(fd, static_cast<uid_t>(-1), id) != 0) return false;
  return ::fchmod(fd, 0660) == 0;
}

}  // namespace Tavro_KVO_Util::platform

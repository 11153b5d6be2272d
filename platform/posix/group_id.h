// Group names as the safe profile's access rules give them (platform/object_access.h).
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_GROUP_ID_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_GROUP_ID_H

#include <sys/types.h>

#include <string>

namespace Tavro_KVO_Util::platform {

// The id of the group `name`; the process's effective group when `name` is empty. False when
// the name is unknown.
bool GroupIdOf(const std::wstring& name, gid_t& id);

// Gives the open file or segment `fd` mode 0660 and the group `name` (platform/object_access.h).
// False with errno set when either step fails (only the owner or root may do both).
bool RestrictToGroup(int fd, const std::wstring& name);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_GROUP_ID_H

// Who may use the library's machine-wide objects: the log lock and the log file.
//
// By default everyone may (Windows: a null DACL; Linux: mode 0666), so that programs of every
// user and service share one log; the safe profile narrows that, at the price that a process
// outside the group cannot log at all.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_OBJECT_ACCESS_H
#define TAVROMEDIVANEUTIL_PLATFORM_OBJECT_ACCESS_H

#include <string>

namespace Tavro_KVO_Util::platform {

struct ObjectAccess {
  // False: everyone, as the library has always made them.
  bool restricted = false;
  // When restricted, the one group let in. Windows: SYSTEM and Administrators, and this group
  // (an account name LookupAccountNameW knows; empty means the built-in Users group), and nobody
  // else. Linux: mode 0660, owned by this group (empty: the creating process's own group).
  std::wstring group;
};

// True when `group` names a group this machine knows (empty: the default group, always known).
bool IsKnownGroup(const std::wstring& group);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_OBJECT_ACCESS_H

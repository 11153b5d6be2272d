// The safe profile's narrowed access to the log lock and the log file: SYSTEM, Administrators and
// one group (Windows), or mode 0660 and one group (Linux). The group comes from the key below;
// without it, the built-in Users group (Windows) or the writer's own group (Linux).
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOG_ACCESS_H
#define TAVROMEDIVANEUTIL_LOGGING_LOG_ACCESS_H

#include <string>

#include "platform/object_access.h"

namespace Tavro_KVO_Util {

// The logging key that names the group; read only in the safe profile.
constexpr wchar_t kAccessGroupName[] = L"AccessGroup";

// The access the log's objects get: everyone when `safeProfile` is off; otherwise restricted to
// `group`, or to the default group, with one report to the event log, when the machine does not
// know `group`.
platform::ObjectAccess LogAccessFor(bool safeProfile, const std::wstring& group);

// Narrows the log lock to `access` (when restricted), once per process for each group; a failure
// (a lock made by another user on Linux, no right to change it) is reported once and leaves the
// lock as it was, so that logging goes on.
void RestrictLogLock(const platform::ObjectAccess& access);

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOG_ACCESS_H

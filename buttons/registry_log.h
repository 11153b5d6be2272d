// How the button-action registries report their failures, and take their lock.
//
// Both registries write every failure at level 2 (ERROR) in the debug area "BN", with the source
// file and line of the failing call; the Logger is made on first need and asked whether the
// level is loggable before anything is formatted.
#ifndef TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_LOG_H
#define TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_LOG_H

#include "OsLockableObject.h"

namespace Tavro_KVO_Util::internal {

// Writes `message` as it is (no data text) at ERROR in area "BN".
void ReportButtonError(const wchar_t* file, int line, const wchar_t* message);

// Lock(true) on `lock`. When that fails, or when there is no lock because it could not be made,
// reports `message` and returns false; the caller then must not Unlock.
bool LockOrReport(OsLockableObject* lock, const wchar_t* file, int line, const wchar_t* message);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_LOG_H

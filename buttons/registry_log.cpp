#include "buttons/registry_log.h"

#include <cstdarg>

#include "logging/library_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util::internal {
namespace {

// Support tools filter the log on this area; keep it exact.
constexpr wchar_t kButtonArea[] = L"BN";

// ReportToLogger takes a va_list; this gives it one for the single "%s" argument.
void Report(const wchar_t* file, int line, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ReportToLogger(kButtonArea, kLevelError, file, line, format, args);
  va_end(args);
}

}  // namespace

void ReportButtonError(const wchar_t* file, int line, const wchar_t* message) {
  // The message goes in as an argument, never as the format, so that it is written as it is.
  Report(file, line, L"%s", message);
}

bool LockOrReport(OsLockableObject* lock, const wchar_t* file, int line, const wchar_t* message) {
  if (lock != nullptr && lock->Lock(true)) return true;
  ReportButtonError(file, line, message);
  return false;
}

}  // namespace Tavro_KVO_Util::internal

// What every entry point of the C interface shares: the guard that keeps exceptions inside the
// library, the checks and conversions of arguments (each refusal logged), and the copies into the
// caller's buffers and into memory the caller frees with tmu_free.
#ifndef TAVROMEDIVANEUTIL_C_API_C_API_SUPPORT_H
#define TAVROMEDIVANEUTIL_C_API_C_API_SUPPORT_H

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "TavroMedivaneUtil_c.h"

namespace Tavro_KVO_Util::c_api {

// The debug area of the C interface's own entries; support tools filter on it.
inline constexpr wchar_t kCApiArea[] = L"TavroMedivaneUtil_c";

// Logs "<function>: <argument> is null" at ERROR.
void ReportNullArgument(const char* function, const char* argument);
// Logs "<function>: <argument> <problem>" at ERROR ("... is larger than the class takes").
void ReportBadArgument(const char* function, const char* argument, const char* problem);
// Logs "<function>: <argument> is not UTF-8" at ERROR.
void ReportMalformedText(const char* function, const char* argument);
// Logs "<function>: <what>" at ERROR, for an exception the library should not have thrown.
void ReportUnexpectedException(const char* function, const char* what) noexcept;

// True when the `length` bytes at `text` are well-formed UTF-8 (no overlong forms, surrogates or
// values above U+10FFFF, nothing cut short).
bool IsWellFormedUtf8(const char* text, std::size_t length);

// A required text argument as the library's wide text. False, after logging why, when `text` is
// null or not UTF-8.
bool WideArgument(const char* function, const char* argument, const char* text, std::wstring& wide);

// False, after logging, when `pointer` is null.
inline bool Present(const char* function, const char* argument, const void* pointer) {
  if (pointer != nullptr) return true;
  ReportNullArgument(function, argument);
  return false;
}

// `text` and its NUL into `buffer` when they fit in `capacity` bytes (TMU_OK); otherwise
// TMU_BUFFER_TOO_SMALL and the buffer untouched. `*length` receives the text's length either way.
tmu_status CopyTextOut(const std::string& text, char* buffer, std::size_t capacity, std::size_t* length);

// The same rule for an array of records.
template <typename Record>
tmu_status CopyRecordsOut(const std::vector<Record>& records, Record* out, std::size_t capacity,
                          std::size_t* count) {
  *count = records.size();
  if (records.size() > capacity) return TMU_BUFFER_TOO_SMALL;
  if (!records.empty()) std::memcpy(out, records.data(), records.size() * sizeof(Record));
  return TMU_OK;
}

// A copy of `size` bytes in memory that tmu_free releases; null when it cannot be had.
void* CopyForCaller(const void* bytes, std::size_t size);

// Runs `body` and returns its status. std::bad_alloc becomes TMU_OUT_OF_MEMORY; anything else
// thrown is logged and becomes TMU_INTERNAL_ERROR. Nothing leaves through the C boundary.
template <typename Body>
tmu_status Guarded(const char* function, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return TMU_OUT_OF_MEMORY;
  } catch (const std::exception& error) {
    ReportUnexpectedException(function, error.what());
  } catch (...) {
    ReportUnexpectedException(function, "unknown exception");
  }
  return TMU_INTERNAL_ERROR;
}

// As Guarded, for entry points that return a value instead of a status: `fallback` when `body`
// throws.
template <typename Result, typename Body>
Result GuardedValue(const char* function, Result fallback, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::exception& error) {
    ReportUnexpectedException(function, error.what());
  } catch (...) {
    ReportUnexpectedException(function, "unknown exception");
  }
  return fallback;
}

}  // namespace Tavro_KVO_Util::c_api

#endif  // TAVROMEDIVANEUTIL_C_API_C_API_SUPPORT_H

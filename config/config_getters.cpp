// Config: the buffer and numeric getters.
#include "Config.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string>
#include <vector>

#include "config/number_text.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {
namespace {

using internal::kLevelDebug;
using internal::kLevelError;
using internal::kLevelInfo;
using internal::kLevelWarn;

// Support tools search the log for these texts: keep them exact, trailing "***" and all, even
// where one getter's text differs from its neighbour's.
constexpr const wchar_t* kLongTrace = L"*** Config::GetParameter (long) \u2013 Requested Key is: %s***";
constexpr const wchar_t* kKeyNotFound = L"Could not find the following key: %s";
constexpr const wchar_t* kBufferTooSmall = L"The value buffer is larger than the buffer passed in!";

// A zero result is trusted only when the text was "0": every other text that converts to zero
// ("abc", "00", "-0", "0.0") counts as a failed conversion, as old callers expect.
template <typename Number>
bool IsFailedConversion(Number result, const std::wstring& text) {
  return result == Number{0} && !internal::IsExactlyZeroText(text);
}

// The first key line of `key` in file order, or the end of `lines`.
std::vector<ConfigLine>::const_iterator FirstKeyLine(const std::vector<ConfigLine>& lines,
                                                     const std::wstring& key) {
  return std::find_if(lines.begin(), lines.end(), [&key](const ConfigLine& line) {
    return line.type == CFG_LINE_KEY_VALUE && line.key == key;
  });
}

}  // namespace

CFGStatus Config::GetParameter(const std::wstring& key, wchar_t* buffer, int* size) const {
  if (size == nullptr) {
    // Callers must pass a size; a null one is refused rather than crashing the host process.
    Log(kLevelError, __LINE__, L"Invalid parameter");
    return CFG_INVALID_PARAMETER;
  }
  Log(kLevelDebug, __LINE__, L"*** Config::GetParameter (wchar_t) \u2013 Requested Key is: %s***",
      key.c_str());
  std::wstring value;
  if (FindKeyReturnVal(key, value) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, kKeyNotFound, key.c_str());
    *size = 0;
    return CFG_NOT_FOUND;
  }
  const std::size_t length = value.size();
  const int needed = static_cast<int>(length + 1);
  // A capacity equal to the length is accepted although the NUL then lands one past it: old
  // callers rely on this; keep it.
  if (static_cast<long long>(length) <= static_cast<long long>(*size) && buffer != nullptr) {
    std::wmemcpy(buffer, value.c_str(), length + 1);
    *size = needed;
    return CFG_SUCCESS;
  }
  *size = needed;
  Log(kLevelWarn, __LINE__, kBufferTooSmall);
  return CFG_BUFFER_TOO_SMALL;
}

CFGStatus Config::GetParameterFromUnorderedMap(const std::wstring& key, wchar_t* buffer,
                                               unsigned long* size) {
  if (size == nullptr) {
    Log(kLevelError, __LINE__, L"Invalid parameter");
    return CFG_INVALID_PARAMETER;
  }
  Log(kLevelDebug, __LINE__,
      L"*** Config::GetParameterFromUnorderedMap (wstring) \u2013 Requested Key is: %s***", key.c_str());
  // A failed reload leaves the store empty, and the lookup below then reports the key missing.
  static_cast<void>(Reload(false));
  const auto line = FirstKeyLine(mUnorderedList, key);
  if (line == mUnorderedList.end()) {
    Log(kLevelInfo, __LINE__, kKeyNotFound, key.c_str());
    return CFG_NOT_FOUND;
  }
  const std::size_t needed = line->value.size() + 1;
  if (static_cast<std::uint64_t>(needed) <= static_cast<std::uint64_t>(*size) && buffer != nullptr) {
    std::wmemcpy(buffer, line->value.c_str(), needed);
    *size = static_cast<unsigned long>(needed);
    return CFG_SUCCESS;
  }
  Log(kLevelWarn, __LINE__, kBufferTooSmall);
  *size = static_cast<unsigned long>(needed);
  return CFG_BUFFER_TOO_SMALL;
}

CFGStatus Config::GetParameter(const std::wstring& key, long& value) const {
  Log(kLevelDebug, __LINE__, kLongTrace, key.c_str());
  std::wstring text;
  if (FindKeyReturnVal(key, text) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, L"Could not find the following key: %s***", key.c_str());
    return CFG_NOT_FOUND;
  }
  const long result = internal::TextToLong(text);
  if (IsFailedConversion(result, text)) {
    Log(kLevelError, __LINE__, L"The following retrieved value can not be converted to type long: %s***",
        text.c_str());
    return CFG_CONVERSION_FAILED;
  }
  value = result;
  return CFG_SUCCESS;
}

CFGStatus Config::GetParameter(const std::wstring& key, double& value) const {
  Log(kLevelDebug, __LINE__, L"*** Config::GetParameter (double) \u2013 Requested Key is: %s***",
      key.c_str());
  std::wstring text;
  if (FindKeyReturnVal(key, text) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, kKeyNotFound, key.c_str());
    return CFG_NOT_FOUND;
  }
  const double result = internal::TextToDouble(text);
  if (IsFailedConversion(result, text)) {
    Log(kLevelError, __LINE__, L"The following retrieved value can not be converted to type double: %s",
        text.c_str());
    return CFG_CONVERSION_FAILED;
  }
  value = result;
  return CFG_SUCCESS;
}

CFGStatus Config::GetParameter(const std::wstring& key, int radix, unsigned long& value) const {
  Log(kLevelDebug, __LINE__, kLongTrace, key.c_str());
  std::wstring text;
  if (FindKeyReturnVal(key, text) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, kKeyNotFound, key.c_str());
    return CFG_NOT_FOUND;
  }
  // 32 bits on every build, as on Windows: "-5" must give 4294967291 on Linux too.
  const std::uint32_t result = internal::TextToUnsigned32(text, radix);
  if (IsFailedConversion(result, text)) {
    Log(kLevelError, __LINE__, L"The following retrieved value can not be converted to type long: %s",
        text.c_str());
    return CFG_CONVERSION_FAILED;
  }
  value = result;
  return CFG_SUCCESS;
}

CFGStatus Config::GetParameter(const std::wstring& key, int radix, unsigned long long& value) const {
  Log(kLevelDebug, __LINE__, kLongTrace, key.c_str());
  std::wstring text;
  if (FindKeyReturnVal(key, text) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, kKeyNotFound, key.c_str());
    return CFG_NOT_FOUND;
  }
  const std::uint64_t result = internal::TextToUnsigned64(text, radix);
  if (IsFailedConversion(result, text)) {
    Log(kLevelError, __LINE__, L"The following retrieved value can not be converted to type _uint64: %s",
        text.c_str());
    return CFG_CONVERSION_FAILED;
  }
  value = result;
  return CFG_SUCCESS;
}

}  // namespace Tavro_KVO_Util

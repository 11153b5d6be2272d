#include "c_api/c_api_support.h"

#include <cstdarg>
#include <cstdlib>
#include <exception>

#include "logging/library_log.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::c_api {
namespace {

constexpr int kErrorLevel = 2;
constexpr wchar_t kCApiSourceFile[] = L".\\TavroMedivaneUtil_c.cpp";

void Report(int line, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  internal::ReportToLogger(kCApiArea, kErrorLevel, kCApiSourceFile, line, format, args);
  va_end(args);
}

// The length of the sequence a lead byte starts, 0 for a byte that starts none.
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// The range the second byte of a sequence must lie in: narrower after E0 (overlong), ED
// (surrogates), F0 (overlong) and F4 (above U+10FFFF).
bool SecondByteFits(unsigned char lead, unsigned char second) {
  switch (lead) {
    case 0xE0:
      return second >= 0xA0 && second <= 0xBF;
    case 0xED:
      return second >= 0x80 && second <= 0x9F;
    case 0xF0:
      return second >= 0x90 && second <= 0xBF;
    case 0xF4:
      return second >= 0x80 && second <= 0x8F;
    default:
      return second >= 0x80 && second <= 0xBF;
  }
}

}  // namespace

void ReportNullArgument(const char* function, const char* argument) {
  Report(__LINE__, L"%hs: %hs is null", function, argument);
}

void ReportBadArgument(const char* function, const char* argument, const char* problem) {
  Report(__LINE__, L"%hs: %hs %hs", function, argument, problem);
}

void ReportMalformedText(const char* function, const char* argument) {
  Report(__LINE__, L"%hs: %hs is not UTF-8", function, argument);
}

void ReportUnexpectedException(const char* function, const char* what) noexcept {
  try {
    Report(__LINE__, L"%hs: %hs", function, what);
  } catch (...) {
    // The report itself could not be made; the caller still gets its status.
  }
}

bool IsWellFormedUtf8(const char* text, std::size_t length) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  std::size_t i = 0;
  while (i < length) {
    const int size = SequenceLength(bytes[i]);
    if (size == 0 || length - i < static_cast<std::size_t>(size)) return false;
    if (size > 1 && !SecondByteFits(bytes[i], bytes[i + 1])) return false;
    for (int k = 2; k < size; ++k) {
      if ((bytes[i + k] & 0xC0) != 0x80) return false;
    }
    i += static_cast<std::size_t>(size);
  }
  return true;
}

bool WideArgument(const char* function, const char* argument, const char* text, std::wstring& wide) {
  if (!Present(function, argument, text)) return false;
  const std::size_t length = std::strlen(text);
  if (!IsWellFormedUtf8(text, length)) {
    ReportMalformedText(function, argument);
    return false;
  }
  wide = platform::Utf8ToWide(std::string(text, length));
  return true;
}

tmu_status CopyTextOut(const std::string& text, char* buffer, std::size_t capacity, std::size_t* length) {
  *length = text.size();
  if (buffer == nullptr || capacity <= text.size()) return TMU_BUFFER_TOO_SMALL;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return TMU_OK;
}

void* CopyForCaller(const void* bytes, std::size_t size) {
  void* copy = std::malloc(size == 0 ? 1 : size);
  if (copy != nullptr && size != 0) std::memcpy(copy, bytes, size);
  return copy;
}

}  // namespace Tavro_KVO_Util::c_api

#include "keypress/wide_to_long.h"

#include <limits>

namespace Tavro_KVO_Util::internal {
namespace {

bool IsWhiteSpace(wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

}  // namespace

std::int32_t WideToLong(const std::wstring& text) {
  std::size_t at = 0;
  while (at < text.size() && IsWhiteSpace(text[at])) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == L'+' || text[at] == L'-')) negative = text[at++] == L'-';

  // Accumulated as a magnitude in 64 bits and clamped once it passes what a 32-bit long holds;
  // the clamp keeps the accumulator small however many digits follow.
  constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
  std::int64_t magnitude = 0;
  for (; at < text.size() && IsDigit(text[at]); ++at) {
    magnitude = magnitude * 10 + (text[at] - L'0');
    if (magnitude > kLimit) magnitude = kLimit;
  }
  if (negative) return static_cast<std::int32_t>(-magnitude);  // kLimit negated is INT32_MIN
  return static_cast<std::int32_t>(magnitude >= kLimit ? kLimit - 1 : magnitude);
}

}  // namespace Tavro_KVO_Util::internal

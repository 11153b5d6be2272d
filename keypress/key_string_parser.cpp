// KeyPressSimulator: splitting a key press string into elements and key groups.
//
// An element is one character (an ASCII letter or digit, or the joiner '+') or a braced text
// "{...}"; a group is a run of elements joined by '+'. Whether an element names a key is decided
// later, when the group is turned into records (key_records.cpp).
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "keypress/key_press_log.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

// Support tools search the log for these texts; keep them exact. They name "KeyPressAction", the
// class's name in the product before it was exported.
constexpr wchar_t kElementFailed[] =
    L"KeyPressAction::GetInputStringElementVector - GetInputStringElement failed with status: ";
constexpr wchar_t kEndsWithJoiner[] =
    L"KeyPressAction::GetInputStringElementVector - invalid key press input string format (can't end with "
    L"'+')";
constexpr wchar_t kGroupFailed[] =
    L"KeyPressAction::ParseInputString - GetInputStringElementVector failed with status: ";
constexpr wchar_t kGroupToInputFailed[] =
    L"KeyPressAction::ParseInputString - ElementsToInput failed with status: ";

bool IsAsciiLetterOrDigit(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9');
}

}  // namespace

KeyPressSimulator::KPS_Status KeyPressSimulator::GetInputStringElement(const std::wstring& input,
                                                                       std::wstring& element, int position,
                                                                       int* lastPosition) {
  if (position >= static_cast<int>(input.length())) return KPS_END_OF_INPUT;
  const wchar_t c = input[static_cast<std::size_t>(position)];
  if (IsAsciiLetterOrDigit(c) || c == L'+') {
    // The joiner comes back as an element too; the group reader tells it apart.
    element.assign(1, c);
    *lastPosition = position;
    return KPS_OK;
  }
  if (c == L'{') {
    const std::size_t start = static_cast<std::size_t>(position);
    const std::size_t close = input.find(L'}', start);
    if (close == std::wstring::npos) {
      // An unterminated brace is not refused here. As the product always has, the element is
      // empty when the brace opens the string and otherwise runs to its end, and the last
      // position is -1. Neither names a key, so the string fails when the group is converted.
      element = start == 0 ? std::wstring() : input.substr(start);
      *lastPosition = -1;
      return KPS_OK;
    }
    element = input.substr(start, close - start + 1);
    *lastPosition = static_cast<int>(close);
    return KPS_OK;
  }
  return KPS_INVALID_FORMAT;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::GetInputStringElementVector(
    const std::wstring& input, std::vector<std::wstring>& elements, int position, int* lastPosition) {
  int joiners = 0;
  for (;;) {
    std::wstring element;
    int last = 0;
    KPS_Status status = GetInputStringElement(input, element, position, &last);
    if (status == KPS_END_OF_INPUT) {
      if (joiners > 0) {
        LogKeyPressText(mLogArea, kLevelError, __LINE__, kEndsWithJoiner, input);
        return KPS_INVALID_FORMAT;
      }
      break;
    }
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kElementFailed, status);
      return status;
    }
    *lastPosition = last;
    elements.push_back(element);

    // A '+' right after the element continues the group; anything else starts the next one.
    std::wstring next;
    int nextLast = 0;
    status = GetInputStringElement(input, next, last + 1, &nextLast);
    if (status == KPS_END_OF_INPUT) break;
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kElementFailed, status);
      return status;
    }
    if (next.empty() || next[0] != L'+') break;
    // Only one '+' is taken as the joiner: a second one ("a++b") is read as an element of its
    // own and fails as an unknown key. Kept as the product has always parsed it.
    ++joiners;
    position = nextLast + 1;
  }
  return elements.empty() ? KPS_END_OF_INPUT : KPS_OK;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::ParseInputString(const std::wstring& input,
                                                                  std::vector<MY_INPUT>& inputs) {
  std::vector<std::wstring> elements;
  int position = 0;
  for (;;) {
    int last = 0;
    KPS_Status status = GetInputStringElementVector(input, elements, position, &last);
    if (status == KPS_END_OF_INPUT) return KPS_OK;
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kGroupFailed, status);
      return status;
    }
    status = ElementsToInput(elements, inputs);
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kGroupToInputFailed, status);
      return status;
    }
    elements.clear();
    position = last + 1;
  }
}

}  // namespace Tavro_KVO_Util

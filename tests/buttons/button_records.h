// Records, keys and report lines as the button-registry tests write them.
#ifndef TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_RECORDS_H
#define TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_RECORDS_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "ButtonActionInfo.h"
#include "ButtonActionInfoPid.h"
#include "mvButtonType.h"

namespace Tavro_KVO_Util {

// gtest compares and prints records through these (found by argument-dependent lookup).
inline bool operator==(const ButtonActionInfo& a, const ButtonActionInfo& b) {
  return a.hWnd == b.hWnd && a.buttonAction == b.buttonAction && a.actionData1 == b.actionData1 &&
         a.buttonType == b.buttonType && a.actionData2 == b.actionData2;
}
inline bool operator==(const ButtonActionInfoPid& a, const ButtonActionInfoPid& b) {
  return a.pid == b.pid && a.buttonAction == b.buttonAction && a.actionData1 == b.actionData1 &&
         a.buttonType == b.buttonType && a.actionData2 == b.actionData2;
}
inline void PrintTo(const ButtonActionInfo& r, std::ostream* os) {
  *os << "{hWnd " << static_cast<const void*>(r.hWnd) << ", action " << r.buttonAction << ", data1 "
      << r.actionData1 << ", type " << static_cast<int>(r.buttonType) << ", data2 " << r.actionData2 << "}";
}
inline void PrintTo(const ButtonActionInfoPid& r, std::ostream* os) {
  *os << "{pid " << r.pid << ", action " << r.buttonAction << ", data1 " << r.actionData1 << ", type "
      << static_cast<int>(r.buttonType) << ", data2 " << r.actionData2 << "}";
}

namespace testing {

inline HWND Window(std::uint64_t bits) { return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(bits)); }
inline mvButtonType Button(std::int32_t value) { return static_cast<mvButtonType>(value); }

inline ButtonActionInfo WindowRecord(std::uint64_t window, std::int32_t button, std::int32_t action,
                                     std::uint64_t data1 = 0, std::uint64_t data2 = 0) {
  return {Window(window), action, data1, Button(button), data2};
}
inline ButtonActionInfoPid PidRecord(DWORD pid, std::int32_t button, std::int32_t action,
                                     std::uint64_t data1 = 0, std::uint64_t data2 = 0) {
  return {pid, action, data1, Button(button), data2};
}

// 16 upper-case hex digits, as the report prints a handle; written here without printf so that
// the tests do not share the code under test's assumptions.
inline std::wstring Hex16(std::uint64_t value) {
  std::wstring text(16, L'0');
  for (int i = 15; i >= 0; --i, value >>= 4)
    text[static_cast<std::size_t>(i)] = L"0123456789ABCDEF"[value & 0xF];
  return text;
}

inline std::wstring WindowLine(std::uint64_t window, std::int32_t button, std::int32_t action) {
  return L"HWND: " + Hex16(window) + L", Button Type: " + std::to_wstring(button) + L", Button Action: " +
         std::to_wstring(action) + L"\n";
}
inline std::wstring PidLine(std::uint32_t pid, std::int32_t button, std::int32_t action) {
  return L"PID: " + std::to_wstring(pid) + L", Button Type: " + std::to_wstring(button) +
         L", Button Action: " + std::to_wstring(action) + L"\n";
}
inline std::wstring Header(int count) { return L"Total Actions: " + std::to_wstring(count) + L"\n"; }

// A report buffer filled with 'X' beyond what the registry writes, so that a test sees every
// character written, the NUL included, and nothing written past it.
class ReportBuffer {
 public:
  explicit ReportBuffer(std::size_t size) : mChars(size + kGuard, L'X') { mChars.push_back(L'\0'); }
  wchar_t* data() { return mChars.data(); }
  unsigned long size() const { return static_cast<unsigned long>(mChars.size() - 1 - kGuard); }
  std::wstring Text() const { return std::wstring(mChars.data()); }
  // The characters after the terminating NUL are still the fill (a last NUL, never handed to the
  // registry, stops Text() when nothing was written).
  bool UntouchedAfterText() const {
    const std::size_t end = Text().size() + 1;
    for (std::size_t i = end; i + 1 < mChars.size(); ++i) {
      if (mChars[i] != L'X') return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 8;
  std::vector<wchar_t> mChars;
};

}  // namespace testing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_RECORDS_H

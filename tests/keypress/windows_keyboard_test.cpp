// The simulator on Windows, through the real DLL: records as SendInput takes them, and keys that
// actually arrive in a window and in a low-level keyboard hook.
#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "keypress/key_press_records.h"
#include "platform/us_scan_codes.h"
#include "platform/win32/windows_include.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/private_install_dir.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ScopedEnvironmentVariable;
using testing::TempDir;

constexpr wchar_t kArea[] = L"KeyTest";

// Runs the thread's messages for up to `limit`, or until `done` says so.
template <typename Done>
void PumpMessages(std::chrono::milliseconds limit, Done done) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done() && std::chrono::steady_clock::now() < end) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    Sleep(10);
  }
}

class WindowsKeyboard : public ::testing::Test {
 protected:
  testing::PrivateInstallDir mInstall;
};

TEST_F(WindowsKeyboard, RecordHasExactlyTheLayoutOfInput) {
  EXPECT_EQ(sizeof(KeyPressSimulator::MY_INPUT), sizeof(INPUT));
  EXPECT_EQ(offsetof(KeyPressSimulator::MY_INPUT, ki), offsetof(INPUT, ki));
  EXPECT_EQ(offsetof(KeyPressSimulator::MY_INPUT::MY_KEYBDINPUT, dwExtraInfo),
            offsetof(KEYBDINPUT, dwExtraInfo));
}

TEST_F(WindowsKeyboard, LinuxScanCodeTableIsWhatMapVirtualKeyAnswers) {
  for (unsigned int code = 0; code < 256; ++code) {
    EXPECT_EQ(MapVirtualKeyW(code, MAPVK_VK_TO_VSC), platform::kUsScanCodes[code]) << "virtual key " << code;
  }
}

TEST_F(WindowsKeyboard, RecordsArePressesThenReleasesWithMapVirtualKeysScanCodes) {
  const KeyPressSimulator simulator(L"{CONTROL}+{ALT}+d", false, kArea);
  const std::vector<KeyPressSimulator::MY_INPUT> records = KeyPressRecords::Of(simulator);
  const WORD codes[] = {VK_CONTROL, VK_MENU, 'D', VK_CONTROL, VK_MENU, 'D'};
  ASSERT_EQ(records.size(), 6u);
  for (std::size_t i = 0; i < records.size(); ++i) {
    SCOPED_TRACE(i);
    INPUT input;
    std::memcpy(&input, &records[i], sizeof input);
    EXPECT_EQ(input.type, static_cast<DWORD>(INPUT_KEYBOARD));
    EXPECT_EQ(input.ki.wVk, codes[i]);
    EXPECT_EQ(input.ki.wScan, MapVirtualKeyW(codes[i], MAPVK_VK_TO_VSC));
    EXPECT_EQ(input.ki.dwFlags, i < 3 ? 0u : static_cast<DWORD>(KEYEVENTF_KEYUP));
    EXPECT_EQ(input.ki.time, 0u);
    EXPECT_EQ(input.ki.dwExtraInfo, 0u);
  }
  EXPECT_EQ(records[0].ki.wScan, 29);
  EXPECT_EQ(records[1].ki.wScan, 56);
  EXPECT_EQ(records[2].ki.wScan, 32);
}

// A top-level window with an edit control that has the keyboard focus.
class EditWindow {
 public:
  EditWindow() {
    mFrame =
        CreateWindowExW(0, L"STATIC", L"key press test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 200,
                        /*hWndParent=*/nullptr, /*hMenu=*/nullptr, GetModuleHandleW(nullptr), nullptr);
    mEdit = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL, 10, 10, 200, 24, mFrame,
                            /*hMenu=*/nullptr, GetModuleHandleW(nullptr), nullptr);
    SetForegroundWindow(mFrame);
    SetFocus(mEdit);
  }
  ~EditWindow() {
    if (mFrame != nullptr) DestroyWindow(mFrame);
  }
  EditWindow(const EditWindow&) = delete;
  EditWindow& operator=(const EditWindow&) = delete;

  bool Ready() const { return mFrame != nullptr && mEdit != nullptr && GetFocus() == mEdit; }
  std::wstring Text() const {
    wchar_t text[64] = {};
    GetWindowTextW(mEdit, text, 64);
    return text;
  }

 private:
  HWND mFrame = nullptr;
  HWND mEdit = nullptr;
};

TEST_F(WindowsKeyboard, FocusedEditControlReceivesTheTypedText) {
  EditWindow window;
  PumpMessages(std::chrono::milliseconds(200), [] { return false; });
  ASSERT_TRUE(window.Ready());
  KeyPressSimulator simulator(L"ab", false, kArea);
  ASSERT_EQ(simulator.DoSimulation(), KeyPressSimulator::KPS_OK);
  PumpMessages(std::chrono::seconds(5), [&] { return window.Text() == L"ab"; });
  EXPECT_EQ(window.Text(), L"ab");
}

// What the low-level hook saw: virtual key (left and right variants as the generic key), scan
// code, and whether it went up.
struct HookedKey {
  DWORD code;
  DWORD scanCode;
  bool up;
  bool operator==(const HookedKey& other) const {
    return code == other.code && scanCode == other.scanCode && up == other.up;
  }
};
std::vector<HookedKey>* gHooked = nullptr;

DWORD GenericKey(DWORD code) {
  switch (code) {
    case VK_LCONTROL:
    case VK_RCONTROL:
      return VK_CONTROL;
    case VK_LMENU:
    case VK_RMENU:
      return VK_MENU;
    case VK_LSHIFT:
    case VK_RSHIFT:
      return VK_SHIFT;
    default:
      return code;
  }
}

LRESULT CALLBACK RecordKey(int code, WPARAM message, LPARAM data) {
  if (code == HC_ACTION && gHooked != nullptr) {
    const auto* key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(data);
    gHooked->push_back(
        {GenericKey(key->vkCode), key->scanCode, message == WM_KEYUP || message == WM_SYSKEYUP});
  }
  return CallNextHookEx(nullptr, code, message, data);
}

TEST_F(WindowsKeyboard, LowLevelHookSeesTheChordGoDownThenComeUpInWrittenOrder) {
  std::vector<HookedKey> hooked;
  gHooked = &hooked;
  HHOOK hook = SetWindowsHookExW(WH_KEYBOARD_LL, RecordKey, GetModuleHandleW(nullptr), /*dwThreadId=*/0);
  ASSERT_NE(hook, nullptr);
  KeyPressSimulator simulator(L"{CONTROL}+{ALT}+d", false, kArea);
  const KeyPressSimulator::KPS_Status status = simulator.DoSimulation();
  PumpMessages(std::chrono::seconds(5), [&] { return hooked.size() >= 6; });
  UnhookWindowsHookEx(hook);
  gHooked = nullptr;
  EXPECT_EQ(status, KeyPressSimulator::KPS_OK);
  const std::vector<HookedKey> expected = {{VK_CONTROL, 29, false}, {VK_MENU, 56, false}, {'D', 32, false},
                                           {VK_CONTROL, 29, true},  {VK_MENU, 56, true},  {'D', 32, true}};
  EXPECT_TRUE(hooked == expected) << "hook saw " << hooked.size() << " keys";
}

TEST_F(WindowsKeyboard, EmptyStringSendsNothingAndSucceeds) {
  KeyPressSimulator simulator(L"", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KeyPressSimulator::KPS_OK);
}

}  // namespace
}  // namespace Tavro_KVO_Util

#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/keyboard_input.h"

#include <cstddef>

#include "KeyPressSimulator.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The simulator's records go to SendInput as they stand, so its declaration must be INPUT's.
using Record = KeyPressSimulator::MY_INPUT;
static_assert(sizeof(Record) == sizeof(INPUT), "MY_INPUT must have the size of INPUT");
static_assert(alignof(Record) == alignof(INPUT), "MY_INPUT must have the alignment of INPUT");
static_assert(offsetof(Record, type) == offsetof(INPUT, type));
static_assert(offsetof(Record, ki) == offsetof(INPUT, ki));
static_assert(offsetof(Record, mi) == offsetof(INPUT, mi));
static_assert(offsetof(Record, hi) == offsetof(INPUT, hi));
static_assert(sizeof(Record::MY_KEYBDINPUT) == sizeof(KEYBDINPUT));
static_assert(offsetof(Record::MY_KEYBDINPUT, wVk) == offsetof(KEYBDINPUT, wVk));
static_assert(offsetof(Record::MY_KEYBDINPUT, wScan) == offsetof(KEYBDINPUT, wScan));
static_assert(offsetof(Record::MY_KEYBDINPUT, dwFlags) == offsetof(KEYBDINPUT, dwFlags));
static_assert(offsetof(Record::MY_KEYBDINPUT, time) == offsetof(KEYBDINPUT, time));
static_assert(offsetof(Record::MY_KEYBDINPUT, dwExtraInfo) == offsetof(KEYBDINPUT, dwExtraInfo));
static_assert(sizeof(Record::MY_MOUSEINPUT) == sizeof(MOUSEINPUT));
static_assert(offsetof(Record::MY_MOUSEINPUT, dx) == offsetof(MOUSEINPUT, dx));
static_assert(offsetof(Record::MY_MOUSEINPUT, dy) == offsetof(MOUSEINPUT, dy));
static_assert(offsetof(Record::MY_MOUSEINPUT, mouseData) == offsetof(MOUSEINPUT, mouseData));
static_assert(offsetof(Record::MY_MOUSEINPUT, dwFlags) == offsetof(MOUSEINPUT, dwFlags));
static_assert(offsetof(Record::MY_MOUSEINPUT, time) == offsetof(MOUSEINPUT, time));
static_assert(offsetof(Record::MY_MOUSEINPUT, dwExtraInfo) == offsetof(MOUSEINPUT, dwExtraInfo));
static_assert(sizeof(Record::MY_HARDWAREINPUT) == sizeof(HARDWAREINPUT));
static_assert(offsetof(Record::MY_HARDWAREINPUT, uMsg) == offsetof(HARDWAREINPUT, uMsg));
static_assert(offsetof(Record::MY_HARDWAREINPUT, wParamL) == offsetof(HARDWAREINPUT, wParamL));
static_assert(offsetof(Record::MY_HARDWAREINPUT, wParamH) == offsetof(HARDWAREINPUT, wParamH));

}  // namespace

unsigned int SendInputRecords(unsigned int count, const void* records, int recordSize, unsigned long& error) {
  // SendInput only reads the array; its parameter is not const for historical reasons.
  const UINT sent = SendInput(count, static_cast<INPUT*>(const_cast<void*>(records)), recordSize);
  if (sent == 0) error = GetLastError();
  return sent;
}

unsigned int VirtualKeyToScanCode(unsigned int virtualKey) {
  return MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC);
}

int WideToAnsiCodePage(const wchar_t* text, char* out, int outSize, unsigned long& error) {
  const int written =
      WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text, /*cchWideChar=*/-1, out, outSize,
                          /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
  if (written == 0) error = GetLastError();
  return written;
}

}  // namespace Tavro_KVO_Util::platform

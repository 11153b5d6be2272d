#include "platform/keyboard_input.h"

#include <cerrno>

#include "platform/us_scan_codes.h"

namespace Tavro_KVO_Util::platform {

unsigned int SendInputRecords(unsigned int /*count*/, const void* /*records*/, int /*recordSize*/,
                              unsigned long& error) {
  // No keyboard input stream is reachable from here (no X server, no uinput rights): say so
  // rather than pretend that the keys were pressed.
  error = ENOSYS;
  return 0;
}

unsigned int VirtualKeyToScanCode(unsigned int virtualKey) {
  // Codes past the table have no key, as MapVirtualKeyW answers for them.
  return virtualKey < sizeof kUsScanCodes ? kUsScanCodes[virtualKey] : 0;
}

int WideToAnsiCodePage(const wchar_t* text, char* out, int outSize, unsigned long& error) {
  // ASCII is the same in every ANSI code page; the key press parser converts nothing else.
  int written = 0;
  for (const wchar_t* c = text;; ++c) {
    if (static_cast<unsigned long>(*c) > 0x7F) {  // negative wchar_t values included
      error = EILSEQ;
      return 0;
    }
    if (written == outSize) {
      error = E2BIG;
      return 0;
    }
    out[written++] = static_cast<char>(*c);
    if (*c == L'\0') return written;
  }
}

}  // namespace Tavro_KVO_Util::platform

// Platform service: the system's keyboard input stream and keyboard layout.
//
// Windows: SendInput, MapVirtualKeyW and WideCharToMultiByte on the active code page. Linux has
// no input stream the library could feed: sending always fails with ENOSYS, and scan codes come
// from a fixed table of the US layout (platform/us_scan_codes.h), so that the records built on
// both systems are the same.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_KEYBOARD_INPUT_H
#define TAVROMEDIVANEUTIL_PLATFORM_KEYBOARD_INPUT_H

namespace Tavro_KVO_Util::platform {

// Inserts `count` input records of `recordSize` bytes each (the layout of Windows INPUT) into the
// keyboard input stream, as SendInput does: returns how many were inserted; 0 with the OS error
// in `error` when none were (Windows: the calling thread's last error; Linux: ENOSYS).
unsigned int SendInputRecords(unsigned int count, const void* records, int recordSize, unsigned long& error);

// The scan code of virtual key `virtualKey` in the current layout, as
// MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC) gives it; 0 when the layout has none.
unsigned int VirtualKeyToScanCode(unsigned int virtualKey);

// Converts the null-terminated `text` to the ANSI code page, as WideCharToMultiByte(CP_ACP,
// WC_NO_BEST_FIT_CHARS, text, -1, out, outSize, no default character) does: returns the bytes
// written including the terminating null; 0 with the OS error in `error` when the text does not
// fit or cannot be converted (Linux converts ASCII only: EILSEQ for anything else, E2BIG when
// the buffer is too small).
int WideToAnsiCodePage(const wchar_t* text, char* out, int outSize, unsigned long& error);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_KEYBOARD_INPUT_H

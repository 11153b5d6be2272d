#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/win32/error_text.h"

#include "platform/utf8.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

std::string ErrorText(unsigned long error) {
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      /*lpSource=*/nullptr, static_cast<DWORD>(error), /*dwLanguageId=*/0, reinterpret_cast<wchar_t*>(&text),
      /*nSize=*/0, /*Arguments=*/nullptr);
  std::wstring message = length > 0 ? std::wstring(text, length) : std::wstring();
  if (text != nullptr) LocalFree(text);  // the system's own allocation, freed on the one path it exists
  while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r' || message.back() == L'.')) {
    message.pop_back();
  }
  return (message.empty() ? std::string("error") : WideToUtf8(message)) + " (" + std::to_string(error) + ")";
}

}  // namespace Tavro_KVO_Util::platform

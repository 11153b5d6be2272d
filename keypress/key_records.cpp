// KeyPressSimulator: elements to virtual-key codes, and key groups to input records.
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "keypress/key_press_log.h"
#include "keypress/keyboard_access.h"
#include "keypress/wide_to_long.h"
#include "logging/log_levels.h"
#include "platform/keyboard_input.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

// Support tools search the log for these texts; keep them exact.
constexpr wchar_t kConversionFailed[] =
    L"KeyPressAction::GetVirtKeyCode - WideCharToMultiByte failed, lasterror is: ";
constexpr wchar_t kPressCodeFailed[] =
    L"KeyPressAction::ElementsToInput - GetVirtKeyCode1 failed with status: ";
constexpr wchar_t kReleaseCodeFailed[] =
    L"KeyPressAction::ElementsToInput - GetVirtKeyCode2 failed with status: ";
constexpr wchar_t kNoScanCode[] = L"KeyPressAction::ElementsToInput - MapVirtualKey failed for:";

// The Windows values, which the records carry to the system.
constexpr unsigned short kVkShift = 0x10;
constexpr unsigned short kVkControl = 0x11;
constexpr unsigned short kVkMenu = 0x12;
constexpr unsigned short kVkAdd = 0x6B;
constexpr std::uint32_t kInputKeyboard = 1;
constexpr std::uint32_t kKeyEventKeyUp = 0x0002;

struct NamedKey {
  const wchar_t* name;
  unsigned short code;
};
constexpr NamedKey kNamedKeys[] = {
    {L"{ALT}", kVkMenu}, {L"{SHIFT}", kVkShift}, {L"{CONTROL}", kVkControl}, {L"{ADD}", kVkAdd}};

bool IsAsciiLetterOrDigit(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9');
}

// "{VK<n>}": the text between "{VK" and the closing brace.
bool IsCodeElement(const std::wstring& element) {
  return !element.empty() && element.compare(0, 3, L"{VK") == 0 && element.back() == L'}';
}

KeyPressSimulator::MY_INPUT KeyRecord(unsigned short code, unsigned short scanCode, std::uint32_t flags) {
  KeyPressSimulator::MY_INPUT record;
  // Every byte zero, padding and the union's bytes past the keyboard record included, so that the
  // array handed to the system holds nothing left over in memory.
  std::memset(&record, 0, sizeof record);
  record.type = kInputKeyboard;
  record.ki.wVk = code;
  record.ki.wScan = scanCode;
  record.ki.dwFlags = flags;
  return record;
}

}  // namespace

KeyPressSimulator::KPS_Status KeyPressSimulator::GetVirtKeyCode(const std::wstring& element,
                                                                unsigned short* virtKey) {
  for (const NamedKey& key : kNamedKeys) {
    if (element == key.name) {
      *virtKey = key.code;
      return KPS_OK;
    }
  }

  if (IsCodeElement(element)) {
    const std::wstring number = element.substr(3, element.size() - 4);
    const long code = WideToLong(number);
    // Zero only when written as such, and then only in up to three digits: configuration files
    // in the field were written against exactly this rule, so it stays.
    if (code == 0 && number != L"0" && number != L"00" && number != L"000") return KPS_INVALID_FORMAT;
    *virtKey = static_cast<unsigned short>(code);  // not range-checked: 99999 gives 0x869F
    return KPS_OK;
  }

  if (element.size() != 1 || !IsAsciiLetterOrDigit(element[0])) return KPS_INVALID_FORMAT;
  char ansi[2] = {0, 0};
  unsigned long error = 0;
  if (ConvertToAnsi(element.c_str(), ansi, sizeof ansi, error) == 0) {
    LogKeyPressLong(mLogArea, kLevelError, __LINE__, kConversionFailed, static_cast<long>(error));
    return KPS_INVALID_FORMAT;
  }
  // Letters name their key in either case (never with Shift); digits are their own codes.
  *virtKey = static_cast<unsigned short>(std::toupper(static_cast<unsigned char>(ansi[0])));
  return KPS_OK;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::ElementsToInput(const std::vector<std::wstring>& elements,
                                                                 std::vector<MY_INPUT>& inputs) {
  // Keys without a scan code are still sent, with scan code 0; the warning helps whoever wrote
  // a "{VK<n>}" for a key the layout lacks.
  const auto scanCodeOf = [this](unsigned short code) {
    const auto scanCode = static_cast<unsigned short>(platform::VirtualKeyToScanCode(code));
    if (scanCode == 0) LogKeyPressValue(mLogArea, kLevelWarn, __LINE__, kNoScanCode, code);
    return scanCode;
  };

  for (const std::wstring& element : elements) {
    unsigned short code = 0;
    const KPS_Status status = GetVirtKeyCode(element, &code);
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kPressCodeFailed, status);
      return status;  // the records already appended stay
    }
    inputs.push_back(KeyRecord(code, scanCodeOf(code), 0));
  }
  // Releases in the order of the presses, not reversed: a deliberate choice of the product,
  // kept so that every chord is sent exactly as it always was.
  for (const std::wstring& element : elements) {
    unsigned short code = 0;
    const KPS_Status status = GetVirtKeyCode(element, &code);
    if (status != KPS_OK) {
      LogKeyPressValue(mLogArea, kLevelError, __LINE__, kReleaseCodeFailed, status);
      return status;
    }
    inputs.push_back(KeyRecord(code, scanCodeOf(code), kKeyEventKeyUp));
  }
  return KPS_OK;
}

}  // namespace Tavro_KVO_Util

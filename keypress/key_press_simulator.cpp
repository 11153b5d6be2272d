// KeyPressSimulator: construction from a string or a configuration key, the owned input array,
// sending, and the static syntax check. The string parsers are in key_string_parser.cpp, the
// mapping of keys to records in key_records.cpp.
#include "KeyPressSimulator.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "Config.h"
#include "keypress/key_press_log.h"
#include "keypress/keyboard_access.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

// Support tools search the log for these texts; keep them exact (two spaces after the full stops,
// and the one message that names the class itself).
constexpr wchar_t kNoConfiguredArray[] = L"Could not get the input array for key press action.  Error is:";
constexpr wchar_t kNoParsedArray[] = L"Could not parse the input array for key press action.  Error is:";
constexpr wchar_t kArrayParseFailed[] =
    L"KeyPressAction::ParseInputString - ParseInputString failed with status: ";
constexpr wchar_t kConfiguredParseFailed[] =
    L"KeyPressAction::GetInputArray - ParseInputString failed with status: ";
constexpr wchar_t kSendFailed[] = L"KeyPressSimulator::DoSimulation - SendInput failed, lasterror is: ";

// The array is handed to the system as it stands: its layout is that of Windows INPUT in a 64-bit
// process on every system (platform/win32/keyboard_input.cpp checks it against INPUT itself).
using Record = KeyPressSimulator::MY_INPUT;
static_assert(sizeof(void*) != 8 || sizeof(Record) == 40, "MY_INPUT is 40 bytes in a 64-bit process");
static_assert(sizeof(void*) != 8 || alignof(Record) == 8);
static_assert(offsetof(Record, type) == 0);
static_assert(sizeof(void*) != 8 || offsetof(Record, ki) == 8);
static_assert(offsetof(Record, mi) == offsetof(Record, ki) && offsetof(Record, hi) == offsetof(Record, ki));
static_assert(offsetof(Record::MY_KEYBDINPUT, wVk) == 0);
static_assert(offsetof(Record::MY_KEYBDINPUT, wScan) == 2);
static_assert(offsetof(Record::MY_KEYBDINPUT, dwFlags) == 4);
static_assert(offsetof(Record::MY_KEYBDINPUT, time) == 8);
static_assert(sizeof(void*) != 8 || offsetof(Record::MY_KEYBDINPUT, dwExtraInfo) == 16);
static_assert(sizeof(void*) != 8 || sizeof(Record::MY_KEYBDINPUT) == 24);
static_assert(offsetof(Record::MY_MOUSEINPUT, dx) == 0);
static_assert(offsetof(Record::MY_MOUSEINPUT, dy) == 4);
static_assert(offsetof(Record::MY_MOUSEINPUT, mouseData) == 8);
static_assert(offsetof(Record::MY_MOUSEINPUT, dwFlags) == 12);
static_assert(offsetof(Record::MY_MOUSEINPUT, time) == 16);
static_assert(sizeof(void*) != 8 || offsetof(Record::MY_MOUSEINPUT, dwExtraInfo) == 24);
static_assert(sizeof(void*) != 8 || sizeof(Record::MY_MOUSEINPUT) == 32);
static_assert(offsetof(Record::MY_HARDWAREINPUT, uMsg) == 0);
static_assert(offsetof(Record::MY_HARDWAREINPUT, wParamL) == 4);
static_assert(offsetof(Record::MY_HARDWAREINPUT, wParamH) == 6);
static_assert(sizeof(Record::MY_HARDWAREINPUT) == 8);

}  // namespace

KeyPressSimulator::KeyPressSimulator(const std::wstring& input, bool fromConfig, const std::wstring& logArea)
    : mInputArray(nullptr), mInputCount(0), mLogArea(logArea) {
  KPS_Status status;
  if (fromConfig) {
    mConfigKey = input;
    status = GetInputArray(&mInputArray, &mInputCount);
    if (status != KPS_OK) LogKeyPressValue(mLogArea, kLevelError, __LINE__, kNoConfiguredArray, status);
  } else {
    status = ParseInputString(input, &mInputArray, &mInputCount);
    if (status != KPS_OK) LogKeyPressValue(mLogArea, kLevelError, __LINE__, kNoParsedArray, status);
  }
  // A simulator made from a bad string is still usable: it sends nothing.
  if (status != KPS_OK) mInputCount = 0;
}

KeyPressSimulator::~KeyPressSimulator() { FreeInputArray(&mInputArray); }

KeyPressSimulator::KPS_Status KeyPressSimulator::DoSimulation() {
  if (mInputCount == 0) return KPS_OK;
  unsigned long error = 0;
  // Any insertion counts: callers have never been told about a partial one.
  if (SendKeyRecords(static_cast<unsigned int>(mInputCount), mInputArray, sizeof(MY_INPUT), error) != 0) {
    return KPS_OK;
  }
  LogKeyPressValue(mLogArea, kLevelError, __LINE__, kSendFailed, static_cast<long>(error));
  return KPS_SEND_FAILED;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::ValidateInputString(const std::wstring& input,
                                                                     const std::wstring& logArea) {
  KeyPressSimulator checker(L"", /*fromConfig=*/false, logArea);
  std::vector<MY_INPUT> discarded;
  // Callers only ever see these two answers: the parser's internal codes are not theirs.
  return checker.ParseInputString(input, discarded) == KPS_OK ? KPS_OK : KPS_INVALID_FORMAT;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::GetInputString(std::wstring& input) {
  std::wstring value;
  Config* config = Config::GetInstance(/*logging=*/true, /*writable=*/false);
  // A missing key is not an error: it means no keystrokes.
  if (config == nullptr || config->GetParameter(mConfigKey, value) != CFG_SUCCESS) value.clear();
  input = value;
  return KPS_OK;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::ParseInputString(const std::wstring& input, MY_INPUT** array,
                                                                  int* count) {
  std::vector<MY_INPUT> inputs;
  const KPS_Status status = ParseInputString(input, inputs);
  if (status != KPS_OK) {
    LogKeyPressValue(mLogArea, kLevelError, __LINE__, kArrayParseFailed, status);
    return status;
  }
  // Also for no records: the array then exists and is empty. The caller logs a failure.
  *array = static_cast<MY_INPUT*>(std::malloc(inputs.size() * sizeof(MY_INPUT)));
  if (*array == nullptr) return KPS_OUT_OF_MEMORY;
  if (!inputs.empty()) std::memcpy(*array, inputs.data(), inputs.size() * sizeof(MY_INPUT));
  *count = static_cast<int>(inputs.size());
  return KPS_OK;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::GetInputArray(MY_INPUT** array, int* count) {
  std::wstring input;
  GetInputString(input);
  const KPS_Status status = ParseInputString(input, array, count);
  if (status != KPS_OK) LogKeyPressValue(mLogArea, kLevelError, __LINE__, kConfiguredParseFailed, status);
  return status;
}

KeyPressSimulator::KPS_Status KeyPressSimulator::FreeInputArray(MY_INPUT** array) {
  std::free(*array);
  *array = nullptr;
  return KPS_OK;
}

}  // namespace Tavro_KVO_Util

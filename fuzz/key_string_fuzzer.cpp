// libFuzzer target: any bytes as a key press string (read as UTF-8, a byte that is not part of a
// valid sequence standing for the character of its own code), checked by ValidateInputString and
// turned into a simulator whose records and send are checked against what the syntax promises.
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "fuzz_check.h"
#include "keypress/key_press_records.h"
#include "keypress/keyboard_access.h"
#include "platform/us_scan_codes.h"

namespace {

using Tavro_KVO_Util::KeyPressRecords;
using Tavro_KVO_Util::KeyPressSimulator;
using Record = KeyPressSimulator::MY_INPUT;

constexpr wchar_t kArea[] = L"KeyFuzz";

// The simulator logs every refusal through the Logger. With a configuration file of its own the
// logger answers "not loggable" at once (threshold FATAL); without one it would wait out the
// file-open retries on every input. One directory per process, removed at exit.
class PrivateInstallDir {
 public:
  static void Use() { static PrivateInstallDir dir; }

 private:
  PrivateInstallDir() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/keys-fuzz-XXXXXX";
    FUZZ_CHECK(::mkdtemp(pattern.data()) != nullptr);
    mRoot = pattern;
    std::filesystem::create_directories(mRoot / "Bin");
    std::ofstream(mRoot / "Bin" / "TavroMedivane.cfg", std::ios::binary)
        << "/Tavro/MedivaneSDK/Logging/DefaultLevel=FATAL\r\n"
        << "/Tavro/MedivaneSDK/Logging/DebugAreas=\r\n"
        << "/Tavro/MedivaneSDK/Logging/WriteErrorsToEventLog=false\r\n"
        << "/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n"
        << "/Tavro/MedivaneSDK/Logging/LogFileLocation=" << (mRoot / "logs").string() << "\r\n";
    FUZZ_CHECK(::setenv("KVO_INSTALL_DIR", mRoot.c_str(), 1) == 0);
  }
  ~PrivateInstallDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mRoot, ignored);
  }

  std::filesystem::path mRoot;
};

// Lenient UTF-8: a valid sequence gives its code point, any other byte the character of its code.
std::wstring ToWide(const std::uint8_t* data, std::size_t size) {
  std::wstring text;
  for (std::size_t at = 0; at < size;) {
    const std::uint8_t lead = data[at];
    const int length = lead < 0x80           ? 1
                       : (lead >> 5) == 0x6  ? 2
                       : (lead >> 4) == 0xE  ? 3
                       : (lead >> 3) == 0x1E ? 4
                                             : 0;
    char32_t code = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
    bool valid = length > 0 && at + static_cast<std::size_t>(length) <= size;
    for (int i = 1; valid && i < length; ++i) {
      valid = (data[at + i] & 0xC0) == 0x80;
      code = (code << 6) | (data[at + i] & 0x3F);
    }
    if (valid && (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))) valid = false;
    if (!valid) {
      text.push_back(static_cast<wchar_t>(lead));
      ++at;
      continue;
    }
    text.push_back(static_cast<wchar_t>(code));
    at += static_cast<std::size_t>(length);
  }
  return text;
}

bool AllZero(const void* bytes, std::size_t size) {
  const auto* p = static_cast<const unsigned char*>(bytes);
  for (std::size_t i = 0; i < size; ++i) {
    if (p[i] != 0) return false;
  }
  return true;
}

// One keyboard record as the simulator makes them: every field but the code and scan code fixed,
// and the rest of the union zero.
void CheckRecord(const Record& record) {
  FUZZ_CHECK(record.type == 1);
  FUZZ_CHECK(record.ki.dwFlags == 0 || record.ki.dwFlags == 2);
  FUZZ_CHECK(record.ki.time == 0 && record.ki.dwExtraInfo == 0);
  // The union's bytes past the keyboard record (the mouse record is longer) are zero too.
  const auto* ki = reinterpret_cast<const unsigned char*>(&record.ki);
  FUZZ_CHECK(AllZero(ki + sizeof record.ki, sizeof record.mi - sizeof record.ki));
  const unsigned int code = record.ki.wVk;
  FUZZ_CHECK(record.ki.wScan == (code < 256 ? Tavro_KVO_Util::platform::kUsScanCodes[code] : 0));
}

// Each group is its downs then its ups, the same keys in the same order.
void CheckGroups(const std::vector<Record>& records) {
  FUZZ_CHECK(records.size() % 2 == 0);
  std::size_t at = 0;
  while (at < records.size()) {
    std::size_t downs = 0;
    while (at + downs < records.size() && records[at + downs].ki.dwFlags == 0) ++downs;
    FUZZ_CHECK(downs > 0 && at + 2 * downs <= records.size());
    for (std::size_t i = 0; i < downs; ++i) {
      const Record& up = records[at + downs + i];
      FUZZ_CHECK(up.ki.dwFlags == 2 && up.ki.wVk == records[at + i].ki.wVk);
    }
    at += 2 * downs;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  PrivateInstallDir::Use();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring input = ToWide(data, size);

  const KeyPressSimulator::KPS_Status verdict = KeyPressSimulator::ValidateInputString(input, kArea);
  FUZZ_CHECK(verdict == KeyPressSimulator::KPS_OK || verdict == KeyPressSimulator::KPS_INVALID_FORMAT);

  Tavro_KVO_Util::internal::KeyboardRecorderForTesting keyboard;
  KeyPressSimulator simulator(input, /*fromConfig=*/false, kArea);
  const std::vector<Record> records = KeyPressRecords::Of(simulator);
  FUZZ_CHECK(static_cast<int>(records.size()) == KeyPressRecords::Count(simulator));
  for (const Record& record : records) CheckRecord(record);
  CheckGroups(records);
  // A valid string gives records exactly when it is not empty; an invalid one gives none.
  if (verdict == KeyPressSimulator::KPS_OK) {
    FUZZ_CHECK(records.empty() == input.empty());
  } else {
    FUZZ_CHECK(records.empty());
  }

  FUZZ_CHECK(simulator.DoSimulation() == KeyPressSimulator::KPS_OK);
  const auto sends = keyboard.Sends();
  if (records.empty()) {
    FUZZ_CHECK(sends.empty());
  } else {
    FUZZ_CHECK(sends.size() == 1 && sends[0].count == records.size() &&
               sends[0].recordSize == static_cast<int>(sizeof(Record)));
    FUZZ_CHECK(std::memcmp(sends[0].records.data(), records.data(), records.size() * sizeof(Record)) == 0);
  }
  return 0;
}

// White-box access to KeyPressSimulator: each parsing step on its own, the records it prepared,
// and a fixture whose log is read back as "<level letter> <area> <message>[;DATA#<data>]".
#ifndef TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_TEST_PEER_H
#define TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_TEST_PEER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "keypress/key_press_records.h"
#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {

using KPS = KeyPressSimulator;
using Record = KeyPressSimulator::MY_INPUT;

class KeyPressSimulatorTestPeer {
 public:
  static KPS::KPS_Status Element(KPS& s, const std::wstring& input, std::wstring& element, int position,
                                 int* last) {
    return s.GetInputStringElement(input, element, position, last);
  }
  static KPS::KPS_Status Group(KPS& s, const std::wstring& input, std::vector<std::wstring>& elements,
                               int position, int* last) {
    return s.GetInputStringElementVector(input, elements, position, last);
  }
  static KPS::KPS_Status Parse(KPS& s, const std::wstring& input, std::vector<Record>& inputs) {
    return s.ParseInputString(input, inputs);
  }
  static KPS::KPS_Status Code(KPS& s, const std::wstring& element, unsigned short* code) {
    return s.GetVirtKeyCode(element, code);
  }
  static KPS::KPS_Status ToInput(KPS& s, const std::vector<std::wstring>& elements,
                                 std::vector<Record>& inputs) {
    return s.ElementsToInput(elements, inputs);
  }
  static const std::wstring& ConfigKey(const KPS& s) { return s.mConfigKey; }
  static const std::wstring& LogArea(const KPS& s) { return s.mLogArea; }
  static const Record* Array(const KPS& s) { return s.mInputArray; }
};

namespace testing {

// The debug area every simulator of these tests logs in.
inline constexpr wchar_t kArea[] = L"KeyTest";

// One keyboard record as the simulator must make it: type 1, time 0, no extra information, and
// every other byte zero.
inline Record KeyRecord(unsigned short code, unsigned short scanCode, bool up) {
  Record record;
  std::memset(&record, 0, sizeof record);
  record.type = 1;
  record.ki.wVk = code;
  record.ki.wScan = scanCode;
  record.ki.dwFlags = up ? 2u : 0u;
  return record;
}
inline Record Down(unsigned short code, unsigned short scanCode) { return KeyRecord(code, scanCode, false); }
inline Record Up(unsigned short code, unsigned short scanCode) { return KeyRecord(code, scanCode, true); }

// Every field, and the bytes of the union past the keyboard record (the mouse record is longer),
// which the system reads as part of the union.
inline bool SameBytes(const Record& a, const Record& b) {
  const auto tail = [](const Record& r) {
    return reinterpret_cast<const unsigned char*>(&r.ki) + sizeof r.ki;
  };
  return a.type == b.type && a.ki.wVk == b.ki.wVk && a.ki.wScan == b.ki.wScan &&
         a.ki.dwFlags == b.ki.dwFlags && a.ki.time == b.ki.time && a.ki.dwExtraInfo == b.ki.dwExtraInfo &&
         std::memcmp(tail(a), tail(b), sizeof a.mi - sizeof a.ki) == 0;
}

inline std::string Describe(const Record& r) {
  return "{type " + std::to_string(r.type) + ", vk " + std::to_string(r.ki.wVk) + ", scan " +
         std::to_string(r.ki.wScan) + ", flags " + std::to_string(r.ki.dwFlags) + ", time " +
         std::to_string(r.ki.time) + ", extra " + std::to_string(r.ki.dwExtraInfo) + "}";
}

inline ::testing::AssertionResult SameRecords(const std::vector<Record>& actual,
                                              const std::vector<Record>& expected) {
  std::string a;
  std::string e;
  for (const Record& r : actual) a += Describe(r) + " ";
  for (const Record& r : expected) e += Describe(r) + " ";
  if (actual.size() != expected.size()) {
    return ::testing::AssertionFailure()
           << "got " << actual.size() << " records: " << a << "\nwanted " << expected.size() << ": " << e;
  }
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (!SameBytes(actual[i], expected[i])) {
      return ::testing::AssertionFailure() << "record " << i << " differs\ngot    " << a << "\nwanted " << e;
    }
  }
  return ::testing::AssertionSuccess();
}

// US-layout scan codes of the keys the tests use (what MapVirtualKeyW answers under Wine too).
inline constexpr unsigned short kScanA = 30;
inline constexpr unsigned short kScanB = 48;
inline constexpr unsigned short kScanD = 32;
inline constexpr unsigned short kScanZ = 44;
inline constexpr unsigned short kScan7 = 8;
inline constexpr unsigned short kScanShift = 42;
inline constexpr unsigned short kScanControl = 29;
inline constexpr unsigned short kScanAlt = 56;
inline constexpr unsigned short kScanAdd = 78;
inline constexpr unsigned short kScanEnter = 28;

// A test with its own configuration file and log (entries as "%L %A %m"), reading back only the
// entries of the simulator's area: the configuration store writes its own DEBUG lines as well.
class KeyPressTest : public LoggerTest {
 protected:
  void SetUp() override {
    LoggerTest::SetUp();
    WriteConfig();
  }

  // The logging settings of LoggerTest plus `lines` ("key=value") of the test's own.
  void WriteConfigWith(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const auto& [key, value] : Defaults())
      text += L"/Tavro/MedivaneSDK/Logging/" + key + L"=" + value + L"\r\n";
    for (const std::wstring& line : lines) text += line + L"\r\n";
    const auto file = mDir.path() / "Bin" / "TavroMedivane.cfg";
    WriteBytes(file, Utf16LeBytes(text));
    ShiftLastWrite(file, std::chrono::seconds(2) * (++mRewrites));
  }

  std::vector<std::wstring> KeyLines() const {
    const std::wstring marker = std::wstring(L" ") + kArea + L" ";
    std::vector<std::wstring> lines;
    for (const std::wstring& line : Lines()) {
      if (line.size() > marker.size() && line.compare(1, marker.size(), marker) == 0) lines.push_back(line);
    }
    return lines;
  }

  // The entries of the simulator's area written since the last call.
  std::vector<std::wstring> NewKeyLines() {
    std::vector<std::wstring> lines = KeyLines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(mSeen, lines.size())));
    mSeen += lines.size();
    return lines;
  }

  static std::wstring Error(const std::wstring& message, const std::wstring& data) {
    return std::wstring(L"E ") + kArea + L" " + message + L";DATA#" + data;
  }
  static std::wstring Warn(const std::wstring& message, const std::wstring& data) {
    return std::wstring(L"W ") + kArea + L" " + message + L";DATA#" + data;
  }

  static std::vector<Record> RecordsOf(const KPS& simulator) { return KeyPressRecords::Of(simulator); }

  std::size_t mSeen = 0;
};

}  // namespace testing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_TEST_PEER_H

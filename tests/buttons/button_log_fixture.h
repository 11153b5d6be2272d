// A button-registry test that reads what the real logger wrote: a private configuration and log
// folder, entries formatted as "<level letter> <area> <message>".
#ifndef TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_LOG_FIXTURE_H
#define TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_LOG_FIXTURE_H

#include <string>
#include <vector>

#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util::testing {

class ButtonLogTest : public LoggerTest {
 protected:
  void SetUp() override {
    LoggerTest::SetUp();
    WriteConfig({{L"FormatString", L"%L %A %m"}});
  }

  // The log line of an ERROR in area "BN".
  static std::wstring ErrorLine(const std::wstring& message) { return L"E BN " + message; }
  static std::vector<std::wstring> ErrorLines(const std::wstring& message) { return {ErrorLine(message)}; }
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_BUTTONS_BUTTON_LOG_FIXTURE_H

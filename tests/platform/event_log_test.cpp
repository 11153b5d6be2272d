#include "platform/event_log.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/process_info.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
// <windows.h> turns ReportEvent into ReportEventW; the tests call the library's ReportEvent.
#undef ReportEvent
#endif

namespace Tavro_KVO_Util::platform {
namespace {

// A source of its own per test run, so that no real source's registration is touched.
std::wstring TestSource() { return L"TavroMedivaneUtil Test " + std::to_wstring(CurrentProcessId()); }

#ifdef _WIN32

const std::wstring kSourcesKey = L"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\";

class EventLogRegistration : public ::testing::Test {
 protected:
  void SetUp() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, mKey.c_str()); }
  void TearDown() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, mKey.c_str()); }

  const std::wstring mSource = TestSource();
  const std::wstring mKey = kSourcesKey + mSource;
};

TEST_F(EventLogRegistration, ReportRegistersTheSourceWithTheModuleHoldingTheCode) {
  ASSERT_TRUE(ReportEvent(mSource, L"event log test: error", kEventError));

  // The test links the library's code into its own executable, so that is the message module.
  wchar_t program[MAX_PATH + 1] = {};
  ASSERT_NE(GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH), 0u);
  wchar_t messageFile[1024] = {};
  DWORD size = sizeof messageFile;
  ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, mKey.c_str(), L"EventMessageFile", RRF_RT_REG_SZ,
                         /*pdwType=*/nullptr, messageFile, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(messageFile), std::wstring(program));

  DWORD types = 0;
  size = sizeof types;
  ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, mKey.c_str(), L"TypesSupported", RRF_RT_REG_DWORD,
                         /*pdwType=*/nullptr, &types, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(types, 31u);
}

TEST_F(EventLogRegistration, EveryEventTypeIsReported) {
  EXPECT_TRUE(ReportEvent(mSource, L"event log test: warning", kEventWarning));
  EXPECT_TRUE(ReportEvent(mSource, L"event log test: information", kEventInformation));
}

#else

// Linux: syslog gives no result and, without a syslog daemon (as in a build container), the record
// cannot be read back; the call can only be made and its documented result checked.
TEST(EventLog, ReportGoesToSyslogAndSucceeds) {
  EXPECT_TRUE(ReportEvent(TestSource(), L"event log test: error", kEventError));
  EXPECT_TRUE(ReportEvent(TestSource(), L"event log test: warning", kEventWarning));
  EXPECT_TRUE(ReportEvent(TestSource(), L"event log test: information", kEventInformation));
}

#endif

}  // namespace
}  // namespace Tavro_KVO_Util::platform

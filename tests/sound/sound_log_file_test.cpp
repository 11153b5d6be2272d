// SoundEvent's messages as they reach a real log: through the Logger, the shared configuration and
// the log file, with no recorder in between. A private configuration keeps only errors and writes
// level, area and message, so the file's lines can be compared whole.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SoundEvent.h"
#include "support/environment.h"
#include "support/log_lines.h"
#include "support/private_install_dir.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

TEST(SoundLogFile, UnregisteringAMissingSchemeIsWrittenToTheLogFileAsItsExactLine) {
#ifndef _WIN32
  const testing::TempDir configHome;  // the Linux scheme store, private to the test
  const testing::ScopedEnvironmentVariable xdg("XDG_CONFIG_HOME", configHome.path().string());
#endif
  const testing::PrivateInstallDir install(
      L"/Tavro/MedivaneSDK/Logging/DefaultLevel=ERROR\r\n/Tavro/MedivaneSDK/Logging/FormatString=%L %A "
      L"%m\r\n");
  SoundEvent::Register();
  SoundEvent::Unregister();
  SoundEvent::Unregister();  // nothing left to remove
  EXPECT_EQ(testing::ReadLogLines(install.LogFile()),
            std::vector<std::wstring>{L"E SoundEvent SoundEvent::DeleteKeyRecursive: Unable to open registry "
                                      L"key=AppEvents\\Schemes\\Apps\\Tavro Korvina err=2"});
}

}  // namespace
}  // namespace Tavro_KVO_Util

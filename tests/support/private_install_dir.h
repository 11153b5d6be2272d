// A private configuration and log for a test program, so that a logged entry never waits on a
// missing configuration file nor lands in the working directory: KVO_INSTALL_DIR names a
// throwaway folder whose Bin\TavroMedivane.cfg sends the log to a folder of its own.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_INSTALL_DIR_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_INSTALL_DIR_H

#include <filesystem>
#include <string>

#include "support/config_file.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::testing {

class PrivateInstallDir {
 public:
  // `moreSettings`: further "key=value\r\n" lines for the configuration file.
  explicit PrivateInstallDir(const std::wstring& moreSettings = L"") {
    std::filesystem::create_directories(mDir.path() / "Bin");
    const std::wstring logs = (mDir.path() / "logs").wstring();
    WriteBytes(mDir.path() / "Bin" / "TavroMedivane.cfg",
               Utf16LeBytes(L"/Tavro/MedivaneSDK/Logging/LogFileLocation=" + logs +
                            L"\r\n/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n" + moreSettings));
  }

  const std::filesystem::path& path() const { return mDir.path(); }
  // The log file the configuration names (the default file name in the private folder).
  std::filesystem::path LogFile() const { return mDir.path() / "logs" / "KVO.log"; }

 private:
  TempDir mDir;
  ScopedEnvironmentVariable mInstallDir{"KVO_INSTALL_DIR", mDir.path().string()};
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_INSTALL_DIR_H

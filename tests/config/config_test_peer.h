// White-box access to a Config's line records and paths, and a fixture with a private file.
#ifndef TAVROMEDIVANEUTIL_TESTS_CONFIG_CONFIG_TEST_PEER_H
#define TAVROMEDIVANEUTIL_TESTS_CONFIG_CONFIG_TEST_PEER_H

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Config.h"
#include "support/config_file.h"
#include "support/file_times.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {

class ConfigTestPeer {
 public:
  static const std::vector<ConfigLine>& Lines(const Config& config) { return config.mUnorderedList; }
  static const std::map<std::wstring, std::wstring>& Map(const Config& config) { return config.mConfigMap; }
  static std::wstring File(const Config& config) { return config.mConfigFile; }
  static std::wstring Directory(const Config& config) { return config.mConfigDir; }
  static bool ForceParse(const Config& config) { return config.mForceParse; }
  static std::wstring Stamp(const Config& config) { return config.mFileTime.timeString; }
};

namespace testing {

// A test with its own directory and configuration file.
class ConfigFileTest : public ::testing::Test {
 protected:
  std::filesystem::path File() const { return mDir.path() / "TavroMedivane.cfg"; }
  std::wstring FileName() const { return WidePath(File()); }

  void WriteAnsi(const std::wstring& text) const { WriteBytes(File(), AnsiBytes(text)); }
  void WriteUtf16Le(const std::wstring& text) const { WriteBytes(File(), Utf16LeBytes(text)); }
  std::string FileBytes() const { return ReadBytes(File()); }

  std::unique_ptr<Config> Open(bool logging = true, bool writable = false) const {
    return std::make_unique<Config>(FileName().c_str(), logging, writable);
  }

  // Moves the file's last-write time by `delta` without touching its contents.
  void ShiftLastWrite(std::chrono::milliseconds delta) const { testing::ShiftLastWrite(File(), delta); }

  // Keeps the whole seconds of the last-write time and sets its milliseconds.
  void SetLastWriteMilliseconds(int milliseconds) const {
    testing::SetLastWriteMilliseconds(File(), milliseconds);
  }

  const TempDir& Dir() const { return mDir; }

 private:
  TempDir mDir;
};

// (type, key, value) of each record, for compact comparisons.
inline std::vector<std::tuple<int, std::wstring, std::wstring>> Records(const Config& config) {
  std::vector<std::tuple<int, std::wstring, std::wstring>> records;
  for (const auto& line : ConfigTestPeer::Lines(config))
    records.emplace_back(line.type, line.key, line.value);
  return records;
}

}  // namespace testing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_TESTS_CONFIG_CONFIG_TEST_PEER_H

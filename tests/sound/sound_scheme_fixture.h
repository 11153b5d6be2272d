// A clean sound scheme for each test, read and changed the way another program would: through the
// store's own calls, not through SoundEvent.
//
// Windows: the registry of the test's Wine prefix; both nodes are deleted before and after each
// test (ctest runs the programs that touch them one at a time). Linux: XDG_CONFIG_HOME names a
// throwaway folder, so each test has a store of its own.
#ifndef TAVROMEDIVANEUTIL_TESTS_SOUND_SOUND_SCHEME_FIXTURE_H
#define TAVROMEDIVANEUTIL_TESTS_SOUND_SOUND_SCHEME_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

#include "logging/library_log.h"
#include "platform/sound_scheme.h"
#include "sound/sound_playback.h"
#include "sound/sound_scheme_keys.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::testing {

#ifdef _WIN32
inline constexpr char kInstallDir[] = "C:\\Tavro Install\\";
inline constexpr wchar_t kInstallDirW[] = L"C:\\Tavro Install\\";
#else
inline constexpr char kInstallDir[] = "/opt/tavro install/";
inline constexpr wchar_t kInstallDirW[] = L"/opt/tavro install/";
#endif

inline const std::wstring kNode = L"AppEvents\\Schemes\\Apps\\Tavro Korvina";
inline const std::wstring kObsoleteNode = L"AppEvents\\Schemes\\Apps\\Tavro Medivane SDK";

struct StoredValue {
  long status = -1;
  unsigned long type = 0;
  std::wstring text;
  bool operator==(const StoredValue& other) const {
    return status == other.status && type == other.type && text == other.text;
  }
};

inline std::ostream& operator<<(std::ostream& out, const StoredValue& value) {
  return out << "{status " << value.status << ", type " << value.type << ", \""
             << std::string(value.text.begin(), value.text.end()) << "\"}";
}

inline StoredValue Expandable(const std::wstring& text) { return {0, platform::kSchemeExpandString, text}; }
inline StoredValue Plain(const std::wstring& text) { return {0, platform::kSchemeString, text}; }

inline StoredValue ReadValue(const std::wstring& keyName) {
  StoredValue result;
  platform::SchemeKey key;
  result.status = platform::OpenSchemeKey(keyName, platform::kSchemeReadAccess, key);
  if (result.status == 0)
    result.status = platform::ReadSchemeDefaultValue(key, 4096, result.type, result.text);
  return result;
}

inline bool KeyExists(const std::wstring& keyName) {
  platform::SchemeKey key;
  return platform::OpenSchemeKey(keyName, platform::kSchemeReadAccess, key) == 0;
}

inline std::set<std::wstring> Subkeys(const std::wstring& keyName) {
  std::set<std::wstring> names;
  platform::SchemeKey key;
  if (platform::OpenSchemeKey(keyName, platform::kSchemeReadAccess, key) != 0) return names;
  std::wstring name;
  for (unsigned long index = 0; platform::EnumSchemeSubkey(key, index, 256, name) == 0; ++index)
    names.insert(name);
  return names;
}

// Writes a value as a user or another tool would.
inline void WriteValue(const std::wstring& keyName, unsigned long type, const std::wstring& text) {
  platform::SchemeKey key;
  ASSERT_EQ(platform::CreateSchemeKey(keyName, key), 0) << "creating a key for the test";
  ASSERT_EQ(platform::SetSchemeDefaultValue(key, type, text), 0) << "writing a value for the test";
}

inline void RemoveTree(const std::wstring& keyName) {
  internal::ReportRecorderForTesting quiet(/*keep=*/false);
  internal::DeleteSchemeKeyTree(keyName);
}

class SoundSchemeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RemoveTree(kNode);
    RemoveTree(kObsoleteNode);
  }
  void TearDown() override {
    RemoveTree(kNode);
    RemoveTree(kObsoleteNode);
  }

  // Reports and play requests of the test only.
  std::vector<std::wstring> Messages() const { return mReports.Messages(); }

#ifndef _WIN32
  TempDir mConfigHome;
  ScopedEnvironmentVariable mXdg{"XDG_CONFIG_HOME", mConfigHome.path().string()};
#endif
  ScopedEnvironmentVariable mInstall{"KVO_INSTALL_DIR", std::string(kInstallDir)};
  internal::ReportRecorderForTesting mReports;
  internal::PlayRecorderForTesting mPlays;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SOUND_SOUND_SCHEME_FIXTURE_H

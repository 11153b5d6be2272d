// Where the store looks for its file. Linked against the shared library, so that the fallback
// finds the real library's folder.
#include <gtest/gtest.h>

#include "Config.h"
#include "Crc32.h"
#include "config/config_test_peer.h"
#include "support/environment.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <link.h>
#endif

namespace Tavro_KVO_Util {
namespace {

using testing::ScopedEnvironmentVariable;
using testing::TempDir;

#ifdef _WIN32
constexpr wchar_t kSeparator = L'\\';
std::wstring LibraryFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(GetModuleHandleW(L"TavroMedivaneUtil.dll"), path, MAX_PATH);
  std::wstring folder = path;
  return folder.substr(0, folder.rfind(L'\\') + 1);
}
#else
constexpr wchar_t kSeparator = L'/';
// The folder of the loaded libTavroMedivaneUtil.so. (dladdr on one of its data symbols would name
// this program: the linker copies such data into the executable.)
std::wstring LibraryFolder() {
  std::string found;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* result) {
        const std::string name = info->dlpi_name ? info->dlpi_name : "";
        if (name.find("libTavroMedivaneUtil.so") == std::string::npos) return 0;
        *static_cast<std::string*>(result) = name;
        return 1;
      },
      &found);
  if (found.empty()) return std::wstring();
  return std::filesystem::path(found).parent_path().wstring() + L"/";
}
#endif

TEST(ConfigDefaultPath, InstallDirectoryVariableGivesItsBinFolder) {
  TempDir dir;
  std::filesystem::create_directories(dir.path() / "Bin");
  testing::WriteBytes(dir.path() / "Bin" / "TavroMedivane.cfg", "k=from install dir");
  ScopedEnvironmentVariable installDir("KVO_INSTALL_DIR", dir.path().string());
  Config config(/*logging=*/false, /*writable=*/false);
  const std::wstring expectedDirectory = dir.path().wstring() + kSeparator + L"Bin" + kSeparator;
  EXPECT_EQ(ConfigTestPeer::Directory(config), expectedDirectory);
  EXPECT_EQ(ConfigTestPeer::File(config), expectedDirectory + L"TavroMedivane.cfg");
  std::wstring value;
  EXPECT_EQ(config.GetParameter(L"k", value), CFG_SUCCESS);
  EXPECT_EQ(value, L"from install dir");
}

TEST(ConfigDefaultPath, InstallDirectoryWithTrailingSeparatorGetsNoSecondOne) {
  TempDir dir;
  ScopedEnvironmentVariable installDir("KVO_INSTALL_DIR",
                                       dir.path().string() + static_cast<char>(kSeparator));
  Config config(false, false);
  EXPECT_EQ(ConfigTestPeer::Directory(config), dir.path().wstring() + kSeparator + L"Bin" + kSeparator);
}

TEST(ConfigDefaultPath, EmptyInstallDirectoryGivesRelativeBinFolder) {
  ScopedEnvironmentVariable installDir("KVO_INSTALL_DIR", std::string());
  Config config(false, false);
  const std::wstring expected = std::wstring(L"Bin") + kSeparator;
  EXPECT_EQ(ConfigTestPeer::Directory(config), expected);
  EXPECT_EQ(ConfigTestPeer::File(config), expected + L"TavroMedivane.cfg");
}

TEST(ConfigDefaultPath, WithoutInstallDirectoryTheLibraryFolderIsUsed) {
  ScopedEnvironmentVariable installDir("KVO_INSTALL_DIR", std::nullopt);
  const std::wstring folder = LibraryFolder();
  ASSERT_FALSE(folder.empty());
  const std::filesystem::path file = std::filesystem::path(folder) / "TavroMedivane.cfg";
  testing::WriteBytes(file, "/Test/BesideTheLibrary=yes");
  Config config(false, false);
  std::wstring value;
  const CFGStatus status = config.GetParameter(L"/Test/BesideTheLibrary", value);
  std::filesystem::remove(file);
  EXPECT_EQ(ConfigTestPeer::Directory(config), folder);
  EXPECT_EQ(ConfigTestPeer::File(config), folder + L"TavroMedivane.cfg");
  EXPECT_EQ(status, CFG_SUCCESS);
  EXPECT_EQ(value, L"yes");
}

}  // namespace
}  // namespace Tavro_KVO_Util

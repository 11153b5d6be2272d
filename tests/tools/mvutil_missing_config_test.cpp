// mvutil warns once when the shared configuration file is missing, because every log call then
// waits for it; with a file, or with a verb that does not read it, nothing is said.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

#include "command.h"
#include "config_location.h"
#include "run_tool.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/temp_dir.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <link.h>
#endif

namespace mvutil {
namespace {

using Tavro_KVO_Util::testing::ScopedEnvironmentVariable;
using Tavro_KVO_Util::testing::TempDir;
namespace support = Tavro_KVO_Util::testing;

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::string Warning(const std::filesystem::path& file) {
  return "mvutil: warning: no configuration file at " + file.u8string() +
         "; every log call waits at least 1 s for it\n";
}

#ifdef _WIN32
constexpr char kSeparator = '\\';
std::filesystem::path LoadedLibraryFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(GetModuleHandleW(L"TavroMedivaneUtil.dll"), path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}
#else
constexpr char kSeparator = '/';
std::filesystem::path LoadedLibraryFolder() {
  std::string found;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* result) {
        const std::string name = info->dlpi_name ? info->dlpi_name : "";
        if (name.find("libTavroMedivaneUtil.so") == std::string::npos) return 0;
        *static_cast<std::string*>(result) = name;
        return 1;
      },
      &found);
  return std::filesystem::path(found).parent_path();
}
#endif

// KVO_INSTALL_DIR points at a folder of the test's own, with or without Bin/TavroMedivane.cfg.
class MvutilMissingConfig : public ::testing::Test {
 protected:
  std::filesystem::path DefaultFile() const { return mDir.path() / "Bin" / "TavroMedivane.cfg"; }

  void WriteDefaultFile() const {
    std::filesystem::create_directories(mDir.path() / "Bin");
    support::WriteBytes(DefaultFile(), "/Tavro/Ward=North\r\n");
  }

  TempDir mDir;
  ScopedEnvironmentVariable mInstallDir{"KVO_INSTALL_DIR", mDir.path().string()};
};

TEST_F(MvutilMissingConfig, DefaultFileIsTheBinFolderOfTheInstallDirectory) {
  EXPECT_EQ(DefaultConfigFile(), DefaultFile().wstring());
}

TEST(MvutilConfigLocation, WithoutInstallDirectoryTheDefaultFileIsBesideTheLibrary) {
  const ScopedEnvironmentVariable unset("KVO_INSTALL_DIR", std::nullopt);
  EXPECT_EQ(DefaultConfigFile(), (LoadedLibraryFolder() / "TavroMedivane.cfg").wstring());
}

TEST(MvutilConfigLocation, EmptyInstallDirectoryLooksInBinOfTheWorkingDirectoryAndNamesItInFull) {
  const ScopedEnvironmentVariable empty("KVO_INSTALL_DIR", std::string());
  const std::wstring relative =
      std::wstring(L"Bin") + static_cast<wchar_t>(kSeparator) + L"TavroMedivane.cfg";
  EXPECT_EQ(DefaultConfigFile(), relative);
  if (std::filesystem::exists(relative)) GTEST_SKIP() << "the working directory has a Bin/TavroMedivane.cfg";
  std::ostringstream err;
  EXPECT_TRUE(WarnIfConfigMissing(relative, err));
  EXPECT_EQ(err.str(), Warning(std::filesystem::absolute(relative)));
}

TEST_F(MvutilMissingConfig, ConfigVerbWarnsOnceNamingTheFileThenFails) {
  const Result result = RunTool({"config", "get", "/Tavro/Ward"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            Warning(DefaultFile()) + "mvutil config: the default configuration file: cannot open the file\n");
  EXPECT_EQ(Count(result.err, "warning"), 1u);
}

TEST_F(MvutilMissingConfig, TailWarnsOnceAndStillReadsTheLogWithTheDefaults) {
  TempDir work;
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(work.path());
  const std::filesystem::path log = std::filesystem::current_path() / "KVO.log";
  const Result result = RunTool({"tail"});
  std::filesystem::current_path(previous);
  EXPECT_EQ(result.code, 1);
  // Without settings the log is KVO.log in the working directory, which has none.
  EXPECT_EQ(result.err, Warning(DefaultFile()) + "mvutil tail: " + log.u8string() + ": no log file\n");
  EXPECT_EQ(Count(result.err, "warning"), 1u);
}

TEST_F(MvutilMissingConfig, ExistingFileGivesNoWarning) {
  WriteDefaultFile();
  const Result result = RunTool({"config", "get", "/Tavro/Ward"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "North\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilMissingConfig, ConfigVerbWithItsOwnFileDoesNotLookForTheDefault) {
  const auto own = mDir.WriteFile("own.cfg", "/Tavro/Ward=South\r\n");
  const Result result = RunTool({"config", "get", "/Tavro/Ward", "--file", own.u8string()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "South\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilMissingConfig, VerbsThatNeitherReadTheFileNorLogSayNothing) {
  const auto data = mDir.WriteFile("data.bin", "123456789");
  const Result crc = RunTool({"crc32", data.u8string()});
  EXPECT_EQ(crc.code, 0);
  EXPECT_EQ(crc.err, "");
  EXPECT_EQ(RunTool({"--version"}).err, "");
  EXPECT_EQ(RunTool({"log", "--help"}).err, "");
}

TEST(MvutilConfigLocation, OnlyTheVerbsThatReadTheFileOrLogWarn) {
  std::vector<std::string> warned;
  for (const Command& command : AllCommands()) {
    if (command.readsSharedConfig) warned.push_back(command.name);
  }
  // `config` warns for itself: with --file it reads another file.
  EXPECT_EQ(warned, (std::vector<std::string>{"log", "tail", "ship", "keys", "image", "sound"}));
}

}  // namespace
}  // namespace mvutil

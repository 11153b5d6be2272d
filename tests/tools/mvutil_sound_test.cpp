// mvutil sound, run in-process on the library's exports against the real store (the Wine prefix's
// registry; a throwaway XDG_CONFIG_HOME on Linux), with a private configuration for the log.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "platform/sound_scheme.h"
#include "run_tool.h"
#include "support/environment.h"
#include "support/private_install_dir.h"
#include "support/temp_dir.h"

namespace mvutil {
namespace {

namespace platform = Tavro_KVO_Util::platform;
const std::wstring kNode = L"AppEvents\\Schemes\\Apps\\Tavro Korvina";

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool NodeExists() {
  platform::SchemeKey key;
  return platform::OpenSchemeKey(kNode, platform::kSchemeReadAccess, key) == 0;
}

class MvutilSound : public ::testing::Test {
 protected:
  void SetUp() override { RunTool({"sound", "unregister"}); }
  void TearDown() override { RunTool({"sound", "unregister"}); }

  Tavro_KVO_Util::testing::PrivateInstallDir install;
#ifndef _WIN32
  Tavro_KVO_Util::testing::TempDir configHome;
  Tavro_KVO_Util::testing::ScopedEnvironmentVariable xdg{"XDG_CONFIG_HOME", configHome.path().string()};
  // No sound server: playing is logged and returns at once.
  Tavro_KVO_Util::testing::ScopedEnvironmentVariable pulse{"PULSE_SERVER",
                                                           std::string("unix:/nonexistent/tavro")};
#endif
};

TEST_F(MvutilSound, RegisterThenListShowsEveryEventWithItsCurrentValue) {
  const Result registered = RunTool({"sound", "register"});
  EXPECT_EQ(registered.code, kExitOk) << registered.err;
  EXPECT_EQ(registered.out,
            "registered 27 sound events under HKEY_CURRENT_USER\\AppEvents\\Schemes\\Apps\\Tavro Korvina\n");

  const Result listed = RunTool({"sound", "list"});
  EXPECT_EQ(listed.code, kExitOk);
  const std::vector<std::string> lines = Lines(listed.out);
  ASSERT_EQ(lines.size(), 27u);
  EXPECT_EQ(lines[0],
            " 0  .Default                      \"%KVO_INSTALL_DIR%Sounds\\Default.wav\" (REG_EXPAND_SZ)");
  EXPECT_EQ(
      lines[2],
      " 8  Rfid Tag found                \"%KVO_INSTALL_DIR%Sounds\\RfidTagFound.wav\" (REG_EXPAND_SZ)");
  EXPECT_EQ(lines[15],
            "15  Barcode Scan Stop Found       \"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopNotFound.wav\" "
            "(REG_EXPAND_SZ)");
  EXPECT_EQ(lines[17], "17  Barcode Wait Success          \"\" (REG_EXPAND_SZ)");
  EXPECT_EQ(lines[26],
            "26  Inappropriate Button Click    \"%KVO_INSTALL_DIR%Sounds\\ButtonClickInappropriate.wav\" "
            "(REG_EXPAND_SZ)");
}

TEST_F(MvutilSound, ListBeforeRegisterSaysSo) {
  const std::vector<std::string> lines = Lines(RunTool({"sound", "list"}).out);
  ASSERT_EQ(lines.size(), 27u);
  EXPECT_EQ(lines[1], " 1  Error                         (not registered)");
}

TEST_F(MvutilSound, UnregisterRemovesTheNodeAndSaysWhenThereWasNone) {
  EXPECT_EQ(RunTool({"sound", "register"}).code, kExitOk);
  const Result removed = RunTool({"sound", "unregister"});
  EXPECT_EQ(removed.code, kExitOk);
  EXPECT_EQ(removed.out, "removed the sound events\n");
  EXPECT_FALSE(NodeExists());
  const Result again = RunTool({"sound", "unregister"});
  EXPECT_EQ(again.code, kExitOk);
  EXPECT_EQ(again.out, "nothing to remove: no sound events are registered\n");
}

TEST_F(MvutilSound, PlayByNameOrNumberRepairsTheSchemeAndReturns) {
  EXPECT_FALSE(NodeExists());
  const Result byName = RunTool({"sound", "play", "Barcode Scan Stop Found", "--wait", "0"});
  EXPECT_EQ(byName.code, kExitOk) << byName.err;
  EXPECT_TRUE(NodeExists()) << "the first play registers the scheme";
  EXPECT_EQ(RunTool({"sound", "play", "27", "--no-interrupt", "--wait", "0"}).code, kExitOk);
  EXPECT_EQ(RunTool({"sound", "play", "-5", "--wait", "0"}).code, kExitOk);
}

TEST_F(MvutilSound, RefusesUnknownEventsAndBadCommandLines) {
  const Result unknown = RunTool({"sound", "play", "Barcode Scan Stop Not Found"});
  EXPECT_EQ(unknown.code, kExitFailure);
  EXPECT_EQ(unknown.err,
            "mvutil: unknown sound event 'Barcode Scan Stop Not Found'; 'mvutil sound list' shows them\n");
  EXPECT_EQ(RunTool({"sound", "play", "99999999999"}).code, kExitFailure);
  EXPECT_EQ(RunTool({"sound"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"sound", "play"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"sound", "list", "extra"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"sound", "play", "Error", "--wait", "soon"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"sound", "play", "Error", "--loud"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"sound", "shout"}).code, kExitUsage);
  EXPECT_FALSE(NodeExists()) << "nothing was done";
}

}  // namespace
}  // namespace mvutil

// SetParameter killed in the middle of its write: the process is killed after the file (or, with
// the safe profile, the new file beside it) has been emptied and before a byte of it is written.
//
// The child is this program started again (support/child_process.h); it finds the file through
// TAVRO_TEST_CONFIG_FILE, arms the platform's truncation hook (a seam that only this test uses),
// and when the hook runs it tells the parent, which kills it there.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "Config.h"
#include "config/config_test_peer.h"
#include "platform/process_info.h"
#include "platform/truncation_hook.h"
#include "support/child_process.h"
#include "support/environment.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ChildProcess;
using testing::ScopedEnvironmentVariable;
using testing::Utf16LeBytes;
using testing::WaitForFile;

constexpr char kFileVariable[] = "TAVRO_TEST_CONFIG_FILE";
constexpr int kChildBadArgument = 90;
constexpr int kChildNotKilled = 91;
#ifdef _WIN32
constexpr int kKilled = 137;  // the code TerminateProcess was given
#else
constexpr int kKilled = -1;  // killed by a signal
#endif

std::filesystem::path FileFromEnvironment() {
  const char* file = std::getenv(kFileVariable);
  return file != nullptr ? std::filesystem::path(file) : std::filesystem::path();
}

std::filesystem::path TruncatedSignal() {
  std::filesystem::path signal = FileFromEnvironment();
  signal += ".truncated";
  return signal;
}

// Runs between the emptying and the write: tells the parent, then waits to be killed.
void SignalAndWait() {
  std::ofstream(TruncatedSignal()) << "1";
  std::this_thread::sleep_for(std::chrono::seconds(60));
}

// "set": changes one key of the file, with the hook armed.
int SetOneKey(const std::string& argument) {
  if (argument != "set") return kChildBadArgument;
  platform::SetAfterTruncationHookForTesting(SignalAndWait);
  Config config(FileFromEnvironment().wstring().c_str(), /*logging=*/false, /*writable=*/true);
  config.SetParameter(L"/Ward/Bed", L"12");
  return kChildNotKilled;
}

class ConfigWriteCrash : public testing::ConfigFileTest {
 protected:
  // Starts the child, waits until it is between the emptying and the write, and kills it there.
  void KillInTheMiddleOfSetParameter() {
    const ScopedEnvironmentVariable file(kFileVariable, File().string());
    ChildProcess child("set");
    ASSERT_TRUE(WaitForFile(TruncatedSignal()));
    child.Kill();
    EXPECT_EQ(child.WaitForExit(), kKilled);
  }
  std::filesystem::path TruncatedSignal() const {
    std::filesystem::path signal = File();
    signal += ".truncated";
    return signal;
  }
  std::filesystem::path Temporary(unsigned long process) const {
    std::filesystem::path temporary = File();
    temporary += "." + std::to_string(process) + ".tmp";
    return temporary;
  }

  const std::wstring mText = L"// ward settings\r\n/Ward/Bed=7\r\n/Ward/Name=East";
};

TEST_F(ConfigWriteCrash, SafeProfileOffAKillAfterTheTruncationLeavesTheFileEmpty) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  WriteUtf16Le(mText);
  KillInTheMiddleOfSetParameter();
  EXPECT_EQ(FileBytes(), "") << "the kept in-place write empties the file first";
}

TEST_F(ConfigWriteCrash, SafeProfileOnAKillAtTheSameMomentLeavesTheFileWhole) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteUtf16Le(mText);
  KillInTheMiddleOfSetParameter();
  EXPECT_EQ(FileBytes(), Utf16LeBytes(mText)) << "the old file stays until the new one is complete";
  // What the killed process left: its empty temporary file beside the configuration, which the
  // next write of the same process id would replace.
  std::size_t leftovers = 0;
  for (const auto& entry : std::filesystem::directory_iterator(File().parent_path())) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("TavroMedivane.cfg.", 0) == 0 && name.size() > 4 &&
        name.substr(name.size() - 4) == ".tmp") {
      ++leftovers;
      EXPECT_EQ(std::filesystem::file_size(entry.path()), 0u);
    }
  }
  EXPECT_EQ(leftovers, 1u);
}

TEST_F(ConfigWriteCrash, SafeProfileOnFromTheFileAKillLeavesTheFileWhole) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  const std::wstring text = L"/Tavro/MedivaneSDK/SafeProfile=true\r\n" + mText;
  WriteUtf16Le(text);
  KillInTheMiddleOfSetParameter();
  EXPECT_EQ(FileBytes(), Utf16LeBytes(text));
}

// Without a crash, the safe write gives the same bytes as the in-place one, leaves no temporary
// file, and the change is seen by another instance (a new last-write time).
TEST_F(ConfigWriteCrash, SafeProfileOnTheWrittenBytesCommentsAndOrderAreTheSameAsOff) {
  std::string written[2];
  for (int safe = 0; safe < 2; ++safe) {
    const ScopedEnvironmentVariable profile("KVO_SAFE_PROFILE",
                                            safe == 1 ? std::optional<std::string>("1") : std::nullopt);
    WriteAnsi(L"// header\r\n  a = 1 // old\r\nb=2\r\n");
    ShiftLastWrite(std::chrono::milliseconds(-5000));  // so that the rewrite has a time of its own
    const auto config = Open(/*logging=*/false, /*writable=*/true);
    const auto reader = Open(/*logging=*/false, /*writable=*/false);
    std::wstring value;
    ASSERT_EQ(reader->GetParameter(L"a", value), CFG_SUCCESS);
    EXPECT_EQ(config->SetParameter(L"a", L"new"), CFG_SUCCESS);
    written[safe] = FileBytes();
    EXPECT_EQ(reader->Reload(false), CFG_SUCCESS);
    EXPECT_TRUE(reader->WasReloaded()) << "another instance sees the file changed";
    EXPECT_EQ(reader->GetParameter(L"a", value), CFG_SUCCESS);
    EXPECT_EQ(value, L"new") << "another instance sees the change";
    EXPECT_FALSE(std::filesystem::exists(Temporary(platform::CurrentProcessId())));
  }
  EXPECT_EQ(written[0], Utf16LeBytes(L"// header\r\na=new\r\nb=2\r\n"));
  EXPECT_EQ(written[1], written[0]);
}

#ifndef _WIN32
// The new file takes the old one's place for everyone: a file only its group may write stays so.
TEST_F(ConfigWriteCrash, SafeProfileOnTheReplacedFileKeepsItsMode) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteAnsi(L"a=1");
  std::filesystem::permissions(File(), std::filesystem::perms(0660));
  EXPECT_EQ(Open(/*logging=*/false, /*writable=*/true)->SetParameter(L"a", L"2"), CFG_SUCCESS);
  EXPECT_EQ(FileBytes(), Utf16LeBytes(L"a=2"));
  EXPECT_EQ(std::filesystem::status(File()).permissions(), std::filesystem::perms(0660));
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util

int main(int argc, char** argv) {
  if (int code = 0; Tavro_KVO_Util::testing::RunAsChildIfAsked(argc, argv, Tavro_KVO_Util::SetOneKey, code)) {
    return code;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

// The Linux sound player, driven directly, where no sound server can be reached. Playback itself
// needs a server (a PulseAudio null sink); the sound subsystem's tests cover it.
//
// The player keeps one libcanberra context per process, so each scenario that reaches libcanberra
// runs in a child process of its own (started by this program's main, in
// sound_scheme_posix_test.cpp) and reports through files in a folder the parent names.
#include "platform/sound_player.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/utf8.h"
#include "support/child_process.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::platform {

constexpr char kReportVariable[] = "TAVRO_PLAYER_TEST_REPORT";

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ChildProcess;
using testing::ScopedEnvironmentVariable;
using testing::TempDir;

const char* OutcomeName(PlayOutcome outcome) {
  switch (outcome) {
    case PlayOutcome::kHandedOver:
      return "handed over";
    case PlayOutcome::kDropped:
      return "dropped";
    case PlayOutcome::kDefaultPlayed:
      return "default played";
    case PlayOutcome::kFailed:
      return "failed";
  }
  return "?";
}

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Plays `path` and writes "<name>.outcome", "<name>.why" (UTF-8) and "<name>.ms" to the report
// folder.
void PlayAndReport(const std::filesystem::path& report, const std::string& name, const std::wstring& path,
                   unsigned long flags) {
  std::wstring whyNot = L"untouched";
  const auto start = steady_clock::now();
  const PlayOutcome outcome = PlaySoundFile(path, flags, whyNot);
  const auto elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start).count();
  std::ofstream(report / (name + ".outcome")) << OutcomeName(outcome);
  std::ofstream(report / (name + ".why")) << WideToUtf8(whyNot);
  std::ofstream(report / (name + ".ms")) << elapsed;
}

TEST(SoundPlayer, AnUnreachableSoundServerFailsAtOnceAndSaysWhatWasTried) {
  const TempDir dir;
  const std::string server = "unix:" + (dir.path() / "missing" / "native").string();
  const ScopedEnvironmentVariable pulse("PULSE_SERVER", server);
  // Only PulseAudio: an ALSA device on the machine must not decide the outcome.
  const ScopedEnvironmentVariable driver("CANBERRA_DRIVER", "pulse");
  const ScopedEnvironmentVariable report(kReportVariable, dir.path().string());
  ChildProcess child("player-unreachable");
  ASSERT_TRUE(child.Started());
  ASSERT_EQ(child.WaitForExit(), 0);

  const std::string expected =
      "no sound server: ca_context_open failed: Not available (libcanberra, PULSE_SERVER=" + server + ")";
  for (const char* call : {"first", "again", "nostop", "empty"}) {
    SCOPED_TRACE(call);
    const std::string name = dir.path() / call;
    EXPECT_EQ(ReadText(name + ".outcome"), "failed");
    EXPECT_EQ(ReadText(name + ".why"), expected);
    // A refused connection takes milliseconds; 2 s leaves room for a loaded machine.
    EXPECT_LT(std::stol("0" + ReadText(name + ".ms")), 2000);
  }
}

}  // namespace

// "player-unreachable": four requests with the environment the parent set up, one after another,
// so that the later ones show that a failed open is tried again rather than remembered.
int RunSoundPlayerChild(const std::string& argument) {
  const char* report = std::getenv(kReportVariable);
  if (argument != "player-unreachable" || report == nullptr) return 2;
  const std::filesystem::path folder(report);
  PlayAndReport(folder, "first", L"C:\\Sounds\\ding.wav", kPlayAsync | kPlayFileName);
  PlayAndReport(folder, "again", L"/usr/share/sounds/ding.wav", kPlayAsync | kPlayFileName);
  PlayAndReport(folder, "nostop", L"/usr/share/sounds/ding.wav", kPlayAsync | kPlayFileName | kPlayNoStop);
  // No file name: the default sound would play, but there is no server for it either.
  PlayAndReport(folder, "empty", L"", kPlayAsync | kPlayFileName);
  return 0;
}

}  // namespace Tavro_KVO_Util::platform

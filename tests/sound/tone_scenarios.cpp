// Plays one scenario's sounds for record_tones.py, which records the sound server and checks the
// tones heard. KVO_INSTALL_DIR names the folder that make_tones.py filled.
//
// Usage: tone_scenarios SCENARIO
// Exit code 0 when the scenario ran; its log lines are printed on standard error.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "SoundEvent.h"
#include "logging/library_log.h"
#include "platform/sound_scheme.h"
#include "sound/sound_scheme_keys.h"
#include "support/environment.h"

namespace {

using Tavro_KVO_Util::SoundEvent;
namespace platform = Tavro_KVO_Util::platform;
namespace internal = Tavro_KVO_Util::internal;

const std::wstring kErrorCurrent = std::wstring(internal::kSchemeNode) + L"\\Error\\.Current";

// Playback is asynchronous and ends with the process: give each sound time to be heard. Wine's
// sound driver may take more than a second to start a sound on a busy machine, so the waits are
// generous; the recording is checked for which tones appear, not when.
constexpr int kWholeSound = 3500;  // a short tone from the request to its end, with room to spare
void LetItPlay(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

bool SetErrorSound(unsigned long type, const std::wstring& value) {
  platform::SchemeKey key;
  return platform::CreateSchemeKey(kErrorCurrent, key) == 0 &&
         platform::SetSchemeDefaultValue(key, type, value) == 0;
}

std::wstring InstallDir() {
  const char* dir = std::getenv("KVO_INSTALL_DIR");
  const std::string text = dir == nullptr ? "" : dir;
  return std::wstring(text.begin(), text.end());
}

// Where the system finds its default sound, the one it plays for a file it cannot play. Windows:
// the user's scheme entry for "SystemDefault" (a plain path, not expanded; Wine 8 never plays it,
// which the expected silence under Wine records). Linux: the sound theme's "bell-window-system",
// which the test puts in XDG_DATA_HOME (make_tones.py).
bool PointTheDefaultSoundAtTheFallbackTone() {
#ifdef _WIN32
  const std::wstring node = L"AppEvents\\Schemes\\Apps\\.Default\\SystemDefault\\";
  for (const wchar_t* leaf : {L".Current", L".Default"}) {
    platform::SchemeKey key;
    if (platform::CreateSchemeKey(node + leaf, key) != 0 ||
        platform::SetSchemeDefaultValue(key, platform::kSchemeString,
                                        InstallDir() + L"Sounds\\Fallback.wav") != 0) {
      return false;
    }
  }
#endif
  return true;
}

// Plays `event` three times, each in full. The file cannot be played, so each time the default
// sound is heard; the log has the three "Playing sound" lines, at most one line saying why
// (Linux, at WARN) and no error.
bool PlayThreeTimesAndCheckTheLog(Tavro_KVO_Util::SoundEventType event,
                                  internal::ReportRecorderForTesting& reports) {
  reports.Clear();  // the clean-up before registering reports a node that is not there
  for (int play = 0; play < 3; ++play) {
    SoundEvent::Play(event, true);
    LetItPlay(kWholeSound);
  }
  int playing = 0;
  int unplayable = 0;
  int errors = 0;
  for (const internal::ReportedEntry& entry : reports.Entries()) {
    if (entry.message.rfind(L"SoundEvent::Play: Playing sound ", 0) == 0) ++playing;
    if (entry.message.rfind(L"SoundEvent::Play: Unable to play sound ", 0) == 0 && entry.level == 3)
      ++unplayable;
    if (entry.level <= 2) ++errors;
  }
#ifdef _WIN32
  const int expectedUnplayable = 0;  // Windows plays its default sound and says nothing
#else
  const int expectedUnplayable = 1;
#endif
  if (playing == 3 && unplayable == expectedUnplayable && errors == 0) return true;
  std::cerr << "log: " << playing << " playing lines (3 expected), " << unplayable << " unplayable lines ("
            << expectedUnplayable << " expected), " << errors << " errors (0 expected)\n";
  return false;
}

bool Run(const std::string& scenario, internal::ReportRecorderForTesting& reports) {
  // A clean scheme, registered as an installation would.
  internal::DeleteSchemeKeyTree(internal::kSchemeNode);
  SoundEvent::Register();
  if (!PointTheDefaultSoundAtTheFallbackTone()) return false;

  if (scenario == "expanded") {  // Error's ".Current": "%KVO_INSTALL_DIR%Sounds\Error.wav"
    SoundEvent::Play(Tavro_KVO_Util::SOUND_ERROR, true);
    LetItPlay(kWholeSound + 1000);
  } else if (scenario == "plain") {  // a user's own file as a plain string, no variables in it
    if (!SetErrorSound(platform::kSchemeString, InstallDir() + L"Sounds\\User.wav")) return false;
    SoundEvent::Play(Tavro_KVO_Util::SOUND_ERROR, true);
    LetItPlay(kWholeSound);
  } else if (scenario == "default") {  // out of range: the ".Default" event
    SoundEvent::Play(static_cast<Tavro_KVO_Util::SoundEventType>(27), true);
    LetItPlay(kWholeSound);
  } else if (scenario == "keep") {  // a second sound without interrupt while the first plays
    SoundEvent::Play(Tavro_KVO_Util::SOUND_ERROR, true);
    LetItPlay(300);
    SoundEvent::Play(Tavro_KVO_Util::SOUND_DEFAULT, false);
    LetItPlay(kWholeSound + 1000);
  } else if (scenario == "interrupt") {  // the same with interrupt: the second one is heard
    SoundEvent::Play(Tavro_KVO_Util::SOUND_ERROR, true);
    LetItPlay(2000);  // long enough for the first to be heard, shorter than its 4 s
    SoundEvent::Play(Tavro_KVO_Util::SOUND_DEFAULT, true);
    LetItPlay(kWholeSound);
  } else if (scenario == "edited") {  // the user points ".Current" at another file between plays
    SoundEvent::Play(Tavro_KVO_Util::SOUND_DEFAULT, true);
    LetItPlay(kWholeSound);
    platform::SchemeKey key;
    const std::wstring defaultCurrent = std::wstring(internal::kSchemeNode) + L"\\.Default\\.Current";
    if (platform::CreateSchemeKey(defaultCurrent, key) != 0 ||
        platform::SetSchemeDefaultValue(key, platform::kSchemeExpandString,
                                        L"%KVO_INSTALL_DIR%Sounds\\Edited.wav") != 0) {
      return false;
    }
    SoundEvent::Play(Tavro_KVO_Util::SOUND_DEFAULT, true);
    LetItPlay(kWholeSound);
  } else if (scenario == "missing") {  // a registered file that is not installed
    if (!PlayThreeTimesAndCheckTheLog(Tavro_KVO_Util::SOUND_RFID_READ_SUCCESS, reports)) return false;
  } else if (scenario == "empty") {  // the one event registered with an empty path
    if (!PlayThreeTimesAndCheckTheLog(Tavro_KVO_Util::SOUND_BARCODE_WAIT_SUCCESS, reports)) return false;
  } else if (scenario == "long") {  // an installation folder of 600 characters: the path comes out cut
#ifdef _WIN32
    const std::string longDir = "C:\\" + std::string(597, 'd');
#else
    const std::string longDir = "/" + std::string(599, 'd');
#endif
    const Tavro_KVO_Util::testing::ScopedEnvironmentVariable install("KVO_INSTALL_DIR", longDir);
    if (!PlayThreeTimesAndCheckTheLog(Tavro_KVO_Util::SOUND_ERROR, reports)) return false;
  } else {
    std::cerr << "unknown scenario '" << scenario << "'\n";
    return false;
  }
  internal::DeleteSchemeKeyTree(internal::kSchemeNode);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tone_scenarios SCENARIO\n";
    return 2;
  }
  internal::ReportRecorderForTesting reports;
  const bool ran = Run(argv[1], reports);
  for (const internal::ReportedEntry& entry : reports.Entries()) {
    std::cerr << entry.level << " " << std::string(entry.message.begin(), entry.message.end()) << "\n";
  }
  return ran ? 0 : 1;
}

// Play: what it reads from the scheme, how it repairs the scheme, and what it hands to the player
// (the path and the flags, recorded at the player's edge; the sound itself is heard by the
// recording tests).
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "SoundEvent.h"
#include "sound/sound_scheme_fixture.h"

namespace Tavro_KVO_Util::testing {
namespace {

constexpr unsigned long kInterrupting = 0x20001;  // file name, asynchronous
constexpr unsigned long kKeeping = 0x20011;       // and do not stop a sound that plays

std::wstring Installed(const std::wstring& rest) { return std::wstring(kInstallDirW) + rest; }

using SoundPlay = SoundSchemeTest;

std::vector<std::wstring> Paths(const std::vector<internal::PlayRequest>& requests) {
  std::vector<std::wstring> paths;
  for (const internal::PlayRequest& request : requests) paths.push_back(request.path);
  return paths;
}

TEST_F(SoundPlay, PlaysTheExpandedCurrentValueWithTheInterruptingFlags) {
  SoundEvent::Register();
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  const std::vector<internal::PlayRequest> requests = mPlays.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].path, Installed(L"Sounds\\Error.wav"));
  EXPECT_EQ(requests[0].flags, kInterrupting);
  const std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].level, 5);
  EXPECT_EQ(entries[0].area, L"SoundEvent");
  EXPECT_EQ(entries[0].message,
            L"SoundEvent::Play: Playing sound 'Error' ('" + Installed(L"Sounds\\Error.wav") + L"').");
}

TEST_F(SoundPlay, WithoutInterruptAddsTheDoNotStopFlag) {
  SoundEvent::Register();
  SoundEvent::Play(SOUND_BUTTON_CLICK, false);
  const std::vector<internal::PlayRequest> requests = mPlays.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].path, Installed(L"Sounds\\ButtonClick.wav"));
  EXPECT_EQ(requests[0].flags, kKeeping);
}

TEST_F(SoundPlay, OutOfRangeEventsPlayTheDefaultWithoutAnError) {
  SoundEvent::Register();
  mReports.Clear();
  SoundEvent::Play(static_cast<SoundEventType>(27), true);
  SoundEvent::Play(static_cast<SoundEventType>(-5), true);
  EXPECT_EQ(Paths(mPlays.Requests()), (std::vector<std::wstring>{Installed(L"Sounds\\Default.wav"),
                                                                 Installed(L"Sounds\\Default.wav")}));
  EXPECT_EQ(mReports.Messages(2), std::vector<std::wstring>{});
  EXPECT_EQ(Messages().front(),
            L"SoundEvent::Play: Playing sound '.Default' ('" + Installed(L"Sounds\\Default.wav") + L"').");
}

TEST_F(SoundPlay, WithoutTheNodeTheFirstPlayRegistersEveryRowThenPlays) {
  SoundEvent::Play(SOUND_CAMERA_ERROR, true);
  const std::vector<std::wstring> messages = Messages();
  ASSERT_EQ(messages.size(), 28u);
  EXPECT_EQ(messages[0], L"SoundEvent::Register: Creating sound event entries for scheme='.Default'");
  EXPECT_EQ(messages[26],
            L"SoundEvent::Register: Creating sound event entries for scheme='Inappropriate Button Click'");
  EXPECT_EQ(messages[27], L"SoundEvent::Play: Playing sound 'Camera Error' ('" +
                              Installed(L"Sounds\\CameraError.wav") + L"').");
  EXPECT_EQ(Subkeys(kNode).size(), 26u);
  EXPECT_EQ(ReadValue(kNode + L"\\Rfid Tag found\\.Default"),
            Expandable(L"%KVO_INSTALL_DIR%Sounds\\RfidTagFound.wav"));
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{Installed(L"Sounds\\CameraError.wav")});
}

TEST_F(SoundPlay, WithTheNodePresentOnlyTheMissingEventsKeysAreRecreated) {
  SoundEvent::Register();
  WriteValue(kNode + L"\\Button Click\\.Current", platform::kSchemeString, L"users-own.wav");
  RemoveTree(kNode + L"\\Error");
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Messages(),
            (std::vector<std::wstring>{
                L"SoundEvent::Play: Creating sound event entries for scheme='Error'",
                L"SoundEvent::Play: Playing sound 'Error' ('" + Installed(L"Sounds\\Error.wav") + L"').",
            }));
  EXPECT_EQ(mReports.Entries()[0].level, 4);
  EXPECT_EQ(ReadValue(kNode + L"\\Error\\.Current"), Expandable(L"%KVO_INSTALL_DIR%Sounds\\Error.wav"));
  EXPECT_EQ(ReadValue(kNode + L"\\Error\\.Default"), Expandable(L"%KVO_INSTALL_DIR%Sounds\\Error.wav"));
  EXPECT_EQ(ReadValue(kNode + L"\\Button Click\\.Current"), Plain(L"users-own.wav"))
      << "other events are left alone";
}

TEST_F(SoundPlay, AMissingCurrentKeyAloneIsRepairedToo) {
  SoundEvent::Register();
  RemoveTree(kNode + L"\\Error\\.Current");
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Messages().front(), L"SoundEvent::Play: Creating sound event entries for scheme='Error'");
  EXPECT_EQ(ReadValue(kNode + L"\\Error\\.Current"), Expandable(L"%KVO_INSTALL_DIR%Sounds\\Error.wav"));
}

TEST_F(SoundPlay, TheObsoleteNodeIsDeletedBeforeTheRepair) {
  WriteValue(kObsoleteNode + L"\\Error\\.Current", platform::kSchemeExpandString, L"old.wav");
  WriteValue(kObsoleteNode + L"\\Error\\.Default", platform::kSchemeExpandString, L"old.wav");
  WriteValue(kObsoleteNode + L"\\Deep\\Deeper\\Deepest", platform::kSchemeString, L"x");
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_FALSE(KeyExists(kObsoleteNode));
  EXPECT_TRUE(KeyExists(L"AppEvents\\Schemes\\Apps"));
  const std::vector<std::wstring> messages = Messages();
  ASSERT_EQ(messages.size(), 29u);
  EXPECT_EQ(messages[0], L"SoundEvent::Play: Deleting obsolete registry keys.");
  EXPECT_EQ(mReports.Entries()[0].level, 4);
  EXPECT_EQ(messages[1], L"SoundEvent::Register: Creating sound event entries for scheme='.Default'");
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{Installed(L"Sounds\\Error.wav")});
}

TEST_F(SoundPlay, TheObsoleteNodeStaysWhileTheEventKeyExists) {
  SoundEvent::Register();
  WriteValue(kObsoleteNode + L"\\Error\\.Current", platform::kSchemeExpandString, L"old.wav");
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(ReadValue(kObsoleteNode + L"\\Error\\.Current"), Expandable(L"old.wav"));
  EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(SoundPlay, APlainStringIsPlayedUnexpanded) {
  SoundEvent::Register();
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeString, L"%KVO_INSTALL_DIR%Sounds\\Mine.wav");
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{L"%KVO_INSTALL_DIR%Sounds\\Mine.wav"});
  EXPECT_EQ(Messages(),
            std::vector<std::wstring>{
                L"SoundEvent::Play: Playing sound 'Error' ('%KVO_INSTALL_DIR%Sounds\\Mine.wav')."});
}

TEST_F(SoundPlay, AnExpandableStringIsExpandedBeforePlaying) {
  SoundEvent::Register();
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeExpandString,
             L"%KVO_INSTALL_DIR%Sounds\\Error.wav");
  SoundEvent::Play(SOUND_ERROR, false);
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{Installed(L"Sounds\\Error.wav")});
}

TEST_F(SoundPlay, AnUnknownVariableStaysAsItIs) {
  SoundEvent::Register();
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeExpandString, L"%TAVRO_NO_SUCH_VARIABLE%x.wav");
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{L"%TAVRO_NO_SUCH_VARIABLE%x.wav"});
}

TEST_F(SoundPlay, AValueOf255CharactersPlaysAndOneOf256IsNotRead) {
  SoundEvent::Register();
  const std::wstring fits(255, L'a');
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeString, fits);
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{fits});

  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeString, std::wstring(256, L'a'));
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(mPlays.Requests().size(), 1u) << "nothing more was played";
  const std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].level, 2);
  EXPECT_EQ(entries[0].message,
            L"SoundEvent::Play: Unable to read registry key='AppEvents\\Schemes\\Apps\\Tavro "
            L"Korvina\\Error\\.Current' "
            L"err=234");
}

TEST_F(SoundPlay, BothBarcodeStopEventsPlayTheSharedEntry) {
  SoundEvent::Register();
  SoundEvent::Play(SOUND_BARCODE_SCAN_STOP_FOUND, true);
  SoundEvent::Play(SOUND_BARCODE_SCAN_STOP_NOT_FOUND, true);
  WriteValue(kNode + L"\\Barcode Scan Stop Found\\.Current", platform::kSchemeString, L"chosen.wav");
  SoundEvent::Play(SOUND_BARCODE_SCAN_STOP_FOUND, true);
  SoundEvent::Play(SOUND_BARCODE_SCAN_STOP_NOT_FOUND, true);
  EXPECT_EQ(Paths(mPlays.Requests()),
            (std::vector<std::wstring>{Installed(L"Sounds\\BarcodeScanStopNotFound.wav"),
                                       Installed(L"Sounds\\BarcodeScanStopNotFound.wav"), L"chosen.wav",
                                       L"chosen.wav"}));
}

TEST_F(SoundPlay, AnEmptyValueIsHandedOverAsItIs) {
  SoundEvent::Register();
  SoundEvent::Play(SOUND_BARCODE_WAIT_SUCCESS, true);
  const std::vector<internal::PlayRequest> requests = mPlays.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].path, L"");
  EXPECT_EQ(requests[0].flags, kInterrupting);
}

TEST_F(SoundPlay, AUsersEditTakesEffectAtTheNextPlay) {
  SoundEvent::Register();
  SoundEvent::Play(SOUND_ERROR, true);
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeExpandString,
             L"%KVO_INSTALL_DIR%Sounds\\Other.wav");
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_EQ(Paths(mPlays.Requests()),
            (std::vector<std::wstring>{Installed(L"Sounds\\Error.wav"), Installed(L"Sounds\\Other.wav")}));
}

// The expansion goes into 512 characters, as it always has: a longer one is cut there, as Windows
// cuts it (Wine 8 leaves the first 511 characters), and handed to the player as it is, whose
// fall-back to the default sound then applies. No error is logged.
TEST_F(SoundPlay, AnExpansionLongerThanItsBufferIsPlayedCutWithoutAnError) {
  SoundEvent::Register();
  const std::string longInstallDir =
      std::string(kInstallDir) + std::string(600 - sizeof(kInstallDir) + 1, 'd');
  ASSERT_EQ(longInstallDir.size(), 600u);
  const ScopedEnvironmentVariable install("KVO_INSTALL_DIR", longInstallDir);
  mReports.Clear();
  SoundEvent::Play(SOUND_ERROR, true);
  const std::wstring cut(longInstallDir.begin(), longInstallDir.begin() + 511);
  const std::vector<internal::PlayRequest> requests = mPlays.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].path, cut);
  EXPECT_EQ(requests[0].flags, kInterrupting);
  const std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].level, 5);
  EXPECT_EQ(entries[0].message, L"SoundEvent::Play: Playing sound 'Error' ('" + cut + L"').");
}

TEST_F(SoundPlay, AnExpansionOf511CharactersIsPlayedWhole) {
  SoundEvent::Register();
  // "Sounds\\Error.wav" is 16 characters: 495 + 16 = 511, which fits with its terminator.
  const std::string installDir = std::string(kInstallDir) + std::string(495 - sizeof(kInstallDir) + 1, 'd');
  const ScopedEnvironmentVariable install("KVO_INSTALL_DIR", installDir);
  SoundEvent::Play(SOUND_ERROR, true);
  const std::wstring whole = std::wstring(installDir.begin(), installDir.end()) + L"Sounds\\Error.wav";
  ASSERT_EQ(whole.size(), 511u);
  EXPECT_EQ(Paths(mPlays.Requests()), std::vector<std::wstring>{whole});
}

#ifndef _WIN32
// Linux knows when nothing will play: with no sound server to reach there is no default sound
// either. Play says why once for each event, at WARN, and returns at once every time.
TEST(SoundPlayWithoutServer, SaysWhyOncePerEventAtWarnAndReturnsAtOnce) {
  TempDir configHome;
  ScopedEnvironmentVariable xdg("XDG_CONFIG_HOME", configHome.path().string());
  ScopedEnvironmentVariable install("KVO_INSTALL_DIR", std::string(kInstallDir));
  ScopedEnvironmentVariable server("PULSE_SERVER", std::string("unix:/nonexistent/tavro-test"));
  // Only PulseAudio: an ALSA device on the machine must not decide the outcome.
  ScopedEnvironmentVariable driver("CANBERRA_DRIVER", std::string("pulse"));
  internal::ForgetUnplayableReportsForTesting();
  internal::ReportRecorderForTesting reports;
  SoundEvent::Register();
  reports.Clear();
  for (int play = 0; play < 3; ++play) {
    for (SoundEventType event : {SOUND_ERROR, SOUND_BARCODE_WAIT_SUCCESS}) {
      const auto start = std::chrono::steady_clock::now();
      SoundEvent::Play(event, true);
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    }
  }
  const std::wstring error = Installed(L"Sounds\\Error.wav");
  const std::wstring why =
      L"no sound server: ca_context_open failed: Not available (libcanberra, "
      L"PULSE_SERVER=unix:/nonexistent/tavro-test) (said once per event)";
  std::vector<std::wstring> lines;
  for (const internal::ReportedEntry& entry : reports.Entries()) {
    lines.push_back(std::to_wstring(entry.level) + L" " + entry.message);
  }
  const std::wstring playingError = L"5 SoundEvent::Play: Playing sound 'Error' ('" + error + L"').";
  const std::wstring playingEmpty = L"5 SoundEvent::Play: Playing sound 'Barcode Wait Success' ('').";
  EXPECT_EQ(lines, (std::vector<std::wstring>{
                       playingError,
                       L"3 SoundEvent::Play: Unable to play sound '" + error + L"' for 'Error': " + why,
                       playingEmpty,
                       L"3 SoundEvent::Play: Unable to play sound '' for 'Barcode Wait Success': " + why,
                       playingError,
                       playingEmpty,
                       playingError,
                       playingEmpty,
                   }));
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::testing

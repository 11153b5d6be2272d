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

#ifndef _WIN32
// Linux knows when nothing will play: with no sound server to reach, Play says why and returns.
TEST(SoundPlayWithoutServer, LogsWhyAndReturnsAtOnce) {
  TempDir configHome;
  ScopedEnvironmentVariable xdg("XDG_CONFIG_HOME", configHome.path().string());
  ScopedEnvironmentVariable install("KVO_INSTALL_DIR", std::string(kInstallDir));
  ScopedEnvironmentVariable server("PULSE_SERVER", std::string("unix:/nonexistent/tavro-test"));
  internal::ReportRecorderForTesting reports;
  SoundEvent::Register();
  reports.Clear();
  const auto start = std::chrono::steady_clock::now();
  SoundEvent::Play(SOUND_ERROR, true);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  const std::vector<internal::ReportedEntry> entries = reports.Entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].message,
            L"SoundEvent::Play: Playing sound 'Error' ('" + Installed(L"Sounds\\Error.wav") + L"').");
  EXPECT_EQ(entries[1].level, 2);
  const std::wstring prefix =
      L"SoundEvent::Play: Unable to play sound '" + Installed(L"Sounds\\Error.wav") + L"': ";
  EXPECT_EQ(entries[1].message.substr(0, prefix.size()), prefix);
  EXPECT_GT(entries[1].message.size(), prefix.size()) << "the reason follows";
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::testing

// The event table, and the scheme as Register and Unregister leave it.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "SoundEvent.h"
#include "sound/sound_event_table.h"
#include "sound/sound_scheme_fixture.h"
#include "support/private_volumes.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#endif

namespace Tavro_KVO_Util::testing {
namespace {

using internal::kSoundEventTable;

struct Row {
  int type;
  std::wstring name;
  std::wstring wavPath;
};

// The table as the product's installers and support tools know it, typed here independently.
const std::vector<Row> kExpectedTable = {
    {0, L".Default", L"%KVO_INSTALL_DIR%Sounds\\Default.wav"},
    {1, L"Error", L"%KVO_INSTALL_DIR%Sounds\\Error.wav"},
    {8, L"Rfid Tag found", L"%KVO_INSTALL_DIR%Sounds\\RfidTagFound.wav"},
    {9, L"Rfid WaitFor timed out", L"%KVO_INSTALL_DIR%Sounds\\RfidWaitForTimedOut.wav"},
    {2, L"Rfid Read Success", L"%KVO_INSTALL_DIR%Sounds\\RfidReadSuccess.wav"},
    {3, L"Rfid Read Failure", L"%KVO_INSTALL_DIR%Sounds\\RfidReadFailure.wav"},
    {4, L"Rfid Write Success", L"%KVO_INSTALL_DIR%Sounds\\RfidWriteSuccess.wav"},
    {5, L"Rfid Write Failure", L"%KVO_INSTALL_DIR%Sounds\\RfidWriteFailure.wav"},
    {6, L"Rfid Scan Start", L"%KVO_INSTALL_DIR%Sounds\\RfidScanStart.wav"},
    {7, L"Rfid Scan Stop", L"%KVO_INSTALL_DIR%Sounds\\RfidScanStop.wav"},
    {10, L"Rfid Error", L"%KVO_INSTALL_DIR%Sounds\\RfidError.wav"},
    {11, L"Barcode Configuration", L"%KVO_INSTALL_DIR%Sounds\\BarcodeConfiguration.wav"},
    {12, L"Barcode Read Success", L"%KVO_INSTALL_DIR%Sounds\\BarcodeReadSuccess.wav"},
    {13, L"Barcode Read Failure", L"%KVO_INSTALL_DIR%Sounds\\BarcodeReadFailure.wav"},
    {14, L"Barcode Scan Start", L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStart.wav"},
    {15, L"Barcode Scan Stop Found", L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopFound.wav"},
    {16, L"Barcode Scan Stop Found", L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopNotFound.wav"},
    {17, L"Barcode Wait Success", L""},
    {18, L"Barcode Wait Timeout", L"%KVO_INSTALL_DIR%Sounds\\BarcodeWaitTimeout.wav"},
    {19, L"Barcode Error", L"%KVO_INSTALL_DIR%Sounds\\BarcodeError.wav"},
    {20, L"Camera Preview Start", L"%KVO_INSTALL_DIR%Sounds\\CameraPreviewStart.wav"},
    {21, L"Camera Preview Stop", L"%KVO_INSTALL_DIR%Sounds\\CameraPreviewStop.wav"},
    {22, L"Camera Frame Captured", L"%KVO_INSTALL_DIR%Sounds\\CameraFrameCaptured.wav"},
    {23, L"Camera Capture Frame Error", L"%KVO_INSTALL_DIR%Sounds\\CameraCaptureFrameError.wav"},
    {24, L"Camera Error", L"%KVO_INSTALL_DIR%Sounds\\CameraError.wav"},
    {25, L"Button Click", L"%KVO_INSTALL_DIR%Sounds\\ButtonClick.wav"},
    {26, L"Inappropriate Button Click", L"%KVO_INSTALL_DIR%Sounds\\ButtonClickInappropriate.wav"},
};

std::set<std::wstring> DistinctEventNames() {
  std::set<std::wstring> names;
  for (const Row& row : kExpectedTable) names.insert(row.name);
  return names;
}

TEST(SoundEventTable, HoldsTheTwentySevenRowsInTheirOrder) {
  ASSERT_EQ(internal::kSoundEventRows, kExpectedTable.size());
  for (std::size_t i = 0; i < kExpectedTable.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(kSoundEventTable[i].type, kExpectedTable[i].type);
    EXPECT_EQ(std::wstring(kSoundEventTable[i].name), kExpectedTable[i].name);
    EXPECT_EQ(std::wstring(kSoundEventTable[i].wavPath), kExpectedTable[i].wavPath);
  }
  EXPECT_EQ(DistinctEventNames().size(), 26u);
}

TEST(SoundEventTable, OutOfRangeTypesGiveTheDefaultRowAndOthersTheirOwn) {
  EXPECT_EQ(internal::FindSoundEventRow(static_cast<SoundEventType>(-1)), &kSoundEventTable[0]);
  EXPECT_EQ(internal::FindSoundEventRow(static_cast<SoundEventType>(27)), &kSoundEventTable[0]);
  EXPECT_EQ(internal::FindSoundEventRow(static_cast<SoundEventType>(INT32_MIN)), &kSoundEventTable[0]);
  EXPECT_EQ(internal::FindSoundEventRow(SOUND_RFID_TAG_FOUND), &kSoundEventTable[2]);
  EXPECT_EQ(std::wstring(internal::FindSoundEventRow(SOUND_RFID_TAG_FOUND)->name), L"Rfid Tag found");
  for (int type = 0; type <= 26; ++type) {
    const SoundEventTableEntry* row = internal::FindSoundEventRow(static_cast<SoundEventType>(type));
    ASSERT_NE(row, nullptr) << type;
    EXPECT_EQ(row->type, type);
  }
}

TEST(SoundEventTable, SchemeKeyNamesHangUnderTheApplicationNode) {
  EXPECT_EQ(internal::SchemeKeyName(nullptr), L"AppEvents\\Schemes\\Apps\\Tavro Korvina");
  EXPECT_EQ(internal::SchemeKeyName(L"Error"), L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error");
  EXPECT_EQ(internal::SchemeKeyName(L""), L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\");
}

using SoundRegistration = SoundSchemeTest;

TEST_F(SoundRegistration, WritesBothKeysOfEveryEventUnexpandedAsExpandableStrings) {
  SoundEvent::Register();
  EXPECT_EQ(Subkeys(kNode), DistinctEventNames());
  for (const Row& row : kExpectedTable) {
    SCOPED_TRACE(std::string(row.name.begin(), row.name.end()));
    // The shared name holds the row written last: the not-found sound.
    const std::wstring expected =
        row.type == 15 ? L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopNotFound.wav" : row.wavPath;
    EXPECT_EQ(Subkeys(kNode + L"\\" + row.name), (std::set<std::wstring>{L".Current", L".Default"}));
    EXPECT_EQ(ReadValue(kNode + L"\\" + row.name + L"\\.Current"), Expandable(expected));
    EXPECT_EQ(ReadValue(kNode + L"\\" + row.name + L"\\.Default"), Expandable(expected));
  }
}

TEST_F(SoundRegistration, TheSharedBarcodeEntryHoldsTheNotFoundSoundAndNoOtherNameExists) {
  SoundEvent::Register();
  EXPECT_EQ(ReadValue(kNode + L"\\Barcode Scan Stop Found\\.Current"),
            Expandable(L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopNotFound.wav"));
  EXPECT_FALSE(KeyExists(kNode + L"\\Barcode Scan Stop Not Found"));
  EXPECT_FALSE(KeyExists(kNode + L"\\Barcode Scan Stop NotFound"));
}

TEST_F(SoundRegistration, WaitSuccessHasAnEmptyExpandableValue) {
  SoundEvent::Register();
  EXPECT_EQ(ReadValue(kNode + L"\\Barcode Wait Success\\.Current"), Expandable(L""));
  EXPECT_EQ(ReadValue(kNode + L"\\Barcode Wait Success\\.Default"), Expandable(L""));
}

#ifdef _WIN32
// The byte count another program sees: the terminator is counted.
TEST_F(SoundRegistration, StoredLengthsCountTheTerminator) {
  SoundEvent::Register();
  auto rawLength = [](const std::wstring& keyName, DWORD& type) {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, keyName.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD bytes = 0;
    EXPECT_EQ(RegQueryValueExW(key, nullptr, nullptr, &type, nullptr, &bytes), ERROR_SUCCESS);
    RegCloseKey(key);
    return bytes;
  };
  DWORD type = 0;
  EXPECT_EQ(rawLength(kNode + L"\\Barcode Wait Success\\.Current", type), 2u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_EXPAND_SZ));
  const std::wstring error = L"%KVO_INSTALL_DIR%Sounds\\Error.wav";
  EXPECT_EQ(rawLength(kNode + L"\\Error\\.Default", type), (error.size() + 1) * 2);
  EXPECT_EQ(type, static_cast<DWORD>(REG_EXPAND_SZ));
}

// The registry refuses a key name longer than 255 characters.
TEST_F(SoundRegistration, AKeyTheRegistryRefusesIsLoggedWithItsErrorCode) {
  const std::wstring key = kNode + L"\\" + std::wstring(300, L'x');
  const long status = internal::CreateSchemeEntry(key, L"v");
  EXPECT_EQ(status, ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Messages(), std::vector<std::wstring>{L"SoundEvent::CreateKey: Unable to create registry key=" +
                                                  key + L" err=" + std::to_wstring(status)});
  EXPECT_EQ(mReports.Entries()[0].level, 2);
  EXPECT_FALSE(KeyExists(key));
}

// A subkey that DeleteKeyRecursive cannot enumerate cannot be deleted, so neither can the keys
// above it: Wine 8 takes a key name of 256 characters, one more than the 256-character enumeration
// buffer (terminator included) holds, and enumerating it fails with ERROR_MORE_DATA. Each key on
// the way up then refuses to go while it has a subkey (err=5), and says so. (Wine cannot produce
// "Unable to set value": a key created or opened with all access always takes its value there.)
TEST_F(SoundRegistration, AKeyThatCannotBeDeletedIsLoggedOnTheWayUp) {
  SoundEvent::Register();
  const std::wstring stuck = kNode + L"\\Error\\" + std::wstring(256, L'n');
  WriteValue(stuck, platform::kSchemeString, L"x");
  mReports.Clear();
  SoundEvent::Unregister();
  EXPECT_EQ(mReports.Messages(2),
            (std::vector<std::wstring>{
                L"SoundEvent::DeleteKeyRecursive: Unable to delete registry key=" + kNode + L"\\Error err=5",
                L"SoundEvent::DeleteKeyRecursive: Unable to delete registry key=" + kNode + L" err=5"}));
  EXPECT_TRUE(KeyExists(stuck));
  EXPECT_FALSE(KeyExists(kNode + L"\\Error\\.Current")) << "the subkeys before it went";
  EXPECT_FALSE(KeyExists(kNode + L"\\Error\\.Default"));
  // The test's own clean-up, by name, which needs no enumeration.
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, stuck.c_str()), ERROR_SUCCESS);
}
#endif

TEST_F(SoundRegistration, LogsOneInfoLinePerRowInTableOrder) {
  SoundEvent::Register();
  std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 27u);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_EQ(entries[i].area, L"SoundEvent");
    EXPECT_EQ(entries[i].level, 4);
    EXPECT_EQ(entries[i].file, L".\\SoundEvent.cpp");
    EXPECT_EQ(entries[i].message, L"SoundEvent::Register: Creating sound event entries for scheme='" +
                                      kExpectedTable[i].name + L"'");
  }
}

TEST_F(SoundRegistration, OverwritesAUsersChoice) {
  WriteValue(kNode + L"\\Error\\.Current", platform::kSchemeString, L"C:\\mine.wav");
  SoundEvent::Register();
  EXPECT_EQ(ReadValue(kNode + L"\\Error\\.Current"), Expandable(L"%KVO_INSTALL_DIR%Sounds\\Error.wav"));
}

TEST_F(SoundRegistration, UnregisterRemovesTheNodeWithEveryEventKey) {
  SoundEvent::Register();
  mReports.Clear();
  SoundEvent::Unregister();
  EXPECT_EQ(Messages(), std::vector<std::wstring>{});
  EXPECT_FALSE(KeyExists(kNode));
  for (const std::wstring& name : DistinctEventNames())
    EXPECT_FALSE(KeyExists(kNode + L"\\" + name + L"\\.Current"));
  EXPECT_TRUE(KeyExists(L"AppEvents\\Schemes\\Apps")) << "only the application's node goes";
}

TEST_F(SoundRegistration, UnregisterWithoutANodeLogsOnceAndChangesNothing) {
  WriteValue(kObsoleteNode + L"\\Error\\.Current", platform::kSchemeExpandString, L"old.wav");
  SoundEvent::Unregister();
  const std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].level, 2);
  EXPECT_EQ(entries[0].area, L"SoundEvent");
  EXPECT_EQ(entries[0].message,
            L"SoundEvent::DeleteKeyRecursive: Unable to open registry key=AppEvents\\Schemes\\Apps\\Tavro "
            L"Korvina err=2");
  EXPECT_FALSE(KeyExists(kNode));
  EXPECT_EQ(ReadValue(kObsoleteNode + L"\\Error\\.Current"), Expandable(L"old.wav"));
}

TEST_F(SoundRegistration, DeleteKeyRecursiveReportsSuccessAsFalse) {
  WriteValue(kNode + L"\\A\\B\\C", platform::kSchemeString, L"deep");
  WriteValue(kNode + L"\\A\\D", platform::kSchemeString, L"wide");
  WriteValue(kNode + L"\\E", platform::kSchemeString, L"leaf");
  EXPECT_FALSE(internal::DeleteSchemeKeyTree(kNode + L"\\A"));
  EXPECT_FALSE(KeyExists(kNode + L"\\A"));
  EXPECT_EQ(Subkeys(kNode), std::set<std::wstring>{L"E"});
  EXPECT_FALSE(internal::DeleteSchemeKeyTree(kNode + L"\\E")) << "a key without subkeys";
  EXPECT_TRUE(internal::DeleteSchemeKeyTree(kNode + L"\\E")) << "gone already";
  EXPECT_EQ(Messages().back(),
            L"SoundEvent::DeleteKeyRecursive: Unable to open registry key=AppEvents\\Schemes\\Apps\\Tavro "
            L"Korvina\\E err=2");
}

TEST_F(SoundRegistration, CreateKeyReturnsZeroAndWritesTheValue) {
  EXPECT_EQ(internal::CreateSchemeEntry(kNode + L"\\Custom\\.Current", L"%TEMP%\\x.wav"), 0);
  EXPECT_EQ(ReadValue(kNode + L"\\Custom\\.Current"), Expandable(L"%TEMP%\\x.wav"));
  EXPECT_EQ(Messages(), std::vector<std::wstring>{});
}

#ifndef _WIN32
// A store that cannot be written: its folder would have to be made inside a regular file. Creating
// fails with 3 (the path cannot be made); opening finds no key (2), as in an empty store.
class SoundSchemeUnwritable : public ::testing::Test {
 protected:
  void SetUp() override { std::ofstream(mHome.path() / "not-a-folder") << "x"; }
  TempDir mHome;
  ScopedEnvironmentVariable mXdg{"XDG_CONFIG_HOME", (mHome.path() / "not-a-folder").string()};
  internal::ReportRecorderForTesting mReports;
};

TEST_F(SoundSchemeUnwritable, EveryRowIsTriedAndEachFailureLogged) {
  SoundEvent::Register();
  const std::vector<internal::ReportedEntry> entries = mReports.Entries();
  ASSERT_EQ(entries.size(), 27u * 3);
  for (std::size_t row = 0; row < 27; ++row) {
    const std::wstring key = kNode + L"\\" + kExpectedTable[row].name;
    EXPECT_EQ(entries[3 * row].level, 4);
    EXPECT_EQ(entries[3 * row + 1].level, 2);
    EXPECT_EQ(entries[3 * row + 1].message,
              L"SoundEvent::CreateKey: Unable to create registry key=" + key + L"\\.Current err=3");
    EXPECT_EQ(entries[3 * row + 2].message,
              L"SoundEvent::CreateKey: Unable to create registry key=" + key + L"\\.Default err=3");
  }
  EXPECT_EQ(internal::CreateSchemeEntry(kNode + L"\\X", L"v"), 3);
}

// On a volume of the test's own: a full disk refuses a longer value for a key that exists, and a
// read-only one refuses every deletion, which DeleteKeyRecursive reports from the first leaf up.
TEST(SoundSchemeOnSmallVolumes, SetAndDeleteFailuresAreLoggedWithTheirCodes) {
  TempDir dir;
  PrivateVolumes volumes(dir.path() / "volumes");
  if (!volumes.Unavailable().empty()) GTEST_SKIP() << volumes.Unavailable();
  const auto run = volumes.Run([&](Findings& found) {
    const ScopedEnvironmentVariable home("XDG_CONFIG_HOME", volumes.Small().string());
    internal::ReportRecorderForTesting reports;
    SoundEvent::Register();
    reports.Clear();
    const std::string filled = FillVolumeLeaving(volumes.Small(), 0);
    if (!filled.empty()) found["error"] = filled;
    found["set"] =
        std::to_string(internal::CreateSchemeEntry(kNode + L"\\Error\\.Current", std::wstring(4000, L'x')));
    std::filesystem::remove(volumes.Small() / "filler");
    if (::mount(nullptr, volumes.Small().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
      found["error"] = std::string("remount read-only: ") + std::strerror(errno);
    }
    SoundEvent::Unregister();
    found["nodeStays"] = KeyExists(kNode) ? "yes" : "no";
    std::string lines;
    for (const internal::ReportedEntry& entry : reports.Entries()) {
      lines +=
          std::to_string(entry.level) + " " + std::string(entry.message.begin(), entry.message.end()) + "\n";
    }
    found["log"] = lines;
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);
  EXPECT_EQ(run.Found("set"), "112");
  EXPECT_EQ(run.Found("nodeStays"), "yes");
  const std::string node = "AppEvents\\Schemes\\Apps\\Tavro Korvina";
  EXPECT_EQ(run.Found("log"), "2 SoundEvent::CreateKey: Unable to set value=" + std::string(4000, 'x') +
                                  " for registry key=" + node +
                                  "\\Error\\.Current err=112\n"
                                  "2 SoundEvent::DeleteKeyRecursive: Unable to delete registry key=" +
                                  node +
                                  "\\.Default\\.Current err=5\n"
                                  "2 SoundEvent::DeleteKeyRecursive: Unable to delete registry key=" +
                                  node +
                                  "\\.Default err=5\n"
                                  "2 SoundEvent::DeleteKeyRecursive: Unable to delete registry key=" +
                                  node + " err=5\n");
}

TEST_F(SoundSchemeUnwritable, PlayRepairsInVainAndSaysTheKeyCannotBeOpened) {
  internal::PlayRecorderForTesting plays;
  SoundEvent::Play(SOUND_ERROR, true);
  const std::vector<std::wstring> messages = mReports.Messages();
  ASSERT_EQ(messages.size(), 27u * 3 + 1);
  EXPECT_EQ(messages[0], L"SoundEvent::Register: Creating sound event entries for scheme='.Default'");
  EXPECT_EQ(messages.back(),
            L"SoundEvent::Play: Unable to open registry key='AppEvents\\Schemes\\Apps\\Tavro "
            L"Korvina\\Error\\.Current' err=2");
  EXPECT_EQ(mReports.Entries().back().level, 2);
  EXPECT_EQ(plays.Requests().size(), 0u);
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::testing

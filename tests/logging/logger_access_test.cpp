// Who may use the log lock and the log files the logger makes: everyone (kept), or with the safe
// profile SYSTEM, Administrators and one group (Windows: a protected DACL; Linux: mode 0660 and
// the group). These tests change the machine's real log lock and open it to everyone again after.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "logging/hook_mutex.h"
#include "logging/logger_fixture.h"
#include "logging/logger_process_state.h"
#include "support/environment.h"
#include "support/object_access_probe.h"
#include "support/running_under_wine.h"
#ifdef _WIN32
#include "support/outsider_token.h"
#endif

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;
using testing::ScopedEnvironmentVariable;

constexpr wchar_t kUnknownGroupReport[] =
    L"The group \"NoSuchGroupOnThisTablet\" named in /Tavro/MedivaneSDK/Logging/AccessGroup is not known on "
    L"this machine; the log is open to the default group instead";

#ifdef _WIN32
// The group that is let in by default, and the one a configuration names in these tests.
const std::vector<testing::AccessEntry> kRestrictedFile = {
    {testing::kSystemSid, FILE_ALL_ACCESS},
    {testing::kAdministratorsSid, FILE_ALL_ACCESS},
    {testing::kUsersSid, FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE}};
const std::vector<testing::AccessEntry> kRestrictedLock = {
    {testing::kSystemSid, MUTEX_ALL_ACCESS},
    {testing::kAdministratorsSid, MUTEX_ALL_ACCESS},
    {testing::kUsersSid, SYNCHRONIZE | MUTEX_MODIFY_STATE}};
constexpr wchar_t kNamedGroup[] = L"Users";
#else
const std::string kLockSegment = "/dev/shm/tavro-_7b_E665C5EE-3EF3-4f50-A44E-4DD05B2F9B7D_7d_";
constexpr wchar_t kNamedGroup[] = L"users";
#endif

class LoggerAccess : public LoggerTest {
 protected:
  void TearDown() override {
    int error = 0;
    HookMutex::Instance().Mutex().SetAccess(platform::ObjectAccess(), error);
    LoggerTest::TearDown();
  }

  void ExpectOpenToEveryone() {
#ifdef _WIN32
    if (testing::FileDaclsAreKept()) {
      EXPECT_TRUE(testing::FileDacl(LogFile()).isNull);
    }
#else
    EXPECT_EQ(testing::FileModeAndGroup(LogFile()).mode, 0666u);
#endif
    // The lock itself is the machine's: other test programs with the profile on may narrow it at
    // any time. That this logger left it alone is what its process state says.
    EXPECT_FALSE(ProcessState().lockRestricted);
  }

  // The log file and the lock let in only SYSTEM, Administrators and the default group.
  void ExpectRestrictedToTheDefaultGroup() {
#ifdef _WIN32
    if (testing::FileDaclsAreKept()) {
      const testing::DaclInfo file = testing::FileDacl(LogFile());
      EXPECT_TRUE(file.isProtected);
      EXPECT_EQ(file.allowed, kRestrictedFile);
    }
    const testing::DaclInfo lock = testing::MutexDacl(HookMutex::kName);
    EXPECT_EQ(lock.isProtected, testing::DaclProtectionIsReported());
    EXPECT_EQ(lock.allowed, kRestrictedLock);
#else
    const testing::ModeAndGroup file = testing::FileModeAndGroup(LogFile());
    EXPECT_EQ(file.mode, 0660u);
    EXPECT_EQ(file.group, ::getegid());
    const testing::ModeAndGroup lock = testing::FileModeAndGroup(kLockSegment);
    EXPECT_EQ(lock.mode, 0660u);
    EXPECT_EQ(lock.group, ::getegid());
#endif
  }
};

TEST_F(LoggerAccess, SafeProfileOffTheLogFileIsOpenToEveryoneAndTheLockIsLeftAsItIs) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  WriteConfig({{L"AccessGroup", kNamedGroup}});
  TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A one"});
  ExpectOpenToEveryone();
}

TEST_F(LoggerAccess, SafeProfileOnTheLogFileAndTheLockLetInOnlySystemAdministratorsAndTheDefaultGroup) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteConfig();
  TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A one"});
  ExpectRestrictedToTheDefaultGroup();
  EXPECT_TRUE(ProcessState().lockRestricted);
  EXPECT_EQ(ProcessState().lockRestrictedForGroup, L"");
}

#ifdef _WIN32
// The trade the safe profile makes: a process outside the group cannot open the log lock, so it
// cannot log (and cannot hold the lock to stop everyone else); with the profile off it can.
TEST_F(LoggerAccess, SafeProfileOnAProcessOutsideTheGroupCannotOpenTheLogLockAndOffItCan) {
  for (const bool safe : {false, true}) {
    SCOPED_TRACE(safe ? "on" : "off");
    const ScopedEnvironmentVariable profile("KVO_SAFE_PROFILE",
                                            safe ? std::optional<std::string>("1") : std::nullopt);
    SingletonManager::Instance().DeleteAll();
    ResetLoggerProcessStateForTesting();
    WriteConfig();
    if (!safe) {
      // Open, as a machine without the profile has it (another test program may have narrowed it).
      int error = 0;
      ASSERT_TRUE(HookMutex::Instance().Mutex().SetAccess(platform::ObjectAccess(), error)) << error;
    }
    TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
    const testing::OutsiderImpersonation outsider;
    ASSERT_TRUE(outsider.Active());
    platform::NamedMutex lock;
    platform::NamedMutexCreation creation;
    EXPECT_EQ(lock.Create(HookMutex::kName, creation), !safe);
  }
}
#endif

TEST_F(LoggerAccess, SafeProfileOnWithoutAConfigurationFileTheLockIsRestrictedAtOnce) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  TheLogger();
  EXPECT_TRUE(ProcessState().lockRestricted);
  EXPECT_EQ(ProcessState().lockRestrictedForGroup, L"");
}

TEST_F(LoggerAccess, SafeProfileOnAGroupTheMachineDoesNotKnowIsReportedOnceAndTheDefaultGroupLetIn) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteConfig({{L"AccessGroup", L"NoSuchGroupOnThisTablet"}});
  TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
  TheLogger().Log(L"A", 4, L"two", L".\\t.cpp", 2);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A one", L"I A two"}));
  const std::vector<std::wstring> events = EventMessages();
  EXPECT_EQ(std::count(events.begin(), events.end(), kUnknownGroupReport), 1) << events.size();
  ExpectRestrictedToTheDefaultGroup();
}

TEST_F(LoggerAccess, SafeProfileOnFromTheConfigurationTheNamedGroupIsLetIn) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
#ifndef _WIN32
  const long users = testing::GroupId("users");
  if (users < 0 || ::geteuid() != 0) GTEST_SKIP() << "giving a file the group users needs root";
#endif
  testing::WriteBytes(mDir.path() / "Bin" / "TavroMedivane.cfg",
                      testing::Utf16LeBytes(L"/Tavro/MedivaneSDK/SafeProfile=true\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/AccessGroup=" +
                                            std::wstring(kNamedGroup) +
                                            L"\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/LogFileLocation=" +
                                            LogDirectory().wstring() +
                                            L"\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/LogFileName=test.log\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/FormatString=%L %A %m\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n"));
  TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A one"});
  EXPECT_EQ(ProcessState().lockRestrictedForGroup, kNamedGroup);
#ifdef _WIN32
  // "Users" is the default group's own name: the entries are the default ones.
  if (testing::FileDaclsAreKept()) {
    EXPECT_EQ(testing::FileDacl(LogFile()).allowed, kRestrictedFile);
  }
  EXPECT_EQ(testing::MutexDacl(HookMutex::kName).allowed, kRestrictedLock);
#else
  // The lock's group is not read back here: a test program with the profile on from the
  // environment alone, running beside this one, gives the machine's lock its default group.
  EXPECT_EQ(testing::FileModeAndGroup(LogFile()).group, static_cast<gid_t>(users));
#endif
}

}  // namespace
}  // namespace Tavro_KVO_Util

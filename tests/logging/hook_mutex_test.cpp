// Creating the log mutex failing, and what the logger does without it.
//
// The failures are real where the OS has one: on Windows a name already taken by an object of
// another type (an event) makes CreateMutexW fail with ERROR_INVALID_HANDLE; on Linux a folder
// where the mutex's shared-memory segment should be makes shm_open fail (EISDIR), even for root.
// Each test uses a name of its own, so the machine-wide log mutex is untouched. The one stand-in
// is the security descriptor: InitializeSecurityDescriptor has no real failure to provoke, so
// platform::SecurityDescriptorFailureForTesting makes Create take that path.
//
// On Linux one test blocks the real log mutex's name too, in a forked child with a /dev/shm of its
// own, and starts this program again there (support/child_process.h) so that the library loads
// without the mutex: every entry is then dropped.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>

#include "logging/event_texts.h"
#include "logging/hook_mutex.h"
#include "logging/logger_fixture.h"
#include "platform/named_mutex.h"
#include "platform/process_info.h"
#include "support/child_process.h"
#include "support/private_volumes.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#endif

namespace Tavro_KVO_Util {
namespace {

using testing::ErrorsText;
using testing::EventsText;
using testing::Findings;
using testing::LoggerTest;

constexpr char kCreateError[] = "Exception creating Mutex for logging synchronization";
constexpr char kDescriptorError[] = "ERROR: InitializeSecurityDescriptor() when creating Mutex";
constexpr char kChildLogsWithoutTheMutex[] = "log-without-the-mutex";

// A mutex name no other test or process uses: letters, digits and '-' only, so that the Linux
// segment is simply "/tavro-<name>".
std::wstring UniqueName() {
  static std::atomic<int> counter{0};
  return L"tavro-test-mutex-" + std::to_wstring(platform::CurrentProcessId()) + L"-" +
         std::to_wstring(counter++);
}

#ifndef _WIN32
// Where the Linux build keeps the segment of mutex `name`: "/tavro-" and the name with every
// character outside [A-Za-z0-9-] written as "_<hex>_" (platform/posix/named_mutex.cpp).
std::filesystem::path SegmentPath(const std::wstring& name, const std::filesystem::path& shm = "/dev/shm") {
  std::string segment = "tavro-";
  for (const wchar_t c : name) {
    if ((c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') || c == L'-') {
      segment += static_cast<char>(c);
    } else {
      char escaped[16];
      std::snprintf(escaped, sizeof escaped, "_%x_", static_cast<unsigned>(c));
      segment += escaped;
    }
  }
  return shm / segment;
}
#endif

// Takes `name` with an object that is not a mutex, for the life of this object.
class NameTakenByAnotherKind {
 public:
  explicit NameTakenByAnotherKind(const std::wstring& name) {
#ifdef _WIN32
    mEvent = CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                          name.c_str());
    if (mEvent == nullptr) mError = "CreateEventW: error " + std::to_string(GetLastError());
#else
    mFolder = SegmentPath(name);
    std::error_code error;
    if (!std::filesystem::create_directory(mFolder, error)) mError = "cannot make " + mFolder.string();
#endif
  }
  ~NameTakenByAnotherKind() {
#ifdef _WIN32
    if (mEvent != nullptr) CloseHandle(mEvent);
#else
    std::error_code ignored;
    std::filesystem::remove(mFolder, ignored);
#endif
  }
  NameTakenByAnotherKind(const NameTakenByAnotherKind&) = delete;
  NameTakenByAnotherKind& operator=(const NameTakenByAnotherKind&) = delete;

  const std::string& Error() const { return mError; }

 private:
#ifdef _WIN32
  HANDLE mEvent = nullptr;
#else
  std::filesystem::path mFolder;
#endif
  std::string mError;
};

class HookMutexCreation : public LoggerTest {
 protected:
  std::string Reports() const { return EventsText(mEvents.Records()); }
};

TEST_F(HookMutexCreation, NameTakenByAnotherKindOfObjectIsReportedAndLeavesNoMutex) {
  const std::wstring name = UniqueName();
  const NameTakenByAnotherKind taken(name);
  ASSERT_EQ(taken.Error(), "");
  HookMutex mutex(name.c_str());
  EXPECT_EQ(Reports(), ErrorsText({kCreateError}));
  EXPECT_FALSE(mutex.Mutex().IsValid());
  EXPECT_EQ(mutex.Mutex().Wait(0), platform::WaitResult::kFailed);
}

TEST_F(HookMutexCreation, FreeNameMakesAWorkingMutexWithoutReports) {
  const std::wstring name = UniqueName();
  {
    HookMutex mutex(name.c_str());
    EXPECT_EQ(Reports(), "");
    ASSERT_TRUE(mutex.Mutex().IsValid());
    EXPECT_EQ(mutex.Mutex().Wait(0), platform::WaitResult::kAcquired);
    mutex.Mutex().Release();
  }
#ifndef _WIN32
  // The library never removes a segment (another process may be using it); this one is ours.
  std::filesystem::remove(SegmentPath(name));
#endif
}

#ifdef _WIN32
TEST_F(HookMutexCreation, SecurityDescriptorThatCannotBeMadeIsReportedAndTheMutexStillWorks) {
  const platform::SecurityDescriptorFailureForTesting descriptorFails;
  HookMutex mutex(UniqueName().c_str());
  EXPECT_EQ(Reports(), ErrorsText({kDescriptorError}));
  ASSERT_TRUE(mutex.Mutex().IsValid()) << "default security still gives a mutex";
  EXPECT_EQ(mutex.Mutex().Wait(0), platform::WaitResult::kAcquired);
  mutex.Mutex().Release();
}

TEST_F(HookMutexCreation, BothFailuresAreReportedDescriptorFirst) {
  const std::wstring name = UniqueName();
  const NameTakenByAnotherKind taken(name);
  ASSERT_EQ(taken.Error(), "");
  const platform::SecurityDescriptorFailureForTesting descriptorFails;
  HookMutex mutex(name.c_str());
  EXPECT_EQ(Reports(), ErrorsText({kDescriptorError, kCreateError}));
  EXPECT_FALSE(mutex.Mutex().IsValid());
}
#else
// POSIX shared memory has no security descriptor: the seam changes nothing and there is no report.
TEST_F(HookMutexCreation, LinuxHasNoSecurityDescriptorToReport) {
  const std::wstring name = UniqueName();
  {
    const platform::SecurityDescriptorFailureForTesting descriptorFails;
    HookMutex mutex(name.c_str());
    EXPECT_EQ(Reports(), "");
    ASSERT_TRUE(mutex.Mutex().IsValid());
    EXPECT_EQ(mutex.Mutex().Wait(0), platform::WaitResult::kAcquired);
    mutex.Mutex().Release();
  }
  std::filesystem::remove(SegmentPath(name));
}
#endif

#ifndef _WIN32
// The child's part: the library loaded while the log mutex's name was blocked. Writes its findings
// to KVO_INSTALL_DIR/findings and exits 0.
int LogWithoutTheMutex() {
  internal::EventLogRecorderForTesting events;
  Findings found;
  found["mutex made at load"] = HookMutex::Instance().Mutex().IsValid() ? "yes" : "no";
  Logger* logger = Logger::GetInstance();
  if (logger == nullptr) return 3;
  events.Clear();  // making the logger has reports of its own (tested elsewhere)
  logger->Log(L"A", 4, L"dropped one", L".\\t.cpp", 1);
  logger->Log(L"A", 4, L"dropped two", L".\\t.cpp", 1);
  found["reports while logging"] = EventsText(events.Records());
  events.Clear();
  {
    // Made again now that reports are recorded: the same failure, reported.
    HookMutex again(HookMutex::kName);
    found["made again"] = again.Mutex().IsValid() ? "yes" : "no";
  }
  found["reports making it again"] = EventsText(events.Records());
  const char* dir = std::getenv("KVO_INSTALL_DIR");
  if (dir == nullptr) return 4;
  testing::WriteBytes(std::filesystem::path(dir) / "findings", testing::EncodeFindings(found));
  return 0;
}

TEST_F(HookMutexCreation, LogMutexThatCannotBeMadeAtLoadDropsEveryEntrySilently) {
  WriteConfig();
  std::filesystem::create_directories(LogDirectory());
  const std::string before = "\xFF\xFE" + testing::Utf16Bytes(L"before\r\n", false, /*withMark=*/false);
  testing::WriteBytes(LogFile(), before);
  const testing::ScenarioRun run = testing::RunWithPrivateMounts([&](Findings& found) {
    // A /dev/shm of this child's own, with a folder where the log mutex's segment would be.
    if (!testing::MountTmpfs("/dev/shm", 1024 * 1024, found)) return;
    std::error_code error;
    std::filesystem::create_directory(SegmentPath(HookMutex::kName), error);
    if (error) {
      found["error"] = "cannot block the log mutex's name: " + error.message();
      return;
    }
    testing::ChildProcess child(kChildLogsWithoutTheMutex);
    found["child exit code"] = std::to_string(child.WaitForExit());
    Findings childFound;
    if (!testing::DecodeFindings(testing::ReadBytes(mDir.path() / "findings"), childFound)) {
      found["error"] = "the child's findings cannot be read";
      return;
    }
    for (const auto& [name, value] : childFound) found["child: " + name] = value;
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);

  ASSERT_EQ(run.Found("child exit code"), "0");
  EXPECT_EQ(run.Found("child: mutex made at load"), "no");
  // Without the mutex nothing is written and nothing more is said: the failure was reported when
  // the library loaded (before the test could record it, so that report went to syslog).
  EXPECT_EQ(run.Found("child: reports while logging"), "");
  EXPECT_EQ(testing::ReadBytes(LogFile()), before);
  EXPECT_EQ(run.Found("child: made again"), "no");
  EXPECT_EQ(run.Found("child: reports making it again"), ErrorsText({kCreateError}));
}

int RunChild(const std::string& argument) {
  if (argument == kChildLogsWithoutTheMutex) return LogWithoutTheMutex();
  return 90;
}
#else
// Windows: the log mutex's name cannot be blocked for one process alone. Named objects belong to
// the whole session (under Wine, to the prefix's wineserver), and every process of it that loads
// the library holds the mutex, this one included, so an event of that name cannot be made while
// any other test program runs.
TEST_F(HookMutexCreation, LogMutexThatCannotBeMadeAtLoadDropsEveryEntrySilently) {
  GTEST_SKIP() << "the log mutex's name cannot be blocked for one process alone on Windows";
}

int RunChild(const std::string&) { return 90; }
#endif

}  // namespace
}  // namespace Tavro_KVO_Util

int main(int argc, char** argv) {
  if (int code = 0; Tavro_KVO_Util::testing::RunAsChildIfAsked(argc, argv, Tavro_KVO_Util::RunChild, code)) {
    return code;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

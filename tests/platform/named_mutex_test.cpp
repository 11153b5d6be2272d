#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/process_info.h"
#include "support/object_access_probe.h"
#include "support/running_under_wine.h"

#ifdef _WIN32
#include <cwchar>

#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"
#include "support/outsider_token.h"
#else
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/unique_fd.h"
#endif

namespace Tavro_KVO_Util::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Waits on `mutex` from a thread of its own; when it gets the mutex it gives it back at once, so
// that the thread does not end as the owner.
WaitResult WaitOnOtherThread(NamedMutex& mutex, unsigned timeout) {
  WaitResult result = WaitResult::kFailed;
  std::thread([&] {
    result = mutex.Wait(timeout);
    if (result == WaitResult::kAcquired || result == WaitResult::kAbandoned) mutex.Release();
  }).join();
  return result;
}

void CreateOrFail(NamedMutex& mutex, const std::wstring& name) {
  NamedMutexCreation creation;
  ASSERT_TRUE(mutex.Create(name, creation));
  EXPECT_FALSE(creation.securityDescriptorFailed);
  EXPECT_FALSE(creation.createFailed);
  EXPECT_FALSE(creation.alreadyExisted);
}

// ThreadSanitizer cannot follow a lock that ends in EOWNERDEAD (it sees the release that follows as
// an unlock of an unlocked mutex), and it reports a release by a thread that does not own the mutex,
// which one test does on purpose. Those tests run in the other builds only.
#if defined(__SANITIZE_THREAD__)
#define SKIP_UNDER_THREAD_SANITIZER() GTEST_SKIP() << "ThreadSanitizer cannot follow this"
#else
#define SKIP_UNDER_THREAD_SANITIZER() static_cast<void>(0)
#endif

enum class ChildMode { kHoldUntilTold, kDieHolding };

// Exit codes of the second process.
constexpr int kChildDone = 0;
constexpr int kChildCouldNotCreate = 2;
constexpr int kChildCouldNotAcquire = 3;

#ifdef _WIN32

// On Windows the second process is this test program started again with
//   --mutex-child=hold,<name>  take the mutex, signal "<name>-held", wait for "<name>-release", give it back
//   --mutex-child=die,<name>   take the mutex, signal "<name>-held", exit without giving it back
// A global object acts on the argument before GoogleTest starts, then ends the process.
constexpr wchar_t kChildFlag[] = L"--mutex-child=";

int RunMutexChild(const std::wstring& argument) {
  const bool die = argument.rfind(L"die,", 0) == 0;
  const std::wstring name = argument.substr(argument.find(L',') + 1);
  NamedMutex mutex;
  NamedMutexCreation creation;
  if (!mutex.Create(name, creation)) return kChildCouldNotCreate;
  const UniqueHandle held(
      OpenEventW(EVENT_MODIFY_STATE, /*bInheritHandle=*/FALSE, (name + L"-held").c_str()));
  const UniqueHandle release(OpenEventW(SYNCHRONIZE, /*bInheritHandle=*/FALSE, (name + L"-release").c_str()));
  if (!held || !release) return kChildCouldNotCreate;
  if (mutex.Wait(10000) != WaitResult::kAcquired) return kChildCouldNotAcquire;
  SetEvent(held.get());
  if (die) return kChildDone;  // ExitProcess abandons the mutex
  WaitForSingleObject(release.get(), 30000);
  mutex.Release();
  return kChildDone;
}

struct MutexChildEntry {
  MutexChildEntry() {
    const wchar_t* found = std::wcsstr(GetCommandLineW(), kChildFlag);
    if (found == nullptr) return;
    std::wstring argument(found + std::wcslen(kChildFlag));
    argument = argument.substr(0, argument.find(L' '));
    ExitProcess(static_cast<UINT>(RunMutexChild(argument)));
  }
} const gMutexChildEntry;

class MutexChild {
 public:
  MutexChild(const std::wstring& name, ChildMode mode)
      : mHeld(CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                           (name + L"-held").c_str())),
        mRelease(CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                              (name + L"-release").c_str())) {
    wchar_t program[MAX_PATH + 1] = {};
    GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH);
    std::wstring commandLine = L"\"" + std::wstring(program) + L"\" " + kChildFlag +
                               (mode == ChildMode::kDieHolding ? L"die," : L"hold,") + name;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program, commandLine.data(), /*lpProcessAttributes=*/nullptr,
                       /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/FALSE, /*dwCreationFlags=*/0,
                       /*lpEnvironment=*/nullptr, /*lpCurrentDirectory=*/nullptr, &startup, &process)) {
      mProcess.reset(process.hProcess);
      UniqueHandle thread(process.hThread);
    }
  }
  ~MutexChild() {
    TellRelease();
    if (mProcess) WaitForSingleObject(mProcess.get(), 30000);
  }

  // True once the child reports that it owns the mutex; false when it ended first.
  bool WaitUntilOwned() {
    if (!mProcess || !mHeld) return false;
    const HANDLE either[] = {mHeld.get(), mProcess.get()};
    return WaitForMultipleObjects(2, either, /*bWaitAll=*/FALSE, 30000) == WAIT_OBJECT_0;
  }

  void TellRelease() {
    if (mRelease) SetEvent(mRelease.get());
  }

  int WaitForExit() {
    if (!mProcess || WaitForSingleObject(mProcess.get(), 30000) != WAIT_OBJECT_0) return -1;
    DWORD code = 0;
    GetExitCodeProcess(mProcess.get(), &code);
    return static_cast<int>(code);
  }

 private:
  UniqueHandle mHeld;
  UniqueHandle mRelease;
  UniqueHandle mProcess;
};

#else

// On Linux the second process is a fork; two pipes carry "owned" and "release".
class MutexChild {
 public:
  MutexChild(const std::wstring& name, ChildMode mode) {
    int owned[2];
    int release[2];
    if (::pipe(owned) != 0) return;
    if (::pipe(release) != 0) {
      ::close(owned[0]);
      ::close(owned[1]);
      return;
    }
    mPid = ::fork();
    if (mPid == 0) {
      ::close(owned[0]);
      ::close(release[1]);
      ::_exit(RunChild(name, mode, owned[1], release[0]));
    }
    mOwned.reset(owned[0]);
    mRelease.reset(release[1]);
    ::close(owned[1]);
    ::close(release[0]);
  }
  ~MutexChild() {
    TellRelease();
    WaitForExit();
  }

  bool WaitUntilOwned() {
    char byte = 0;
    return mOwned && ::read(mOwned.get(), &byte, 1) == 1;
  }

  void TellRelease() { mRelease.reset(); }  // the child's read returns at end of file

  int WaitForExit() {
    if (mPid <= 0) return -1;
    int status = 0;
    const pid_t pid = std::exchange(mPid, -1);
    if (::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
  }

 private:
  // Runs in the forked child, which leaves with _exit and never returns to GoogleTest.
  static int RunChild(const std::wstring& name, ChildMode mode, int owned, int release) {
    NamedMutex mutex;
    NamedMutexCreation creation;
    if (!mutex.Create(name, creation)) return kChildCouldNotCreate;
    if (mutex.Wait(10000) != WaitResult::kAcquired) return kChildCouldNotAcquire;
    const char byte = 1;
    if (::write(owned, &byte, 1) != 1) return kChildCouldNotAcquire;
    if (mode == ChildMode::kDieHolding) return kChildDone;  // _exit with the mutex held
    char ignored = 0;
    while (::read(release, &ignored, 1) > 0) {
    }
    mutex.Release();
    return kChildDone;
  }

  pid_t mPid = -1;
  UniqueFd mOwned;
  UniqueFd mRelease;
};

#endif

// Each test has mutexes of its own, so the tests never touch the log's mutex or each other's. On
// Linux the shared memory behind them outlives the processes; the fixture removes it afterwards.
class NamedMutexTest : public ::testing::Test {
 protected:
  ~NamedMutexTest() override {
#ifndef _WIN32
    for (const std::string& segment : mSegments) ::shm_unlink(segment.c_str());
#endif
  }

  // A name of letters, digits and dashes, which the shared memory's name keeps as they are.
  std::wstring UniqueName() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string test = info != nullptr ? info->name() : "test";
    const std::string name = "TavroNamedMutexTest-" + std::to_string(CurrentProcessId()) + "-" + test + "-" +
                             std::to_string(mSegments.size());
    RemoveAfterwards("/tavro-" + name);
    return std::wstring(name.begin(), name.end());
  }

  void RemoveAfterwards(const std::string& segment) { mSegments.push_back(segment); }

 private:
  std::vector<std::string> mSegments;
};

TEST_F(NamedMutexTest, DefaultConstructedHandleIsInvalidAndCannotBeWaitedOn) {
  NamedMutex mutex;
  EXPECT_FALSE(mutex.IsValid());
  EXPECT_EQ(mutex.Wait(0), WaitResult::kFailed);
  mutex.Release();          // nothing to release: no effect
  mutex.ReleaseAndClose();  // likewise
  EXPECT_FALSE(mutex.IsValid());
}

TEST_F(NamedMutexTest, CreatedMutexIsFreeAtFirst) {
  NamedMutex mutex;
  CreateOrFail(mutex, UniqueName());
  EXPECT_TRUE(mutex.IsValid());
  EXPECT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  mutex.Release();
}

TEST_F(NamedMutexTest, SecondHandleOfTheSameNameOpensTheSameMutex) {
  const std::wstring name = UniqueName();
  NamedMutex first;
  NamedMutex second;
  CreateOrFail(first, name);
  // Opening an existing mutex is a plain success, not a failed create.
  CreateOrFail(second, name);

  ASSERT_EQ(first.Wait(0), WaitResult::kAcquired);
  EXPECT_EQ(WaitOnOtherThread(second, 50), WaitResult::kTimedOut);
  first.Release();
  EXPECT_EQ(WaitOnOtherThread(second, 1000), WaitResult::kAcquired);
}

TEST_F(NamedMutexTest, OtherThreadTimesOutAfterItsWaitWhileOneThreadOwnsIt) {
  NamedMutex mutex;
  CreateOrFail(mutex, UniqueName());
  ASSERT_EQ(mutex.Wait(0), WaitResult::kAcquired);

  const auto start = steady_clock::now();
  EXPECT_EQ(WaitOnOtherThread(mutex, 100), WaitResult::kTimedOut);
  // Windows' timer may end a wait up to one tick (15.6 ms) early.
  EXPECT_GE(steady_clock::now() - start, milliseconds(80));

  mutex.Release();
  EXPECT_EQ(WaitOnOtherThread(mutex, 1000), WaitResult::kAcquired);
}

TEST_F(NamedMutexTest, OwnerMayWaitAgainAndMustReleaseAsOften) {
  NamedMutex mutex;
  CreateOrFail(mutex, UniqueName());
  ASSERT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  ASSERT_EQ(mutex.Wait(0), WaitResult::kAcquired);

  mutex.Release();
  EXPECT_EQ(WaitOnOtherThread(mutex, 50), WaitResult::kTimedOut);
  mutex.Release();
  EXPECT_EQ(WaitOnOtherThread(mutex, 1000), WaitResult::kAcquired);
}

TEST_F(NamedMutexTest, ReleaseByAThreadThatDoesNotOwnItChangesNothing) {
  SKIP_UNDER_THREAD_SANITIZER();
  NamedMutex mutex;
  CreateOrFail(mutex, UniqueName());
  ASSERT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  std::thread([&] { mutex.Release(); }).join();
  EXPECT_EQ(WaitOnOtherThread(mutex, 50), WaitResult::kTimedOut);
  mutex.Release();
}

TEST_F(NamedMutexTest, ReleaseAndCloseGivesItBackAndInvalidatesTheHandle) {
  const std::wstring name = UniqueName();
  NamedMutex closing;
  NamedMutex other;
  CreateOrFail(closing, name);
  CreateOrFail(other, name);
  ASSERT_EQ(closing.Wait(0), WaitResult::kAcquired);

  closing.ReleaseAndClose();
  EXPECT_FALSE(closing.IsValid());
  EXPECT_EQ(WaitOnOtherThread(other, 1000), WaitResult::kAcquired);
}

TEST_F(NamedMutexTest, ThreadEndingAsOwnerAbandonsItToTheNextWaiter) {
  SKIP_UNDER_THREAD_SANITIZER();
  NamedMutex mutex;
  CreateOrFail(mutex, UniqueName());
  WaitResult taken = WaitResult::kFailed;
  std::thread([&] { taken = mutex.Wait(0); }).join();
  ASSERT_EQ(taken, WaitResult::kAcquired);

  EXPECT_EQ(mutex.Wait(1000), WaitResult::kAbandoned);
  // The waiter owns it now ...
  EXPECT_EQ(WaitOnOtherThread(mutex, 50), WaitResult::kTimedOut);
  mutex.Release();
  // ... and once given back it is an ordinary mutex again.
  EXPECT_EQ(WaitOnOtherThread(mutex, 1000), WaitResult::kAcquired);
  EXPECT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  mutex.Release();
}

TEST_F(NamedMutexTest, WaitTimesOutWhileAnotherProcessOwnsIt) {
  const std::wstring name = UniqueName();
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  MutexChild child(name, ChildMode::kHoldUntilTold);
  ASSERT_TRUE(child.WaitUntilOwned());

  const auto start = steady_clock::now();
  EXPECT_EQ(mutex.Wait(1000), WaitResult::kTimedOut);
  EXPECT_GE(steady_clock::now() - start, milliseconds(950));

  child.TellRelease();
  EXPECT_EQ(mutex.Wait(10000), WaitResult::kAcquired);
  mutex.Release();
  EXPECT_EQ(child.WaitForExit(), kChildDone);
}

TEST_F(NamedMutexTest, ProcessEndingAsOwnerAbandonsItToTheNextWaiter) {
  SKIP_UNDER_THREAD_SANITIZER();
  const std::wstring name = UniqueName();
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  {
    MutexChild child(name, ChildMode::kDieHolding);
    ASSERT_TRUE(child.WaitUntilOwned());
    ASSERT_EQ(child.WaitForExit(), kChildDone);
  }

  EXPECT_EQ(mutex.Wait(1000), WaitResult::kAbandoned);
  EXPECT_EQ(WaitOnOtherThread(mutex, 50), WaitResult::kTimedOut);
  mutex.Release();

  // Usable again by other threads and other processes.
  EXPECT_EQ(WaitOnOtherThread(mutex, 1000), WaitResult::kAcquired);
  MutexChild next(name, ChildMode::kHoldUntilTold);
  ASSERT_TRUE(next.WaitUntilOwned());
  next.TellRelease();
  EXPECT_EQ(next.WaitForExit(), kChildDone);
  EXPECT_EQ(mutex.Wait(1000), WaitResult::kAcquired);
  mutex.Release();
}

#ifndef _WIN32
TEST_F(NamedMutexTest, SharedMemoryIsNamedAfterTheMutexAndOpenToEveryUser) {
  // Characters other than letters, digits and dashes are written as "_<hex>_", as the braces of
  // a GUID name are.
  const std::wstring name = L"{" + UniqueName() + L"}";
  const std::string segment = "/tavro-_7b_" + std::string(name.begin() + 1, name.end() - 1) + "_7d_";
  RemoveAfterwards(segment);
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  struct stat info {};
  ASSERT_EQ(::stat(("/dev/shm" + segment).c_str(), &info), 0) << segment;
  EXPECT_EQ(info.st_mode & 0777, 0666u);
  EXPECT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  mutex.Release();
}
#endif

// Who may use the mutex: the safe profile narrows it to SYSTEM, Administrators and one group
// (Windows) or mode 0660 and one group (Linux), and a null DACL or mode 0666 opens it again.
#ifdef _WIN32
TEST_F(NamedMutexTest, RestrictedAccessIsSystemAdministratorsAndUsersWithAProtectedDacl) {
  const std::wstring name = UniqueName();
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  EXPECT_TRUE(testing::MutexDacl(name).isNull) << "made open to everyone";
  int error = -1;
  ASSERT_TRUE(mutex.SetAccess({/*restricted=*/true, L""}, error)) << error;
  const testing::DaclInfo dacl = testing::MutexDacl(name);
  ASSERT_TRUE(dacl.read);
  EXPECT_FALSE(dacl.isNull);
  EXPECT_EQ(dacl.isProtected, testing::DaclProtectionIsReported());
  EXPECT_EQ(dacl.allowed,
            (std::vector<testing::AccessEntry>{{testing::kSystemSid, MUTEX_ALL_ACCESS},
                                               {testing::kAdministratorsSid, MUTEX_ALL_ACCESS},
                                               {testing::kUsersSid, SYNCHRONIZE | MUTEX_MODIFY_STATE}}));
  // Still usable through the handle open already.
  EXPECT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  mutex.Release();
  ASSERT_TRUE(mutex.SetAccess({/*restricted=*/false, L""}, error)) << error;
  EXPECT_TRUE(testing::MutexDacl(name).isNull);
}

// A process outside the group (here a thread acting for a token in which Administrators and Users
// count for nothing) cannot open the restricted mutex, so it cannot hold it either; the open one
// it can.
TEST_F(NamedMutexTest, RestrictedAccessShutsOutAnyoneOutsideTheGroup) {
  const std::wstring restrictedName = UniqueName();
  const std::wstring openName = UniqueName();
  NamedMutex restricted;
  NamedMutex open;
  CreateOrFail(restricted, restrictedName);
  CreateOrFail(open, openName);
  int error = -1;
  ASSERT_TRUE(restricted.SetAccess({/*restricted=*/true, L""}, error)) << error;
  const testing::OutsiderImpersonation outsider;
  ASSERT_TRUE(outsider.Active());
  NamedMutex outsiders;
  NamedMutexCreation creation;
  EXPECT_FALSE(outsiders.Create(restrictedName, creation));
  EXPECT_TRUE(creation.createFailed);
  EXPECT_TRUE(outsiders.Create(openName, creation));
  EXPECT_EQ(outsiders.Wait(0), WaitResult::kAcquired);
  outsiders.Release();
}

TEST_F(NamedMutexTest, RestrictedAccessToAGroupTheMachineDoesNotKnowFailsAndChangesNothing) {
  const std::wstring name = UniqueName();
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  int error = -1;
  EXPECT_FALSE(mutex.SetAccess({/*restricted=*/true, L"NoSuchGroupOnThisTablet"}, error));
  EXPECT_EQ(error, static_cast<int>(ERROR_NONE_MAPPED));
  EXPECT_TRUE(testing::MutexDacl(name).isNull);
}
#else
TEST_F(NamedMutexTest, RestrictedAccessGivesTheSegmentMode0660AndTheGroup) {
  const std::wstring name = UniqueName();
  const std::string file = "/dev/shm/tavro-" + std::string(name.begin(), name.end());
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  int error = -1;
  ASSERT_TRUE(mutex.SetAccess({/*restricted=*/true, L""}, error)) << error;
  testing::ModeAndGroup access = testing::FileModeAndGroup(file);
  EXPECT_EQ(access.mode, 0660u);
  EXPECT_EQ(access.group, ::getegid()) << "no group named: the process's own";
  if (const long users = testing::GroupId("users"); users >= 0 && ::geteuid() == 0) {
    ASSERT_TRUE(mutex.SetAccess({/*restricted=*/true, L"users"}, error)) << error;
    access = testing::FileModeAndGroup(file);
    EXPECT_EQ(access.mode, 0660u);
    EXPECT_EQ(access.group, static_cast<gid_t>(users));
  }
  EXPECT_EQ(mutex.Wait(0), WaitResult::kAcquired);
  mutex.Release();
  ASSERT_TRUE(mutex.SetAccess({/*restricted=*/false, L""}, error)) << error;
  EXPECT_EQ(testing::FileModeAndGroup(file).mode, 0666u);
}

TEST_F(NamedMutexTest, RestrictedAccessToAGroupTheMachineDoesNotKnowFailsAndChangesNothing) {
  const std::wstring name = UniqueName();
  const std::string file = "/dev/shm/tavro-" + std::string(name.begin(), name.end());
  NamedMutex mutex;
  CreateOrFail(mutex, name);
  int error = -1;
  EXPECT_FALSE(mutex.SetAccess({/*restricted=*/true, L"NoSuchGroupOnThisTablet"}, error));
  EXPECT_EQ(error, ENOENT);
  EXPECT_EQ(testing::FileModeAndGroup(file).mode, 0666u);
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::platform

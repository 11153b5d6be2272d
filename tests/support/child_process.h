// Runs part of a test in other real processes: the test program starts itself again with
// "--tavro-child=<argument>" (posix_spawn of /proc/self/exe on Linux, CreateProcessW on Windows),
// so both builds exercise the same child code.
//
// A test program that uses this defines its own main, which calls RunAsChildIfAsked first:
//   int main(int argc, char** argv) {
//     if (int code; RunAsChildIfAsked(argc, argv, MyChildBody, code)) return code;
//     ::testing::InitGoogleTest(&argc, argv);
//     return RUN_ALL_TESTS();
//   }
// The child inherits the environment, so it finds the test's configuration through
// KVO_INSTALL_DIR just as the parent does.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_CHILD_PROCESS_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_CHILD_PROCESS_H

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace Tavro_KVO_Util::testing {

inline constexpr char kChildFlag[] = "--tavro-child=";

// When the command line asks for a child, runs `body(argument)` and stores its exit code.
template <typename Body>
bool RunAsChildIfAsked(int argc, char** argv, Body body, int& exitCode) {
  const std::size_t flagLength = std::strlen(kChildFlag);
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], kChildFlag, flagLength) == 0) {
      exitCode = body(std::string(argv[i] + flagLength));
      return true;
    }
  }
  return false;
}

class ChildProcess {
 public:
  // Starts this program again as a child with `argument` (letters, digits, ',' and '-' only, so it
  // needs no quoting on a Windows command line).
  explicit ChildProcess(const std::string& argument) {
    const std::string flag = kChildFlag + argument;
#ifdef _WIN32
    wchar_t program[MAX_PATH + 1] = {};
    GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH);
    std::wstring commandLine =
        L"\"" + std::wstring(program) + L"\" " + std::wstring(flag.begin(), flag.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program, commandLine.data(), /*lpProcessAttributes=*/nullptr,
                       /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/FALSE, /*dwCreationFlags=*/0,
                       /*lpEnvironment=*/nullptr, /*lpCurrentDirectory=*/nullptr, &startup, &process)) {
      mProcess = process.hProcess;
      mId = process.dwProcessId;
      CloseHandle(process.hThread);
    }
#else
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string flagCopy = flag;
    char* const arguments[] = {const_cast<char*>(program.c_str()), flagCopy.data(), nullptr};
    pid_t pid = -1;
    if (::posix_spawn(&pid, program.c_str(), /*file_actions=*/nullptr, /*attrp=*/nullptr, arguments,
                      environ) == 0) {
      mId = static_cast<unsigned long>(pid);
    }
#endif
  }
  ~ChildProcess() { WaitForExit(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool Started() const { return mId != 0; }

  // Ends the child at once, as a crash or the task manager would: no destructor, no unload, no
  // handle or lock given back by the child itself (TerminateProcess; SIGKILL on Linux).
  void Kill() {
#ifdef _WIN32
    if (mProcess != nullptr) TerminateProcess(mProcess, 137);
#else
    if (mId != 0) ::kill(static_cast<pid_t>(mId), SIGKILL);
#endif
  }
  unsigned long Id() const { return mId; }

  // The child's exit code, or -1 when it could not be started, did not end within 120 s or was
  // killed by a signal. Waits once; later calls give the same answer.
  int WaitForExit() {
    if (mExitCode != kNotYet) return mExitCode;
    mExitCode = -1;
#ifdef _WIN32
    if (mProcess == nullptr) return mExitCode;
    DWORD code = 0;
    if (WaitForSingleObject(mProcess, 120000) == WAIT_OBJECT_0 && GetExitCodeProcess(mProcess, &code)) {
      mExitCode = static_cast<int>(code);
    }
    CloseHandle(std::exchange(mProcess, nullptr));
#else
    int status = 0;
    if (mId != 0 && ::waitpid(static_cast<pid_t>(mId), &status, 0) == static_cast<pid_t>(mId) &&
        WIFEXITED(status)) {
      mExitCode = WEXITSTATUS(status);
    }
#endif
    return mExitCode;
  }

 private:
  static constexpr int kNotYet = -2;
  unsigned long mId = 0;
  int mExitCode = kNotYet;
#ifdef _WIN32
  HANDLE mProcess = nullptr;
#endif
};

// Waits up to 30 s for `file` to appear: how a child tells the parent it has reached a point.
inline bool WaitForFile(const std::filesystem::path& file) {
  for (int waited = 0; waited < 30000; waited += 5) {
    if (std::filesystem::exists(file)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_CHILD_PROCESS_H

#include "logger_bench_support.h"

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "Logger.h"
#include "logging/singleton_manager.h"

namespace logger_bench {
namespace {

std::string Utf16LeWithMark(const std::wstring& text) {
  std::string bytes("\xFF\xFE", 2);
  for (const wchar_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>((c >> 8) & 0xFF));
  }
  return bytes;
}

// Reads exactly one byte, retrying on EINTR. False at end of file or on error.
bool ReadOne(int fd) {
  char byte;
  for (;;) {
    const ssize_t got = ::read(fd, &byte, 1);
    if (got == 1) return true;
    if (got < 0 && errno == EINTR) continue;
    return false;
  }
}

}  // namespace

RunDir::RunDir() {
  const char* tmp = ::getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/logger-bench-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) return;
  mPath = pattern;
  std::error_code error;
  std::filesystem::create_directories(mPath / "Bin", error);
  std::filesystem::create_directories(LogFolder(), error);
  if (error) mPath.clear();
}

RunDir::~RunDir() {
  if (mPath.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(mPath, ignored);
}

void WriteLoggingConfig(const RunDir& dir, const LogSettings& settings) {
  const std::wstring prefix = L"/Tavro/MedivaneSDK/Logging/";
  const std::wstring lines[] = {
      L"MaxLogFileBackups=" + std::to_wstring(settings.maxLogFileBackups),
      L"MaxLogFileSize=" + std::to_wstring(settings.maxLogFileSize),
      L"LogFileLocation=" + dir.LogFolder().wstring(),
      L"DefaultLevel=INFO",
      L"SysDefaultLevel=FATAL",
      L"LogFileName=bench.log",
      L"FreeSpaceMinimum=1000000",
      L"ThresholdExceeded=deleteOld",
      L"FormatString=%L %D %T %Z %A {%P-%t} %m",
      L"WriteErrorsToEventLog=false",
      L"DebugAreas=BN, Config",
  };
  std::wstring text;
  for (const std::wstring& line : lines) text += prefix + line + L"\r\n";
  std::ofstream(dir.ConfigFile(), std::ios::binary | std::ios::trunc) << Utf16LeWithMark(text);
}

void ForgetLogger() { Tavro_KVO_Util::SingletonManager::Instance().DeleteAll(); }

Tavro_KVO_Util::Logger* FreshLogger(const RunDir& dir) {
  ForgetLogger();
  ::setenv("KVO_INSTALL_DIR", dir.path().c_str(), /*overwrite=*/1);
  return Tavro_KVO_Util::Logger::GetInstance();
}

std::string ReadBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

long CountUtf16Lines(const std::string& bytes) {
  long lines = 0;
  for (std::size_t at = 0; at + 3 < bytes.size(); at += 2) {
    if (bytes[at] == '\r' && bytes[at + 1] == '\0' && bytes[at + 2] == '\n' && bytes[at + 3] == '\0') ++lines;
  }
  return lines;
}

long CountAnsiLines(const std::string& bytes) {
  long lines = 0;
  for (std::size_t at = 0; at + 1 < bytes.size(); ++at) {
    if (bytes[at] == '\r' && bytes[at + 1] == '\n') ++lines;
  }
  return lines;
}

std::string ProgramPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

double TimeProcesses(int processes, const std::function<void()>& prepare, const std::function<bool()>& work) {
  int ready[2];
  int start[2];
  if (::pipe(ready) != 0) return -1;
  if (::pipe(start) != 0) {
    ::close(ready[0]);
    ::close(ready[1]);
    return -1;
  }
  std::vector<pid_t> children;
  for (int i = 0; i < processes; ++i) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::close(ready[0]);
      ::close(start[1]);
      prepare();
      const char byte = 'r';
      if (::write(ready[1], &byte, 1) != 1) ::_exit(2);
      // The parent closes its end to start everyone at once: the read then sees end of file.
      while (ReadOne(start[0])) {
      }
      ::_exit(work() ? 0 : 1);
    }
    if (pid < 0) break;
    children.push_back(pid);
  }
  ::close(ready[1]);
  ::close(start[0]);
  bool failed = static_cast<int>(children.size()) != processes;
  for (std::size_t i = 0; i < children.size() && !failed; ++i) failed = !ReadOne(ready[0]);
  const auto begin = std::chrono::steady_clock::now();
  ::close(start[1]);
  for (const pid_t child : children) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    failed = failed || !WIFEXITED(status) || WEXITSTATUS(status) != 0;
  }
  const auto end = std::chrono::steady_clock::now();
  ::close(ready[0]);
  if (failed) return -1;
  return std::chrono::duration<double>(end - begin).count();
}

}  // namespace logger_bench

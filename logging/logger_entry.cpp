// Logger: building an entry from the template and appending it under the machine-wide mutex.
#include <cstdint>
#include <cwchar>
#include <optional>
#include <string>

#include "Logger.h"
#include "config/text_decoding.h"
#include "logging/event_log_report.h"
#include "logging/hook_mutex.h"
#include "logging/log_levels.h"
#include "logging/log_stream.h"
#include "logging/logger_process_state.h"
#include "platform/event_log.h"
#include "platform/local_time.h"
#include "platform/process_info.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

constexpr unsigned kMutexWaitMilliseconds = 1000;
// Substituted values pass through buffers of 256 characters: at most 255 reach the entry.
constexpr std::size_t kValueLimit = 255;
constexpr std::size_t kMessageCountLimit = 10000;

const wchar_t* LevelName(int level) {
  switch (level) {
    case kLevelReport:
      return L"REPORT";
    case kLevelFatal:
      return L"FATAL";
    case kLevelError:
      return L"ERROR";
    case kLevelWarn:
      return L"WARN";
    case kLevelInfo:
      return L"INFO";
    case kLevelDebug:
      return L"DEBUG";
    default:
      return L"UNKNOWN";
  }
}

std::wstring Limited(const wchar_t* text, std::size_t limit) {
  if (text == nullptr) return std::wstring();
  std::size_t length = 0;
  while (length < limit && text[length] != L'\0') ++length;
  return std::wstring(text, length);
}

// Long messages lose their last character: a message of 256 to 10000 characters goes through a
// buffer of exactly its length with truncation, and longer ones are counted only to 10000.
// Support tools and old log readers expect exactly this text, so it is kept.
std::wstring MessageText(const wchar_t* message) {
  if (message == nullptr) return L" ";
  std::size_t length = 0;
  while (length < kMessageCountLimit && message[length] != L'\0') ++length;
  return std::wstring(message, length <= kValueLimit ? length : length - 1);
}

// Replaces the first occurrence of `token` in `text`, if any, with `value()`. The value is made
// only when the token is there: the session id ("%s", which most templates leave out) costs a
// system call per entry.
template <typename MakeValue>
void SubstituteFirst(std::wstring& text, const wchar_t* token, MakeValue value) {
  const std::size_t at = text.find(token);
  if (at != std::wstring::npos) text.replace(at, 2, value());
}

// The path of the main executable, remembered by each thread: it cannot change while the process
// runs, and looking it up for every entry cost about a tenth of a written entry on Linux. Per
// thread, so that no lock is needed (a lock another thread holds when the process forks stays
// held in the child); keyed by the process id, so that a forked child looks it up again. Failures
// and paths too long for the buffer are not kept but looked up with every entry, as before. On
// Linux a program whose file is renamed or deleted keeps the path it was started from, as Windows
// names the module it loaded. Plain data: a thread-local destructor in a library that may be
// unloaded before its threads end is not safe on every platform.
constexpr std::size_t kProcessNameCapacity = 261;

struct RememberedProcessPath {
  bool valid;
  std::uint32_t process;
  std::size_t length;
  wchar_t path[kProcessNameCapacity];
};

thread_local RememberedProcessPath tProcessPath{};

}  // namespace

void Logger::ProcessPathByPID(wchar_t* buffer, unsigned long size) const {
  if (buffer == nullptr || size == 0) return;
  const std::uint32_t process = platform::CurrentProcessId();
  RememberedProcessPath& remembered = tProcessPath;
  std::wstring name;
  if (remembered.valid && remembered.process == process) {
    name.assign(remembered.path, remembered.length);
  } else {
    std::wstring path;
    switch (platform::CurrentProcessPath(path)) {
      case platform::ProcessPathResult::kFound:
        name = path;
        if (path.size() < kProcessNameCapacity) {
          path.copy(remembered.path, path.size());
          remembered.length = path.size();
          remembered.process = process;
          remembered.valid = true;
        }
        break;
      case platform::ProcessPathResult::kNotOpened:
        name = L"Undefined Process";
        break;
      case platform::ProcessPathResult::kModuleUnknown:
        name = L"System";
        break;
    }
  }
  const std::size_t length = std::min<std::size_t>(name.size(), size - 1);
  name.copy(buffer, length);
  buffer[length] = L'\0';
}

void Logger::ConstructLogEntry(std::wstring& entry, const wchar_t* area, int level, const wchar_t* message,
                               const wchar_t* data, const wchar_t* file, int line, const wchar_t* processName,
                               const wchar_t* threadId) const {
  // The time is read once, when the first of its three tokens is met, so that time, date and zone
  // always belong together.
  std::optional<platform::LocalTimeTexts> now;
  const auto time = [&now]() -> const platform::LocalTimeTexts& {
    if (!now) now = platform::CurrentLocalTimeTexts();
    return *now;
  };

  // Each token is replaced at its first occurrence only, in this order, over the growing text:
  // a "%L" or "%s" inside the message is replaced too. Old log readers rely on both; keep them.
  std::wstring text = FormatString;
  SubstituteFirst(text, L"%p", [] { return std::to_wstring(platform::CurrentProcessId()); });
  SubstituteFirst(text, L"%t", [&] { return Limited(threadId, kValueLimit); });
  SubstituteFirst(text, L"%P", [&] { return Limited(processName, kValueLimit); });
  SubstituteFirst(text, L"%T", [&] { return Limited(time().time.c_str(), 100); });
  SubstituteFirst(text, L"%D", [&] { return Limited(time().date.c_str(), 100); });
  SubstituteFirst(text, L"%Z", [&] { return Limited(time().zone.c_str(), 100); });
  SubstituteFirst(text, L"%f",
                  [&] { return file != nullptr ? Limited(file, kValueLimit) : std::wstring(L" "); });
  SubstituteFirst(text, L"%l", [&] { return std::to_wstring(line); });
  SubstituteFirst(text, L"%A", [&] { return Limited(area, kValueLimit); });
  SubstituteFirst(text, L"%%", [] { return std::wstring(L"%%"); });
  SubstituteFirst(text, L"%m", [&] { return MessageText(message); });
  SubstituteFirst(text, L"%L", [&] { return std::wstring(1, LevelName(level)[0]); });
  SubstituteFirst(text, L"%s", [] {
    std::uint32_t session = 0;
    return platform::CurrentSessionId(session) ? std::to_wstring(session) : std::wstring();
  });

  entry += text;
  if (data != nullptr) {
    entry += L";DATA#";
    entry += data;
  }
}

void Logger::WriteToLog(const wchar_t* area, int level, const wchar_t* message, const wchar_t* data,
                        const wchar_t* file, int line) {
  const bool loggable = IsThisLevelLoggable(area, level);
  if (!loggable && !(level <= kLevelError && WriteErrorsToEventLog)) return;

  wchar_t processName[261];
  ProcessPathByPID(processName, 261);
  const std::wstring threadId = std::to_wstring(platform::CurrentThreadId());
  std::wstring entry;
  ConstructLogEntry(entry, area, level, message, data, file, line, processName, threadId.c_str());

  // The event-log copy does not depend on the file threshold.
  if ((level == kLevelFatal || level == kLevelError) && WriteErrorsToEventLog && SysDefaultLevel >= level) {
    ReportToEventLog(entry.c_str(), platform::kEventError);
  }
  if (!loggable) return;

  platform::NamedMutex& mutex = HookMutex::Instance().Mutex();
  if (!mutex.IsValid()) return;  // without the mutex nothing is written to the file
  switch (mutex.Wait(kMutexWaitMilliseconds)) {
    case platform::WaitResult::kAcquired:
      Log_Info(entry.c_str());
      mutex.Release();
      break;
    case platform::WaitResult::kTimedOut:
      ReportToEventLog(L"Timeout waiting for lock release waiting to log, the entry will not be logged",
                       platform::kEventError);
      break;
    case platform::WaitResult::kAbandoned:
    case platform::WaitResult::kFailed:
      // Also an abandoned mutex, now ours, is left unreleased and the entry dropped: the product
      // has always done so, and support tools know the message.
      ReportToEventLog(L"Error other than timeout waiting for logging lock to release",
                       platform::kEventError);
      break;
  }
}

void Logger::Log_Info(const wchar_t* entry) {
  const wchar_t* path = GetLogFileName();
  if (path == nullptr) return;  // nothing is to be written now (for example, low disk space)
  platform::LogFile file = logfilehandle(path, LOG_FILE_APPEND);
  if (!file.IsOpen()) {
    // With the report in logfilehandle, the first failure reaches the event log twice (kept).
    ReportOnce(ProcessState().openErrorReportedByWrite, L"Error opening log file");
    return;
  }
  std::string bytes;
  // Two bytes a character and the line end; characters beyond 16 bits (Linux) only grow it again.
  bytes.reserve(2 * (std::wcslen(entry) + 2));
  AppendUtf16Le(bytes, entry);
  AppendUtf16Le(bytes, L"\r\n");
  file.Append(bytes);
}

}  // namespace Tavro_KVO_Util

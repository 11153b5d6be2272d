// Logger: building an entry from the template and appending it under the machine-wide mutex.
#include <algorithm>
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
#include "logging/logger_settings.h"
#include "logging/torn_line.h"
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
constexpr wchar_t kWriterDiedHoldingTheLock[] =
    L"A process died while it held the logging lock; the lock was taken over, a torn last line was cut "
    L"back to the last whole entry, and logging goes on";

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

// A piece of text substituted into an entry, pointing into storage that outlives the substitution:
// entries are built without a heap allocation per token.
struct Piece {
  const wchar_t* data;
  std::size_t size;
};

Piece Limited(const wchar_t* text, std::size_t limit) {
  if (text == nullptr) return {L"", 0};
  std::size_t length = 0;
  while (length < limit && text[length] != L'\0') ++length;
  return {text, length};
}

Piece Limited(const std::wstring& text, std::size_t limit) {
  return {text.data(), std::min(text.size(), limit)};
}

// Long messages lose their last character: a message of 256 to 10000 characters goes through a
// buffer of exactly its length with truncation, and longer ones are counted only to 10000.
// Support tools and old log readers expect exactly this text, so it is kept.
Piece MessageText(const wchar_t* message) {
  if (message == nullptr) return {L" ", 1};
  std::size_t length = 0;
  while (length < kMessageCountLimit && message[length] != L'\0') ++length;
  return {message, length <= kValueLimit ? length : length - 1};
}

// A number in decimal, held in place.
class Decimal {
 public:
  Piece Of(long long value) {
    // Written from the end; the magnitude as unsigned, so that the most negative value works too.
    unsigned long long magnitude =
        value < 0 ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    wchar_t* at = mDigits + kCapacity;
    do {
      *--at = static_cast<wchar_t>(L'0' + magnitude % 10);
      magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) *--at = L'-';
    return {at, static_cast<std::size_t>(mDigits + kCapacity - at)};
  }

 private:
  static constexpr std::size_t kCapacity = 24;
  wchar_t mDigits[kCapacity] = {};
};

// Replaces the first occurrence of `token` in `text`, if any, with `value()`. The value is made
// only when the token is there: the session id ("%s", which most templates leave out) costs a
// system call per entry.
template <typename MakeValue>
void SubstituteFirst(std::wstring& text, const wchar_t (&token)[3], MakeValue value) {
  // Every token is a percent sign and one more character: look only at the percent signs.
  const wchar_t* const begin = text.data();
  const wchar_t* const end = begin + text.size();
  const wchar_t* at = begin;
  while ((at = std::wmemchr(at, token[0], static_cast<std::size_t>(end - at))) != nullptr) {
    if (at + 1 < end && at[1] == token[1]) break;
    ++at;
  }
  if (at == nullptr) return;
  const Piece piece = value();
  text.replace(static_cast<std::size_t>(at - begin), 2, piece.data, piece.size);
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

// Gives back one level of the log mutex when it goes out of scope.
class MutexRelease {
 public:
  explicit MutexRelease(platform::NamedMutex& mutex) : mMutex(mutex) {}
  ~MutexRelease() { mMutex.Release(); }
  MutexRelease(const MutexRelease&) = delete;
  MutexRelease& operator=(const MutexRelease&) = delete;

 private:
  platform::NamedMutex& mMutex;
};

}  // namespace

void Logger::ProcessPathByPID(wchar_t* buffer, unsigned long size) const {
  if (buffer == nullptr || size == 0) return;
  const std::uint32_t process = platform::CurrentProcessId();
  RememberedProcessPath& remembered = tProcessPath;
  if (remembered.valid && remembered.process == process) {
    const std::size_t length = std::min<std::size_t>(remembered.length, size - 1);
    std::copy(remembered.path, remembered.path + length, buffer);
    buffer[length] = L'\0';
    return;
  }
  std::wstring name;
  {
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
  ConstructLogEntry(entry, *CurrentSettings(), area, level, message, data, file, line, processName, threadId);
}

void Logger::ConstructLogEntry(std::wstring& entry, const Settings& settings, const wchar_t* area, int level,
                               const wchar_t* message, const wchar_t* data, const wchar_t* file, int line,
                               const wchar_t* processName, const wchar_t* threadId) const {
  // The time is read once, when the first of its three tokens is met, so that time, date and zone
  // always belong together.
  std::optional<platform::LocalTimeTexts> now;
  const auto time = [&now]() -> const platform::LocalTimeTexts& {
    if (!now) now = platform::CurrentLocalTimeTexts();
    return *now;
  };

  // Each token is replaced at its first occurrence only, in this order, over the growing text:
  // a "%L" or "%s" inside the message is replaced too. Old log readers rely on both; keep them.
  const Piece messageText = MessageText(message);
  std::wstring text;
  // Room for the values of a usual entry, so that the substitutions below rarely reallocate.
  text.reserve(settings.FormatString.size() + messageText.size + 2 * (kValueLimit + 1));
  text = settings.FormatString;
  Decimal number;
  const wchar_t levelLetter[1] = {LevelName(level)[0]};
  SubstituteFirst(text, L"%p", [&] { return number.Of(platform::CurrentProcessId()); });
  SubstituteFirst(text, L"%t", [&] { return Limited(threadId, kValueLimit); });
  SubstituteFirst(text, L"%P", [&] { return Limited(processName, kValueLimit); });
  SubstituteFirst(text, L"%T", [&] { return Limited(time().time, 100); });
  SubstituteFirst(text, L"%D", [&] { return Limited(time().date, 100); });
  SubstituteFirst(text, L"%Z", [&] { return Limited(time().zone, 100); });
  SubstituteFirst(text, L"%f", [&] { return file != nullptr ? Limited(file, kValueLimit) : Piece{L" ", 1}; });
  SubstituteFirst(text, L"%l", [&] { return number.Of(line); });
  SubstituteFirst(text, L"%A", [&] { return Limited(area, kValueLimit); });
  SubstituteFirst(text, L"%%", [] { return Piece{L"%%", 2}; });
  SubstituteFirst(text, L"%m", [&] { return messageText; });
  SubstituteFirst(text, L"%L", [&] { return Piece{levelLetter, 1}; });
  SubstituteFirst(text, L"%s", [&] {
    std::uint32_t session = 0;
    return platform::CurrentSessionId(session) ? number.Of(session) : Piece{L"", 0};
  });

  if (entry.empty()) {
    entry.swap(text);
  } else {
    entry += text;
  }
  if (data != nullptr) {
    entry += L";DATA#";
    entry += data;
  }
}

void Logger::WriteToLog(const wchar_t* area, int level, const wchar_t* message, const wchar_t* data,
                        const wchar_t* file, int line) {
  const bool loggable = IsThisLevelLoggable(area, level);
  // The whole entry, file placement included, works from this one copy of the settings.
  const SettingsView settings = CurrentSettings();
  if (!loggable && !(level <= kLevelError && settings->WriteErrorsToEventLog)) return;

  wchar_t processName[261];
  ProcessPathByPID(processName, 261);
  wchar_t threadId[24];
  Decimal threadNumber;
  const Piece threadDigits = threadNumber.Of(platform::CurrentThreadId());
  std::copy(threadDigits.data, threadDigits.data + threadDigits.size, threadId);
  threadId[threadDigits.size] = L'\0';
  std::wstring entry;
  ConstructLogEntry(entry, *settings, area, level, message, data, file, line, processName, threadId);

  // The event-log copy does not depend on the file threshold.
  if ((level == kLevelFatal || level == kLevelError) && settings->WriteErrorsToEventLog &&
      settings->SysDefaultLevel >= level) {
    ReportToEventLog(entry.c_str(), platform::kEventError);
  }
  if (!loggable) return;

  platform::NamedMutex& mutex = HookMutex::Instance().Mutex();
  if (!mutex.IsValid()) return;  // without the mutex nothing is written to the file
  switch (mutex.Wait(kMutexWaitMilliseconds)) {
    case platform::WaitResult::kAcquired: {
      // Released on every way out, also when memory runs out while the entry is written (the
      // entry point catches that): a mutex kept would stall every writer on the machine.
      const MutexRelease release(mutex);
      Log_Info(entry.c_str(), *settings);
      break;
    }
    case platform::WaitResult::kTimedOut:
      ReportToEventLog(L"Timeout waiting for lock release waiting to log, the entry will not be logged",
                       platform::kEventError);
      break;
    case platform::WaitResult::kAbandoned:
      if (mSafeProfileFromEnvironment || settings->SafeProfile) {
        // The safe profile takes the lock over: mend, write, report (inside the lock, which
        // guards the report-once flags) and give it back, so that other writers go on.
        const MutexRelease release(mutex);
        Log_InfoAfterMending(entry.c_str(), *settings);
        ReportOnce(ProcessState().abandonedLockReported, kWriterDiedHoldingTheLock);
        break;
      }
      [[fallthrough]];
    case platform::WaitResult::kFailed:
      // Also an abandoned mutex, now ours, is left unreleased and the entry dropped: the product
      // has always done so, and support tools know the message.
      ReportToEventLog(L"Error other than timeout waiting for logging lock to release",
                       platform::kEventError);
      break;
  }
}

void Logger::Log_Info(const wchar_t* entry) { Log_Info(entry, *CurrentSettings()); }

void Logger::Log_Info(const wchar_t* entry, const Settings& settings) { AppendEntry(entry, settings, false); }

void Logger::Log_InfoAfterMending(const wchar_t* entry, const Settings& settings) {
  AppendEntry(entry, settings, true);
}

void Logger::AppendEntry(const wchar_t* entry, const Settings& settings, bool mendFirst) {
  const wchar_t* path = GetLogFileName(settings);
  if (path == nullptr) return;  // nothing is to be written now (for example, low disk space)
  platform::LogFile file = logfilehandle(
      path, LOG_FILE_APPEND,
      mendFirst ? platform::LogFileUse::kAppendAfterMending : platform::LogFileUse::kAppend, settings.Access);
  // A file that cannot be mended still gets the entry, joined to the torn line: a lost entry
  // would be worse.
  if (mendFirst && file.IsOpen()) CutTornLastLine(file);
  if (!file.IsOpen()) {
    // With the report in logfilehandle, the first failure reaches the event log twice (kept).
    ReportOnce(ProcessState().openErrorReportedByWrite, L"Error opening log file");
    return;
  }
  std::string bytes;
  const std::size_t length = std::wcslen(entry);
  // Two bytes a character and the line end; characters beyond 16 bits (Linux) only grow it again.
  bytes.reserve(2 * (length + 2));
  AppendUtf16Le(bytes, entry, length);
  AppendUtf16Le(bytes, L"\r\n", 2);
  if (!file.Append(bytes)) {
    // The append takes a partial line back, so the file stays as it was; once per process, or a
    // full disk would flood the event log with one report per entry.
    ReportOnce(ProcessState().writeErrorReported, L"Error writing to log file, the entry will not be logged");
  }
}

}  // namespace Tavro_KVO_Util

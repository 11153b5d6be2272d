// Logger: the public entry points, printf-style formatting and MV_LogFmt.
//
// Every entry point runs its work through DropEntryWhenOutOfMemory: when memory runs out anywhere
// in writing an entry, the entry is dropped and the event log told, because nothing but
// OsAutoLock's "Auto lock failed." may leave the library.
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "Logger.h"
#include "logging/log_levels.h"
#include "logging/logger_internals.h"
#include "logging/logger_process_state.h"
#include "logging/wide_format.h"
#include "platform/string_resource.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

constexpr std::size_t kFormatLimit = 10000;
constexpr std::size_t kFormatGrowth = 1024;
constexpr int kResourceGrowth = 512;
// Support tools search for these texts; keep them exact.
constexpr wchar_t kTooLarge[] = L"LogFmtVA() failed, String too large.";
constexpr wchar_t kResourceTooLarge[] = L"LogFmt() failed, String too large";
constexpr wchar_t kLoadStringFailed[] = L"LoadString %d failed, Error %ld).";
constexpr wchar_t kResourceModule[] = L"TavroMedivaneSDK.dll";
// Support tools search the event log for this text; keep it exact.
constexpr wchar_t kOutOfMemory[] = L"Out of memory while logging, the entry will not be logged";

// Once in the life of the process, like the logger's other failures. The once-flag is otherwise
// touched only inside the log mutex, which an entry may not hold here: the exchange lets one
// thread at a time near it, and a thread that finds another reporting has nothing left to add.
void ReportOutOfMemory() noexcept {
  static std::atomic<bool> reporting{false};
  if (reporting.exchange(true, std::memory_order_acquire)) return;
  try {
    ReportOnce(ProcessState().outOfMemoryReported, kOutOfMemory);
  } catch (const std::exception&) {
    // The report needs memory too; without it the entry is dropped unreported.
  }
  reporting.store(false, std::memory_order_release);
}

// Runs the work of one entry point. std::length_error is a request beyond what a string can
// hold, memory running out by another name. OsAutoLock's std::runtime_error passes on: it is
// the one exception the library documents.
template <typename Work>
void DropEntryWhenOutOfMemory(Work&& work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    ReportOutOfMemory();
  } catch (const std::length_error&) {
    ReportOutOfMemory();
  }
}

// FormatWideInto with the arguments given directly.
bool FormatLimited(std::wstring& text, std::size_t limit, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const bool formatted = FormatWideInto(text, format, args, limit);
  va_end(args);
  return formatted;
}

// Loads format string `formatId` of the resource module into `buffer`, growing it for long
// strings. A failure is logged in the entry's place, at level 2, and gives false.
bool LoadFormat(Logger& logger, const wchar_t* area, const wchar_t* file, int line, int formatId,
                std::vector<wchar_t>& buffer) {
  buffer.assign(kResourceGrowth, L'\0');
  for (;;) {
    unsigned long error = 0;
    const int copied = platform::LoadModuleString(kResourceModule, formatId, buffer.data(),
                                                  static_cast<int>(buffer.size()), error);
    if (copied == 0) {
      logger.LogFmt(area, kLevelError, file, line, kLoadStringFailed, formatId, static_cast<long>(error));
      return false;
    }
    if (static_cast<std::size_t>(copied) < buffer.size()) {
      buffer[static_cast<std::size_t>(copied)] = L'\0';
      return true;
    }
    // A string that fills the buffer may have been cut: try again with more room.
    buffer.resize(buffer.size() + kResourceGrowth);
    if (buffer.size() > kFormatLimit) {
      logger.LogFmt(area, kLevelError, file, line, kResourceTooLarge);
      return false;
    }
  }
}

// UTF-16 code units from `unsigned short` callers, one wide character each.
std::wstring FromUtf16Units(const unsigned short* text) {
  std::wstring wide;
  if (text == nullptr) return wide;
  for (const unsigned short* p = text; *p != 0; ++p) wide.push_back(static_cast<wchar_t>(*p));
  return wide;
}

const wchar_t* OrNull(const unsigned short* original, const std::wstring& converted) {
  return original == nullptr ? nullptr : converted.c_str();
}

}  // namespace

void Logger::Log(const wchar_t* area, int level, const wchar_t* message, const wchar_t* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    WriteToLog(area, level, message, nullptr, file, line);
  });
}

void Logger::LogLong(const wchar_t* area, int level, const wchar_t* message, long value, const wchar_t* file,
                     int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    WriteToLog(area, level, message, std::to_wstring(value).c_str(), file, line);
  });
}

void Logger::LogUnsignedLong(const wchar_t* area, int level, const wchar_t* message, unsigned long value,
                             const wchar_t* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    WriteToLog(area, level, message, std::to_wstring(value).c_str(), file, line);
  });
}

void Logger::LogDouble(const wchar_t* area, int level, const wchar_t* message, double value,
                       const wchar_t* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    constexpr std::size_t kValueLength = 349;  // the value's buffer holds 350 characters
    std::wstring text;
    if (!FormatLimited(text, kValueLength, L"%f", value)) {
      ReportOutOfMemory();
      return;
    }
    if (text.size() > kValueLength) text.resize(kValueLength);
    WriteToLog(area, level, message, text.c_str(), file, line);
  });
}

void Logger::LogString(const wchar_t* area, int level, const wchar_t* message, const wchar_t* value,
                       const wchar_t* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    WriteToLog(area, level, message, value, file, line);
  });
}

void Logger::LogBuffer(const wchar_t* area, int level, const wchar_t* message, const void* buffer, int length,
                       const wchar_t* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    if (length < 1) return;
    std::wstring dump;
    if (buffer != nullptr) {
      static constexpr wchar_t kHex[] = L"0123456789abcdef";
      const auto* bytes = static_cast<const unsigned char*>(buffer);
      // Gigabytes for a length near INT_MAX: should they not be there, nothing has been read yet.
      dump.reserve(static_cast<std::size_t>(length) * 3);
      for (int i = 0; i < length; ++i) {
        dump.push_back(kHex[bytes[i] >> 4]);
        dump.push_back(kHex[bytes[i] & 0x0F]);
        dump.push_back(L' ');
      }
    }
    WriteToLog(area, level, message, dump.c_str(), file, line);
  });
}

void Logger::Log(const unsigned short* area, int level, const unsigned short* message,
                 const unsigned short* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    const std::wstring wideArea = FromUtf16Units(area);
    const std::wstring wideMessage = FromUtf16Units(message);
    const std::wstring wideFile = FromUtf16Units(file);
    Log(OrNull(area, wideArea), level, OrNull(message, wideMessage), OrNull(file, wideFile), line);
  });
}

void Logger::LogLong(const unsigned short* area, int level, const unsigned short* message, long value,
                     const unsigned short* file, int line) {
  DropEntryWhenOutOfMemory([&] {
    const std::wstring wideArea = FromUtf16Units(area);
    const std::wstring wideMessage = FromUtf16Units(message);
    const std::wstring wideFile = FromUtf16Units(file);
    LogLong(OrNull(area, wideArea), level, OrNull(message, wideMessage), value, OrNull(file, wideFile), line);
  });
}

void Logger::LogFmt(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                    ...) {
  va_list args;
  va_start(args, format);
  DropEntryWhenOutOfMemory([&] {
    if (IsThisLevelLoggable(area, level)) LogFmtVA(area, level, file, line, format, args);
  });
  va_end(args);
}

void Logger::LogFmt(const wchar_t* area, int level, const wchar_t* file, int line, int formatId, ...) {
  va_list args;
  va_start(args, formatId);
  DropEntryWhenOutOfMemory([&] {
    if (!IsThisLevelLoggable(area, level)) return;
    std::vector<wchar_t> format;
    if (LoadFormat(*this, area, file, line, formatId, format)) {
      LogFmtVA(area, level, file, line, format.data(), args);
    }
  });
  va_end(args);
}

// Callers reach this through an entry point or LoggerInternals, both of which drop the entry when
// memory runs out.
void Logger::LogFmtVA(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                      va_list args) {
  std::size_t formatLength = 0;
  while (format != nullptr && formatLength < kFormatLimit && format[formatLength] != L'\0') ++formatLength;
  // Formatting stops just past the limit: anything longer is "too large" below whatever its length.
  std::wstring text;
  if (!FormatWideInto(text, format, args, kFormatLimit)) {
    ReportOutOfMemory();
    return;
  }
  // The text is accepted when it fits a buffer that starts at the format's length plus 1024 and
  // grows by 1024 up to 10000 characters, leaving room for the terminator. An empty text never
  // counts as written, so it too ends as "too large" (kept: support knows it that way).
  std::size_t size = formatLength + kFormatGrowth;
  for (;;) {
    if (!text.empty() && text.size() < size) {
      WriteToLog(area, level, text.c_str(), nullptr, file, line);
      return;
    }
    size += kFormatGrowth;
    if (size > kFormatLimit) {
      LogFmt(area, kLevelError, file, line, kTooLarge);
      return;
    }
  }
}

void LoggerInternals::LogFmtVA(Logger& logger, const wchar_t* area, int level, const wchar_t* file, int line,
                               const wchar_t* format, va_list args) {
  DropEntryWhenOutOfMemory([&] { logger.LogFmtVA(area, level, file, line, format, args); });
}

}  // namespace Tavro_KVO_Util

extern "C" void MV_LogFmt(const wchar_t* area, int level, const wchar_t* file, int line,
                          const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  // Making the logger reads its settings, which may run out of memory as well.
  Tavro_KVO_Util::DropEntryWhenOutOfMemory([&] {
    Tavro_KVO_Util::Logger* logger = Tavro_KVO_Util::Logger::GetInstance();
    if (logger == nullptr || !logger->IsThisLevelLoggable(area, level)) return;
    Tavro_KVO_Util::LoggerInternals::LogFmtVA(*logger, area, level, file, line, format, args);
  });
  va_end(args);
}

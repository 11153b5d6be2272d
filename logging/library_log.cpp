#include "logging/library_log.h"

#include <atomic>

#include "Logger.h"
#include "logging/logger_internals.h"
#include "logging/wide_format.h"

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<ReportRecorderForTesting*> gRecorder{nullptr};

}  // namespace

void ReportToLogger(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                    va_list args) {
  if (ReportRecorderForTesting* recorder = gRecorder.load(std::memory_order_acquire)) {
    // Tests see every report, formatted, and the log file stays out of it.
    va_list copy;
    va_copy(copy, args);
    recorder->Record({area ? area : L"", level, file ? file : L"", line, FormatWide(format, copy)});
    va_end(copy);
    return;
  }
  Logger* logger = Logger::GetInstance();
  if (logger == nullptr || !logger->IsThisLevelLoggable(area, level)) return;
  LoggerInternals::LogFmtVA(*logger, area, level, file, line, format, args);
}

ReportRecorderForTesting::ReportRecorderForTesting(bool keep)
    : mPrevious(gRecorder.exchange(this, std::memory_order_acq_rel)), mKeep(keep) {}

// Recorders nest: the one made last records until it goes, then the one before takes over.
ReportRecorderForTesting::~ReportRecorderForTesting() {
  gRecorder.store(mPrevious, std::memory_order_release);
}

void ReportRecorderForTesting::Record(ReportedEntry entry) {
  if (!mKeep) return;
  std::lock_guard<std::mutex> hold(mMutex);
  mEntries.push_back(std::move(entry));
}

std::vector<ReportedEntry> ReportRecorderForTesting::Entries() const {
  std::lock_guard<std::mutex> hold(mMutex);
  return mEntries;
}

std::vector<std::wstring> ReportRecorderForTesting::Messages() const {
  std::vector<std::wstring> messages;
  for (const auto& entry : Entries()) messages.push_back(entry.message);
  return messages;
}

std::vector<std::wstring> ReportRecorderForTesting::Messages(int level) const {
  std::vector<std::wstring> messages;
  for (const auto& entry : Entries()) {
    if (entry.level == level) messages.push_back(entry.message);
  }
  return messages;
}

void ReportRecorderForTesting::Clear() {
  std::lock_guard<std::mutex> hold(mMutex);
  mEntries.clear();
}

}  // namespace Tavro_KVO_Util::internal

#include "logging/library_log.h"

#include <atomic>

#include "logging/wide_format.h"

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<ReportRecorderForTesting*> gRecorder{nullptr};

}  // namespace

void ReportToLogger(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                    va_list args) {
  ReportRecorderForTesting* recorder = gRecorder.load(std::memory_order_acquire);
  if (recorder == nullptr) return;  // no Logger in this build yet: the report is skipped
  va_list copy;
  va_copy(copy, args);
  recorder->Record({area ? area : L"", level, file ? file : L"", line, FormatWide(format, copy)});
  va_end(copy);
}

ReportRecorderForTesting::ReportRecorderForTesting() { gRecorder.store(this, std::memory_order_release); }

ReportRecorderForTesting::~ReportRecorderForTesting() {
  ReportRecorderForTesting* expected = this;
  gRecorder.compare_exchange_strong(expected, nullptr);
}

void ReportRecorderForTesting::Record(ReportedEntry entry) {
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

#include "logging/event_log_report.h"

#include <atomic>

#include "config/safe_profile.h"
#include "platform/event_log.h"

namespace Tavro_KVO_Util {
namespace {

// The source the product's support tools filter the event log on; keep it exact.
constexpr wchar_t kEventSource[] = L"Tavro(R) Korvina";

std::atomic<internal::EventLogRecorderForTesting*> gRecorder{nullptr};

}  // namespace

CXEventLog::CXEventLog() : mSourceName(kEventSource) {}

CXEventLog::~CXEventLog() = default;

void CXEventLog::Report(const wchar_t* message, unsigned short eventType) {
  if (message == nullptr) return;
  if (internal::EventLogRecorderForTesting* recorder = gRecorder.load(std::memory_order_acquire)) {
    recorder->Record({message, eventType});
    return;
  }
  platform::ReportEvent(mSourceName, message, eventType,
                        internal::SafeProfileActive() ? platform::SourceRegistration::kOncePerProcess
                                                      : platform::SourceRegistration::kBeforeEveryReport);
}

void ReportToEventLog(const wchar_t* message, unsigned short eventType) {
  CXEventLog eventLog;
  eventLog.Report(message, eventType);
}

namespace internal {

EventLogRecorderForTesting::EventLogRecorderForTesting()
    : mPrevious(gRecorder.exchange(this, std::memory_order_acq_rel)) {}

// Recorders nest: the one made last records until it goes, then the one before takes over.
EventLogRecorderForTesting::~EventLogRecorderForTesting() {
  gRecorder.store(mPrevious, std::memory_order_release);
}

std::vector<EventLogRecord> EventLogRecorderForTesting::Records() const {
  std::lock_guard<std::mutex> hold(mMutex);
  return mRecords;
}

std::vector<std::wstring> EventLogRecorderForTesting::Messages() const {
  std::vector<std::wstring> messages;
  for (const auto& record : Records()) messages.push_back(record.message);
  return messages;
}

void EventLogRecorderForTesting::Clear() {
  std::lock_guard<std::mutex> hold(mMutex);
  mRecords.clear();
}

void EventLogRecorderForTesting::Record(EventLogRecord record) {
  std::lock_guard<std::mutex> hold(mMutex);
  mRecords.push_back(std::move(record));
}

}  // namespace internal
}  // namespace Tavro_KVO_Util

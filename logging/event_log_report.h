// The logger's own failures go to the system event log under the product's source name.
#ifndef TAVROMEDIVANEUTIL_LOGGING_EVENT_LOG_REPORT_H
#define TAVROMEDIVANEUTIL_LOGGING_EVENT_LOG_REPORT_H

#include <mutex>
#include <string>
#include <vector>

namespace Tavro_KVO_Util {

// Writes one record with the source "Tavro(R) Korvina". Event types: 1 error, 2 warning,
// 4 information. Never fails visibly.
void ReportToEventLog(const wchar_t* message, unsigned short eventType);

// Owns the event source for one report (the platform service registers and releases it).
class CXEventLog {
 public:
  CXEventLog();
  virtual ~CXEventLog();
  CXEventLog(const CXEventLog&) = delete;
  CXEventLog& operator=(const CXEventLog&) = delete;

  void Report(const wchar_t* message, unsigned short eventType);

 private:
  std::wstring mSourceName;
};

namespace internal {

struct EventLogRecord {
  std::wstring message;
  unsigned short eventType;
};

// Test seam: while an object of this class lives, reports are recorded here instead of going to
// the system's event log. Recorders nest (the newest records).
class EventLogRecorderForTesting {
 public:
  EventLogRecorderForTesting();
  ~EventLogRecorderForTesting();
  EventLogRecorderForTesting(const EventLogRecorderForTesting&) = delete;
  EventLogRecorderForTesting& operator=(const EventLogRecorderForTesting&) = delete;

  std::vector<EventLogRecord> Records() const;
  std::vector<std::wstring> Messages() const;
  void Clear();
  void Record(EventLogRecord record);

 private:
  EventLogRecorderForTesting* mPrevious;
  mutable std::mutex mMutex;
  std::vector<EventLogRecord> mRecords;
};

}  // namespace internal
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_EVENT_LOG_REPORT_H

// The logger's event-log reports as one text, for tests that compare them across processes or
// want the whole sequence (types included) in one failure message.
#ifndef TAVROMEDIVANEUTIL_TESTS_LOGGING_EVENT_TEXTS_H
#define TAVROMEDIVANEUTIL_TESTS_LOGGING_EVENT_TEXTS_H

#include <string>
#include <vector>

#include "logging/event_log_report.h"

namespace Tavro_KVO_Util::testing {

// One line per report: "<event type> <message>\n" (1 error, 4 information). The logger's own
// texts are ASCII; anything else shows as '?'.
inline std::string EventsText(const std::vector<internal::EventLogRecord>& records) {
  std::string text;
  for (const internal::EventLogRecord& record : records) {
    text += std::to_string(record.eventType) + " ";
    for (const wchar_t c : record.message) text += c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?';
    text += "\n";
  }
  return text;
}

// The expected side of EventsText: error reports (type 1) with these messages, in order.
inline std::string ErrorsText(const std::vector<std::string>& messages) {
  std::string text;
  for (const std::string& message : messages) text += "1 " + message + "\n";
  return text;
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_LOGGING_EVENT_TEXTS_H

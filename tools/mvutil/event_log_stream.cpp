#include "event_log_stream.h"

#include <utility>

#include "platform/service_host.h"
#include "platform/utf8.h"

namespace mvutil {

EventLogLineBuffer::EventLogLineBuffer(std::wstring source, unsigned short eventType)
    : mSource(std::move(source)), mEventType(eventType) {}

EventLogLineBuffer::~EventLogLineBuffer() { Flush(); }

EventLogLineBuffer::int_type EventLogLineBuffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  if (traits_type::to_char_type(character) == '\n') {
    Flush();
  } else {
    mLine.push_back(traits_type::to_char_type(character));
  }
  return character;
}

int EventLogLineBuffer::sync() { return 0; }

void EventLogLineBuffer::Flush() {
  if (mLine.empty()) return;
  Tavro_KVO_Util::platform::ReportServiceEvent(mSource, Tavro_KVO_Util::platform::Utf8ToWide(mLine),
                                               mEventType);
  mLine.clear();
}

EventLogStream::EventLogStream(std::wstring source, unsigned short eventType)
    : std::ostream(&mBuffer), mBuffer(std::move(source), eventType) {}

}  // namespace mvutil

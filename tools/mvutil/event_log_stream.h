// An output stream whose every line becomes one record in the event log, so that the shipper,
// which reports on a stream, reports to the event log when it runs as a service (a service has no
// console to write to).
#ifndef MVUTIL_EVENT_LOG_STREAM_H
#define MVUTIL_EVENT_LOG_STREAM_H

#include <ostream>
#include <streambuf>
#include <string>

namespace mvutil {

class EventLogLineBuffer : public std::streambuf {
 public:
  EventLogLineBuffer(std::wstring source, unsigned short eventType);
  ~EventLogLineBuffer() override;

 protected:
  int_type overflow(int_type character) override;
  int sync() override;

 private:
  // Reports the collected line, if any. A record the system refuses is dropped: the service has
  // nowhere else to say it.
  void Flush();

  std::wstring mSource;
  unsigned short mEventType;
  std::string mLine;  // UTF-8, as the shipper writes
};

// Lines written to it go to the Application event log under `source` with `eventType`
// (platform/event_log.h numbers them); a partial line goes when the stream is destroyed.
class EventLogStream : public std::ostream {
 public:
  EventLogStream(std::wstring source, unsigned short eventType);

 private:
  EventLogLineBuffer mBuffer;
};

}  // namespace mvutil

#endif  // MVUTIL_EVENT_LOG_STREAM_H

// Platform service: an open, ordered, reliable stream of bytes to one peer, with a deadline on
// every call: plain TCP (TcpConnection) or TLS over it (TlsConnection). The log shipper's
// collector links speak RELP or syslog over either without knowing which.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_BYTE_STREAM_H
#define TAVROMEDIVANEUTIL_PLATFORM_BYTE_STREAM_H

#include <cstddef>
#include <string>
#include <string_view>

namespace Tavro_KVO_Util::platform {

class ByteStream {
 public:
  enum class ReceiveResult {
    kData,     // bytes were appended
    kTimeout,  // nothing arrived in time; the stream is still open
    kClosed,   // the peer closed the stream; it is closed here too
    kFailed,   // the stream broke; it is closed here too
  };

  virtual ~ByteStream() = default;

  virtual bool IsOpen() const = 0;

  // Sends every byte, waiting at most `timeoutMilliseconds` for room. False with `why` when the
  // stream broke or stayed full; it is then closed.
  virtual bool SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) = 0;

  // Waits at most `timeoutMilliseconds` (0: only looks) for bytes and appends at most `maxBytes`
  // of what has arrived to `into`.
  virtual ReceiveResult Receive(std::string& into, std::size_t maxBytes, int timeoutMilliseconds,
                                std::string& why) = 0;

  // Closes the stream; for TLS after telling the peer, which is waited for at most a second.
  virtual void Close() = 0;

 protected:
  ByteStream() = default;
  ByteStream(const ByteStream&) = default;
  ByteStream& operator=(const ByteStream&) = default;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_BYTE_STREAM_H

// Platform service: one outgoing TCP connection (BSD sockets on Linux, Winsock on Windows).
//
// Used by the log shipper to reach a syslog collector. Every call has a deadline, so a collector
// that stops answering never blocks the caller for longer than it asked. Move-only; the socket is
// closed on destruction. Not safe for use from two threads at once.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_TCP_CONNECTION_H
#define TAVROMEDIVANEUTIL_PLATFORM_TCP_CONNECTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Tavro_KVO_Util::platform {

class TcpConnection {
 public:
  enum class ReceiveResult {
    kData,     // bytes were appended
    kTimeout,  // nothing arrived in time; the connection is still open
    kClosed,   // the peer closed the connection; it is closed here too
    kFailed,   // the connection broke; it is closed here too
  };

  TcpConnection() = default;
  ~TcpConnection();
  TcpConnection(TcpConnection&& other) noexcept;
  TcpConnection& operator=(TcpConnection&& other) noexcept;
  TcpConnection(const TcpConnection&) = delete;
  TcpConnection& operator=(const TcpConnection&) = delete;

  // Resolves `host` (a name or an address) and connects to the first of its addresses that
  // accepts within `timeoutMilliseconds` in all. Closes any earlier connection first. False with
  // a reason in `why` (the host unknown, refused, timed out).
  bool Connect(const std::string& host, std::uint16_t port, int timeoutMilliseconds, std::string& why);

  bool IsOpen() const { return mSocket != kNoSocket; }

  // Sends every byte, waiting at most `timeoutMilliseconds` for room. False with `why` when the
  // connection broke or stayed full; the connection is then closed.
  bool SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why);

  // Waits at most `timeoutMilliseconds` (0: only looks) for bytes and appends at most `maxBytes`
  // of what has arrived to `into`.
  ReceiveResult Receive(std::string& into, std::size_t maxBytes, int timeoutMilliseconds, std::string& why);

  void Close();

 private:
  static constexpr std::intptr_t kNoSocket = -1;
  std::intptr_t mSocket = kNoSocket;  // a file descriptor, or a Winsock SOCKET
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_TCP_CONNECTION_H

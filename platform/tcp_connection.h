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

#include "platform/byte_stream.h"

namespace Tavro_KVO_Util::platform {

class TcpConnection final : public ByteStream {
 public:
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

  bool IsOpen() const override { return mSocket != kNoSocket; }

  bool SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) override;
  ReceiveResult Receive(std::string& into, std::size_t maxBytes, int timeoutMilliseconds,
                        std::string& why) override;
  void Close() override;

 private:
  static constexpr std::intptr_t kNoSocket = -1;
  std::intptr_t mSocket = kNoSocket;  // a file descriptor, or a Winsock SOCKET
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_TCP_CONNECTION_H

// TCP on Linux: non-blocking sockets driven by poll, so that every call keeps its deadline.
#include "platform/tcp_connection.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/deadline.h"

namespace Tavro_KVO_Util::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kReceiveChunk = 16 * 1024;

// What arrives is acknowledged at once instead of up to 40 ms later. A peer that sends small
// answers without TCP_NODELAY (rsyslog's RELP server) holds each further answer back until the
// previous one is acknowledged, so a delayed acknowledgement stalls a client that is waiting for
// answers before sending more. Linux drops back to delayed acknowledgements by itself, so this is
// set again after every read. Elsewhere there is no such option and nothing to do.
void AcknowledgeAtOnce([[maybe_unused]] int fd) {
#ifdef TCP_QUICKACK
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
#endif
}

// Waits for `events` on `fd` until the deadline; EINTR (a signal, such as the stop request)
// ends the wait early, which callers see as a time-out.
int WaitFor(int fd, short events, int timeoutMilliseconds) {
  pollfd one{fd, events, 0};
  const int ready = ::poll(&one, 1, timeoutMilliseconds);
  if (ready <= 0) return ready < 0 && errno != EINTR ? -1 : 0;
  return one.revents;
}

std::string ErrorText(int error) { return std::strerror(error); }

}  // namespace

TcpConnection::~TcpConnection() { Close(); }

TcpConnection::TcpConnection(TcpConnection&& other) noexcept
    : mSocket(std::exchange(other.mSocket, kNoSocket)) {}

TcpConnection& TcpConnection::operator=(TcpConnection&& other) noexcept {
  if (this != &other) {
    Close();
    mSocket = std::exchange(other.mSocket, kNoSocket);
  }
  return *this;
}

void TcpConnection::Close() {
  if (mSocket != kNoSocket) ::close(static_cast<int>(mSocket));
  mSocket = kNoSocket;
}

bool TcpConnection::Connect(const std::string& host, std::uint16_t port, int timeoutMilliseconds,
                            std::string& why) {
  Close();
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string service = std::to_string(port);
  const int resolved = ::getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
  if (resolved != 0) {
    why = "cannot resolve '" + host + "': " + ::gai_strerror(resolved);
    return false;
  }
  why = "no address for '" + host + "'";
  for (addrinfo* address = found; address != nullptr; address = address->ai_next) {
    const int fd = ::socket(address->ai_family, address->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC,
                            address->ai_protocol);
    if (fd < 0) {
      why = "socket: " + ErrorText(errno);
      continue;
    }
    int error = 0;
    if (::connect(fd, address->ai_addr, address->ai_addrlen) != 0) {
      error = errno;
      if (error == EINPROGRESS) {
        const int ready = WaitFor(fd, POLLOUT, MillisecondsLeft(deadline));
        socklen_t size = sizeof error;
        if (ready <= 0) {
          error = ETIMEDOUT;
        } else if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
          error = errno;
        }
      }
    }
    if (error != 0) {
      why = "cannot connect to " + host + ":" + service + ": " + ErrorText(error);
      ::close(fd);
      continue;
    }
    // Small messages go out at once; the collector acknowledges each of them.
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    AcknowledgeAtOnce(fd);
    mSocket = fd;
    break;
  }
  ::freeaddrinfo(found);
  return IsOpen();
}

bool TcpConnection::SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) {
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  while (!bytes.empty()) {
    if (!IsOpen()) {
      why = "not connected";
      return false;
    }
    // MSG_NOSIGNAL: a closed connection is an error here, not a SIGPIPE that ends the process.
    const ssize_t sent = ::send(static_cast<int>(mSocket), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
      continue;
    }
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      const int left = MillisecondsLeft(deadline);
      if (left > 0 && WaitFor(static_cast<int>(mSocket), POLLOUT, left) >= 0) continue;
      why = left > 0 ? "send: " + ErrorText(errno) : "send: the collector takes nothing more";
    } else {
      why = "send: " + ErrorText(errno);
    }
    Close();
    return false;
  }
  return true;
}

TcpConnection::ReceiveResult TcpConnection::Receive(std::string& into, std::size_t maxBytes,
                                                    int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return ReceiveResult::kFailed;
  }
  const int fd = static_cast<int>(mSocket);
  // Read through a buffer on the stack: growing `into` by maxBytes first would clear that many
  // bytes on every call, most of the cost of reading a stream of short answers.
  char buffer[kReceiveChunk];
  const std::size_t chunk = std::min(maxBytes, sizeof buffer);
  // Read first and wait only when nothing is there: a busy shipper finds answers waiting, and a
  // poll before every read would double its system calls.
  ssize_t got = ::recv(fd, buffer, chunk, 0);
  int error = errno;
  if (got < 0 && (error == EAGAIN || error == EWOULDBLOCK) && timeoutMilliseconds > 0) {
    if (WaitFor(fd, POLLIN, timeoutMilliseconds) == 0) return ReceiveResult::kTimeout;
    got = ::recv(fd, buffer, chunk, 0);
    error = errno;
  }
  if (got > 0) {
    AcknowledgeAtOnce(fd);
    into.append(buffer, static_cast<std::size_t>(got));
    return ReceiveResult::kData;
  }
  if (got < 0 && (error == EAGAIN || error == EWOULDBLOCK || error == EINTR)) return ReceiveResult::kTimeout;
  Close();
  if (got == 0) {
    why = "the collector closed the connection";
    return ReceiveResult::kClosed;
  }
  why = "receive: " + ErrorText(error);
  return ReceiveResult::kFailed;
}

}  // namespace Tavro_KVO_Util::platform

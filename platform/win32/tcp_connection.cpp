#ifndef _WIN32
#error "Windows-only source file"
#endif

// TCP on Windows: non-blocking Winsock sockets driven by WSAPoll, so that every call keeps its
// deadline.
#include "platform/tcp_connection.h"

// windows_include.h first: it sets NOMINMAX and friends before winsock2.h pulls in <windows.h>.
#include "platform/win32/windows_include.h"
// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <mstcpip.h>
// clang-format on

#include <chrono>
#include <utility>

#include "platform/deadline.h"
#include "platform/utf8.h"
#include "platform/win32/error_text.h"

namespace Tavro_KVO_Util::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kReceiveChunk = 16 * 1024;

// Winsock is started once for the process and left started: other code of the host process may
// use it too, and WSACleanup would pull it from under them.
bool WinsockStarted(std::string& why) {
  static const int started = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  if (started != 0) why = "WSAStartup failed: error " + std::to_string(started);
  return started == 0;
}

int WaitFor(SOCKET socket, short events, int timeoutMilliseconds) {
  WSAPOLLFD one{};
  one.fd = socket;
  one.events = events;
  const int ready = WSAPoll(&one, 1, timeoutMilliseconds);
  if (ready <= 0) return ready < 0 ? -1 : 0;
  return one.revents;
}

SOCKET AsSocket(std::intptr_t value) { return static_cast<SOCKET>(value); }

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
  if (mSocket != kNoSocket) closesocket(AsSocket(mSocket));
  mSocket = kNoSocket;
}

bool TcpConnection::Connect(const std::string& host, std::uint16_t port, int timeoutMilliseconds,
                            std::string& why) {
  Close();
  if (!WinsockStarted(why)) return false;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* found = nullptr;
  const std::string service = std::to_string(port);
  const int resolved = getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
  if (resolved != 0) {
    why = "cannot resolve '" + host + "': " + ErrorText(resolved);
    return false;
  }
  why = "no address for '" + host + "'";
  for (addrinfo* address = found; address != nullptr; address = address->ai_next) {
    const SOCKET socket = ::socket(address->ai_family, address->ai_socktype, address->ai_protocol);
    if (socket == INVALID_SOCKET) {
      why = "socket: " + ErrorText(WSAGetLastError());
      continue;
    }
    u_long nonBlocking = 1;
    ioctlsocket(socket, FIONBIO, &nonBlocking);
    int error = 0;
    if (connect(socket, address->ai_addr, static_cast<int>(address->ai_addrlen)) != 0) {
      error = WSAGetLastError();
      if (error == WSAEWOULDBLOCK) {
        const int ready = WaitFor(socket, POLLOUT, MillisecondsLeft(deadline));
        int size = sizeof error;
        if (ready == 0) {
          error = WSAETIMEDOUT;
        } else if (getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) {
          error = WSAGetLastError();
        } else if (error == 0 && (ready & (POLLERR | POLLHUP)) != 0) {
          error = WSAECONNREFUSED;
        }
      }
    }
    if (error != 0) {
      why = "cannot connect to " + host + ":" + service + ": " + ErrorText(error);
      closesocket(socket);
      continue;
    }
    // Small messages go out at once; the collector acknowledges each of them.
    const BOOL on = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    // What arrives is acknowledged at once instead of up to 200 ms later. A peer that sends small
    // answers without TCP_NODELAY (rsyslog's RELP server) holds each further answer back until
    // the previous one is acknowledged, so a delayed acknowledgement stalls a client waiting for
    // answers. Where Windows (or Wine) does not know the option, acknowledgements stay delayed.
    DWORD everySegment = 1;
    DWORD returned = 0;
    WSAIoctl(socket, SIO_TCP_SET_ACK_FREQUENCY, &everySegment, sizeof everySegment, nullptr, 0, &returned,
             nullptr, nullptr);
    mSocket = static_cast<std::intptr_t>(socket);
    break;
  }
  freeaddrinfo(found);
  return IsOpen();
}

bool TcpConnection::SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) {
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  while (!bytes.empty()) {
    if (!IsOpen()) {
      why = "not connected";
      return false;
    }
    const int chunk = static_cast<int>(bytes.size() < (1u << 30) ? bytes.size() : (1u << 30));
    const int sent = send(AsSocket(mSocket), bytes.data(), chunk, 0);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
      continue;
    }
    const int error = WSAGetLastError();
    if (sent == SOCKET_ERROR && error == WSAEWOULDBLOCK) {
      const int left = MillisecondsLeft(deadline);
      if (left > 0 && WaitFor(AsSocket(mSocket), POLLOUT, left) >= 0) continue;
      why = "send: the collector takes nothing more";
    } else {
      why = "send: " + ErrorText(error);
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
  const int ready = WaitFor(AsSocket(mSocket), POLLIN, timeoutMilliseconds);
  if (ready == 0) return ReceiveResult::kTimeout;
  // Read through a buffer on the stack: growing `into` by maxBytes first would clear that many
  // bytes on every call, most of the cost of reading a stream of short answers.
  char buffer[kReceiveChunk];
  const int chunk = static_cast<int>(maxBytes < sizeof buffer ? maxBytes : sizeof buffer);
  const int got = recv(AsSocket(mSocket), buffer, chunk, 0);
  const int error = WSAGetLastError();
  if (got > 0) {
    into.append(buffer, static_cast<std::size_t>(got));
    return ReceiveResult::kData;
  }
  if (got == SOCKET_ERROR && error == WSAEWOULDBLOCK) return ReceiveResult::kTimeout;
  Close();
  if (got == 0) {
    why = "the collector closed the connection";
    return ReceiveResult::kClosed;
  }
  why = "receive: " + ErrorText(error);
  return ReceiveResult::kFailed;
}

}  // namespace Tavro_KVO_Util::platform

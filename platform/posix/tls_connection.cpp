// TLS on Linux: GnuTLS over a TcpConnection. GnuTLS reads and writes through the two transport
// functions below, which give every wait the deadline of the call in progress.
#include "platform/tls_connection.h"

#include <arpa/inet.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/deadline.h"
#include "platform/tcp_connection.h"

namespace Tavro_KVO_Util::platform {
namespace {

using Clock = std::chrono::steady_clock;

// One TLS record at most; GnuTLS asks for less at a time anyway.
constexpr std::size_t kChunk = 16 * 1024;
// How long Close waits to tell the collector the session ends.
constexpr int kCloseMilliseconds = 1000;

bool IsIpAddress(const std::string& host) {
  unsigned char address[16];
  return inet_pton(AF_INET, host.c_str(), address) == 1 || inet_pton(AF_INET6, host.c_str(), address) == 1;
}

// What a failed verification means, in the words the Windows build uses too.
std::string VerificationProblem(unsigned status, const std::string& authority) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
  if (status & (GNUTLS_CERT_SIGNER_NOT_FOUND | GNUTLS_CERT_SIGNER_NOT_CA))
    add("it is not signed by the certificate authority in " + authority);
  if (status & GNUTLS_CERT_UNEXPECTED_OWNER) add("it was issued for another host name");
  if (status & GNUTLS_CERT_EXPIRED) add("it has expired");
  if (status & GNUTLS_CERT_NOT_ACTIVATED) add("it is not valid yet");
  if (status & GNUTLS_CERT_REVOKED) add("it has been revoked");
  if (text.empty()) {
    gnutls_datum_t printed{};
    if (gnutls_certificate_verification_status_print(status, GNUTLS_CRT_X509, &printed, 0) == 0) {
      text.assign(reinterpret_cast<const char*>(printed.data), printed.size);
      gnutls_free(printed.data);
    } else {
      text = "status " + std::to_string(status);
    }
  }
  return text;
}

}  // namespace

struct TlsConnection::Session {
  TcpConnection tcp;
  gnutls_certificate_credentials_t credentials = nullptr;
  gnutls_session_t session = nullptr;
  std::string incoming;  // read from TCP, not yet taken by GnuTLS
  std::size_t taken = 0;
  Clock::time_point deadline;    // of the call in progress
  std::string transportProblem;  // why TCP failed under GnuTLS, for the message

  Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    if (session) gnutls_deinit(session);
    if (credentials) gnutls_certificate_free_credentials(credentials);
  }

  // Reads more from TCP within `milliseconds`.
  ByteStream::ReceiveResult Fill(int milliseconds) {
    if (taken == incoming.size()) {
      incoming.clear();
      taken = 0;
    }
    std::string why;
    const ByteStream::ReceiveResult result = tcp.Receive(incoming, kChunk, milliseconds, why);
    if (result == ByteStream::ReceiveResult::kFailed) transportProblem = why;
    return result;
  }

  static ssize_t Push(gnutls_transport_ptr_t self, const void* data, std::size_t size) {
    auto* s = static_cast<Session*>(self);
    std::string why;
    if (!s->tcp.SendAll(std::string_view(static_cast<const char*>(data), size), MillisecondsLeft(s->deadline),
                        why)) {
      s->transportProblem = why;
      gnutls_transport_set_errno(s->session, EPIPE);
      return -1;
    }
    return static_cast<ssize_t>(size);
  }

  static ssize_t Pull(gnutls_transport_ptr_t self, void* data, std::size_t size) {
    auto* s = static_cast<Session*>(self);
    if (s->taken == s->incoming.size()) {
      switch (s->Fill(MillisecondsLeft(s->deadline))) {
        case ByteStream::ReceiveResult::kData:
          break;
        case ByteStream::ReceiveResult::kTimeout:
          gnutls_transport_set_errno(s->session, EAGAIN);
          return -1;
        case ByteStream::ReceiveResult::kClosed:
          return 0;
        case ByteStream::ReceiveResult::kFailed:
          gnutls_transport_set_errno(s->session, ECONNRESET);
          return -1;
      }
    }
    const std::size_t n = std::min(size, s->incoming.size() - s->taken);
    std::memcpy(data, s->incoming.data() + s->taken, n);
    s->taken += n;
    return static_cast<ssize_t>(n);
  }

  // GnuTLS asks whether anything can be read within `milliseconds`.
  static int PullTimeout(gnutls_transport_ptr_t self, unsigned int milliseconds) {
    auto* s = static_cast<Session*>(self);
    if (s->taken < s->incoming.size()) return 1;
    const int wait = milliseconds == GNUTLS_INDEFINITE_TIMEOUT
                         ? MillisecondsLeft(s->deadline)
                         : std::min(static_cast<int>(milliseconds), MillisecondsLeft(s->deadline));
    // An end or a failure counts as something to read: Pull reports it.
    return s->Fill(wait) == ByteStream::ReceiveResult::kTimeout ? 0 : 1;
  }
};

TlsConnection::TlsConnection() = default;
TlsConnection::~TlsConnection() { Close(); }
TlsConnection::TlsConnection(TlsConnection&& other) noexcept = default;
TlsConnection& TlsConnection::operator=(TlsConnection&& other) noexcept {
  if (this != &other) {
    Close();
    mSession = std::move(other.mSession);
  }
  return *this;
}

bool TlsConnection::IsOpen() const { return mSession && mSession->tcp.IsOpen(); }

bool TlsConnection::Connect(const std::string& host, std::uint16_t port, const TlsFiles& files,
                            int timeoutMilliseconds, std::string& why) {
  Close();
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  if (!CheckTlsFiles(files, why)) return false;
  auto s = std::make_unique<Session>();
  if (gnutls_certificate_allocate_credentials(&s->credentials) != GNUTLS_E_SUCCESS) {
    why = "TLS: out of memory";
    return false;
  }
  const int authorities =
      gnutls_certificate_set_x509_trust_file(s->credentials, files.authority.c_str(), GNUTLS_X509_FMT_PEM);
  if (authorities <= 0) {
    why = "cannot read the certificate authority from " + files.authority.string() + ": " +
          (authorities < 0 ? gnutls_strerror(authorities) : "no certificate in it");
    return false;
  }
  if (!files.certificate.empty()) {
    const int loaded = gnutls_certificate_set_x509_key_file(s->credentials, files.certificate.c_str(),
                                                            files.key.c_str(), GNUTLS_X509_FMT_PEM);
    if (loaded < 0) {
      why = "cannot use the client certificate " + files.certificate.string() + " with the key " +
            files.key.string() + ": " + gnutls_strerror(loaded);
      return false;
    }
  }
  if (!s->tcp.Connect(host, port, MillisecondsLeft(deadline), why)) return false;

  int result = gnutls_init(&s->session, GNUTLS_CLIENT | GNUTLS_NONBLOCK);
  if (result == GNUTLS_E_SUCCESS) result = gnutls_set_default_priority(s->session);
  if (result == GNUTLS_E_SUCCESS)
    result = gnutls_credentials_set(s->session, GNUTLS_CRD_CERTIFICATE, s->credentials);
  // The server's name goes in the handshake (SNI) only when it is a name; an address may not.
  if (result == GNUTLS_E_SUCCESS && !IsIpAddress(host))
    result = gnutls_server_name_set(s->session, GNUTLS_NAME_DNS, host.data(), host.size());
  if (result != GNUTLS_E_SUCCESS) {
    why = std::string("TLS: ") + gnutls_strerror(result);
    return false;
  }
  // The chain must reach the authority, and the certificate must name `host` (a DNS name, or an
  // address among its IP addresses).
  gnutls_session_set_verify_cert(s->session, host.c_str(), 0);
  gnutls_transport_set_ptr(s->session, s.get());
  gnutls_transport_set_push_function(s->session, &Session::Push);
  gnutls_transport_set_pull_function(s->session, &Session::Pull);
  gnutls_transport_set_pull_timeout_function(s->session, &Session::PullTimeout);

  s->deadline = deadline;
  do {
    result = gnutls_handshake(s->session);
  } while (result < 0 && gnutls_error_is_fatal(result) == 0 && MillisecondsLeft(deadline) > 0);
  if (result == GNUTLS_E_SUCCESS) {
    mSession = std::move(s);
    return true;
  }
  const std::string where = host + ":" + std::to_string(port);
  if (result == GNUTLS_E_CERTIFICATE_VERIFICATION_ERROR) {
    why = "the certificate of " + where + " does not verify: " +
          VerificationProblem(gnutls_session_get_verify_cert_status(s->session), files.authority.string());
  } else if (gnutls_error_is_fatal(result) == 0) {
    why = "the TLS handshake with " + where + " did not finish in time";
  } else {
    why = "the TLS handshake with " + where +
          " failed: " + (s->transportProblem.empty() ? gnutls_strerror(result) : s->transportProblem);
    // The server's alert says why it refused, for example a client certificate it wanted.
    if (result == GNUTLS_E_FATAL_ALERT_RECEIVED)
      why += std::string(" (") + gnutls_alert_get_name(gnutls_alert_get(s->session)) + ")";
    if (files.certificate.empty()) why += std::string("; ") + kClientCertificateHint;
  }
  return false;
}

bool TlsConnection::SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  mSession->deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  while (!bytes.empty()) {
    const ssize_t sent = gnutls_record_send(mSession->session, bytes.data(), std::min(bytes.size(), kChunk));
    if (sent > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
      continue;
    }
    // The transport sends whole or fails, so GnuTLS has nothing to try again.
    why = "TLS send: " + (mSession->transportProblem.empty()
                              ? std::string(gnutls_strerror(static_cast<int>(sent)))
                              : mSession->transportProblem);
    mSession.reset();
    return false;
  }
  return true;
}

ByteStream::ReceiveResult TlsConnection::Receive(std::string& into, std::size_t maxBytes,
                                                 int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return ReceiveResult::kFailed;
  }
  mSession->deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  char buffer[kChunk];
  const ssize_t got = gnutls_record_recv(mSession->session, buffer, std::min(maxBytes, sizeof buffer));
  if (got > 0) {
    into.append(buffer, static_cast<std::size_t>(got));
    return ReceiveResult::kData;
  }
  if (got == GNUTLS_E_AGAIN || got == GNUTLS_E_INTERRUPTED || got == GNUTLS_E_REHANDSHAKE)
    return ReceiveResult::kTimeout;
  if (got == 0 || got == GNUTLS_E_PREMATURE_TERMINATION) {
    why = "the collector closed the connection";
    mSession.reset();
    return ReceiveResult::kClosed;
  }
  why = "TLS receive: " + (mSession->transportProblem.empty()
                               ? std::string(gnutls_strerror(static_cast<int>(got)))
                               : mSession->transportProblem);
  mSession.reset();
  return ReceiveResult::kFailed;
}

void TlsConnection::Close() {
  if (!mSession) return;
  if (mSession->tcp.IsOpen()) {
    // Tells the collector the session ends (close_notify); its answer is not waited for.
    mSession->deadline = Clock::now() + std::chrono::milliseconds(kCloseMilliseconds);
    gnutls_bye(mSession->session, GNUTLS_SHUT_WR);
  }
  mSession.reset();
}

}  // namespace Tavro_KVO_Util::platform

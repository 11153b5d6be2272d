// Platform service: one outgoing TLS connection over TCP (GnuTLS on Linux, Schannel on Windows).
//
// Used by the log shipper to reach a syslog collector without sending patient context in clear
// text. The server must prove itself: its certificate chain has to lead to the certificate
// authority in `TlsFiles::authority` (the machine's own trust store is not consulted) and name
// the host that was asked for, as a DNS name or an IP address. A client certificate is presented
// when one is given. Every call has a deadline. Move-only; closed on destruction. Not safe for
// use from two threads at once.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_TLS_CONNECTION_H
#define TAVROMEDIVANEUTIL_PLATFORM_TLS_CONNECTION_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/byte_stream.h"

namespace Tavro_KVO_Util::platform {

// PEM files.
struct TlsFiles {
  std::filesystem::path authority;    // the certificate authority the server's chain must reach
  std::filesystem::path certificate;  // the client's certificate, or empty for none
  std::filesystem::path key;          // its private key (unencrypted), with the certificate
};

// False with `why` when `files` cannot make a TLS client: no authority, or a certificate without
// its key or a key without its certificate. Checked by Connect before anything else.
bool CheckTlsFiles(const TlsFiles& files, std::string& why);

// Added to the reason when a session without a client certificate ends early, where the server
// may have wanted one.
inline constexpr char kClientCertificateHint[] =
    "a collector that wants a client certificate ends the session when none is given: use --cert and --key";

class TlsConnection final : public ByteStream {
 public:
  TlsConnection();
  ~TlsConnection() override;
  TlsConnection(TlsConnection&& other) noexcept;
  TlsConnection& operator=(TlsConnection&& other) noexcept;
  TlsConnection(const TlsConnection&) = delete;
  TlsConnection& operator=(const TlsConnection&) = delete;

  // Connects to `host`:`port` and completes the handshake within `timeoutMilliseconds` in all.
  // False with a reason in `why`, nothing having been sent but the handshake: a file that cannot
  // be read, no connection, or a server certificate that does not verify (the reason names what
  // failed: not signed by the authority, another host's name, expired).
  bool Connect(const std::string& host, std::uint16_t port, const TlsFiles& files, int timeoutMilliseconds,
               std::string& why);

  bool IsOpen() const override;
  bool SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) override;
  ReceiveResult Receive(std::string& into, std::size_t maxBytes, int timeoutMilliseconds,
                        std::string& why) override;
  void Close() override;

 private:
  struct Session;  // the OS's TLS state over a TcpConnection
  std::unique_ptr<Session> mSession;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_TLS_CONNECTION_H

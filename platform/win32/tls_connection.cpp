#ifndef _WIN32
#error "Windows-only source file"
#endif

// TLS on Windows: Schannel (SSPI) over a TcpConnection. Schannel works on buffers, not sockets:
// the handshake tokens and the encrypted records it produces are sent here, and what arrives is
// handed to it. Its own check of the server is switched off (manual validation), because the
// server must lead to the authority in the --ca file rather than to the machine's trust store;
// server_certificate.cpp checks it instead, before anything but the handshake is sent.
#include "platform/tls_connection.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/deadline.h"
#include "platform/tcp_connection.h"
#include "platform/utf8.h"
#include "platform/win32/crypt_owners.h"
#include "platform/win32/pem_credential.h"
#include "platform/win32/server_certificate.h"

namespace Tavro_KVO_Util::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kReadChunk = 16 * 1024;
constexpr int kCloseMilliseconds = 1000;
constexpr DWORD kRequest = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                           ISC_REQ_EXTENDED_ERROR | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM |
                           ISC_REQ_MANUAL_CRED_VALIDATION | ISC_REQ_USE_SUPPLIED_CREDS;

std::string StatusText(SECURITY_STATUS status) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(status));
  return text;
}

// A token Schannel allocated (ISC_REQ_ALLOCATE_MEMORY), freed however the caller leaves.
struct OutputToken {
  SecBuffer buffer{0, SECBUFFER_TOKEN, nullptr};
  SecBufferDesc desc{SECBUFFER_VERSION, 1, &buffer};
  OutputToken() = default;
  OutputToken(const OutputToken&) = delete;
  OutputToken& operator=(const OutputToken&) = delete;
  ~OutputToken() {
    if (buffer.pvBuffer) FreeContextBuffer(buffer.pvBuffer);
  }
  std::string_view bytes() const {
    return buffer.pvBuffer ? std::string_view(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer)
                           : std::string_view();
  }
};

}  // namespace

struct TlsConnection::Session {
  TcpConnection tcp;
  PemClientCredential client;
  UniqueCredentials credentials;
  UniqueSecurityContext context;
  std::wstring target;   // the host, as Schannel's target name (SNI)
  std::string incoming;  // encrypted bytes not yet used
  std::string plain;     // decrypted bytes not yet returned
  SecPkgContext_StreamSizes sizes{};

  // Hands `token` to Schannel (empty for the first call) and sends what it answers. The bytes of
  // `incoming` it did not use stay there. SEC_E_OK ends the handshake.
  SECURITY_STATUS Step(int timeoutMilliseconds, std::string& why) {
    SecBuffer in[2] = {{static_cast<unsigned long>(incoming.size()), SECBUFFER_TOKEN, incoming.data()},
                       {0, SECBUFFER_EMPTY, nullptr}};
    SecBufferDesc inDesc{SECBUFFER_VERSION, 2, in};
    OutputToken out;
    ULONG attributes = 0;
    const bool first = !context.valid();
    SecHandle* handle = first ? context.put() : context.get();
    const SECURITY_STATUS status = InitializeSecurityContextW(
        credentials.get(), first ? nullptr : handle, target.data(), kRequest, /*Reserved1=*/0,
        /*TargetDataRep=*/0, first ? nullptr : &inDesc, /*Reserved2=*/0, handle, &out.desc, &attributes,
        /*ptsExpiry=*/nullptr);
    if (first &&
        (status == SEC_E_OK || status == SEC_I_CONTINUE_NEEDED || status == SEC_I_INCOMPLETE_CREDENTIALS))
      context.taken();
    if (status == SEC_E_INCOMPLETE_MESSAGE) return status;  // nothing used; more must arrive
    if (!out.bytes().empty() && !tcp.SendAll(out.bytes(), timeoutMilliseconds, why))
      return SEC_E_INTERNAL_ERROR;
    if (!first) {
      if (in[1].BufferType == SECBUFFER_EXTRA && in[1].cbBuffer > 0)
        incoming.erase(0, incoming.size() - in[1].cbBuffer);
      else if (status != SEC_E_INCOMPLETE_MESSAGE)
        incoming.clear();
    }
    return status;
  }

  ByteStream::ReceiveResult Fill(int milliseconds, std::string& why) {
    return tcp.Receive(incoming, kReadChunk, milliseconds, why);
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
  const std::string authorityFile = WideToUtf8(files.authority.wstring());
  UniqueCertContext authority;
  std::string problem;
  if (!LoadPemCertificate(files.authority, authority, problem)) {
    why = "cannot read the certificate authority from " + authorityFile + ": " + problem;
    return false;
  }
  auto s = std::make_unique<Session>();
  if (!files.certificate.empty() && !s->client.Load(files.certificate, files.key, why)) return false;

  SCHANNEL_CRED settings{};
  settings.dwVersion = SCHANNEL_CRED_VERSION;
  PCCERT_CONTEXT clientCertificate = s->client.certificate();
  if (clientCertificate) {
    settings.cCreds = 1;
    settings.paCred = &clientCertificate;
  }
  // No certificate of the user's is picked on their behalf, and the server is checked here.
  settings.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS;
  const SECURITY_STATUS acquired = AcquireCredentialsHandleW(
      /*pszPrincipal=*/nullptr, const_cast<wchar_t*>(UNISP_NAME_W), SECPKG_CRED_OUTBOUND,
      /*pvLogonId=*/nullptr, &settings, /*pGetKeyFn=*/nullptr, /*pvGetKeyArgument=*/nullptr,
      s->credentials.put(), /*ptsExpiry=*/nullptr);
  if (acquired != SEC_E_OK) {
    why = "Schannel refused the TLS credentials (" + StatusText(acquired) + ")";
    return false;
  }
  s->credentials.taken();

  if (!s->tcp.Connect(host, port, MillisecondsLeft(deadline), why)) return false;
  s->target = Utf8ToWide(host);
  const std::string where = host + ":" + std::to_string(port);

  SECURITY_STATUS status = s->Step(MillisecondsLeft(deadline), why);
  while (status == SEC_I_CONTINUE_NEEDED || status == SEC_E_INCOMPLETE_MESSAGE ||
         status == SEC_I_INCOMPLETE_CREDENTIALS) {
    // Asked for a certificate it was not given (SEC_I_INCOMPLETE_CREDENTIALS): go on without; a
    // server that insists ends the handshake.
    if (status != SEC_I_INCOMPLETE_CREDENTIALS &&
        (status == SEC_E_INCOMPLETE_MESSAGE || s->incoming.empty())) {
      std::string received;
      switch (s->Fill(MillisecondsLeft(deadline), received)) {
        case ByteStream::ReceiveResult::kData:
          break;
        case ByteStream::ReceiveResult::kTimeout:
          why = "the TLS handshake with " + where + " did not finish in time";
          return false;
        case ByteStream::ReceiveResult::kClosed:
        case ByteStream::ReceiveResult::kFailed:
          why = "the TLS handshake with " + where + " failed: " + received;
          if (files.certificate.empty()) why += std::string("; ") + kClientCertificateHint;
          return false;
      }
    }
    status = s->Step(MillisecondsLeft(deadline), why);
  }
  if (status != SEC_E_OK) {
    if (status != SEC_E_INTERNAL_ERROR || why.empty())
      why = "the TLS handshake with " + where + " failed (Schannel " + StatusText(status) + ")";
    if (files.certificate.empty()) why += std::string("; ") + kClientCertificateHint;
    return false;
  }

  PCCERT_CONTEXT presented = nullptr;
  if (QueryContextAttributesW(s->context.get(), SECPKG_ATTR_REMOTE_CERT_CONTEXT, &presented) != SEC_E_OK ||
      !presented) {
    why = "the TLS server " + where + " presented no certificate";
    return false;
  }
  const UniqueCertContext server(presented);
  const std::string problems = ServerCertificateProblems(server.get(), authority.get(), authorityFile, host);
  if (!problems.empty()) {
    why = "the certificate of " + where + " does not verify: " + problems;
    return false;
  }
  const SECURITY_STATUS sized =
      QueryContextAttributesW(s->context.get(), SECPKG_ATTR_STREAM_SIZES, &s->sizes);
  if (sized != SEC_E_OK) {
    why = "Schannel gave no record sizes (" + StatusText(sized) + ")";
    return false;
  }
  mSession = std::move(s);
  return true;
}

bool TlsConnection::SendAll(std::string_view bytes, int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  const SecPkgContext_StreamSizes& sizes = mSession->sizes;
  std::string record;
  while (!bytes.empty()) {
    const std::size_t part = std::min<std::size_t>(bytes.size(), sizes.cbMaximumMessage);
    record.assign(sizes.cbHeader, '\0');
    record.append(bytes.data(), part);
    record.append(sizes.cbTrailer, '\0');
    SecBuffer buffers[4] = {
        {sizes.cbHeader, SECBUFFER_STREAM_HEADER, record.data()},
        {static_cast<unsigned long>(part), SECBUFFER_DATA, record.data() + sizes.cbHeader},
        {sizes.cbTrailer, SECBUFFER_STREAM_TRAILER, record.data() + sizes.cbHeader + part},
        {0, SECBUFFER_EMPTY, nullptr}};
    SecBufferDesc desc{SECBUFFER_VERSION, 4, buffers};
    const SECURITY_STATUS status =
        EncryptMessage(mSession->context.get(), /*fQOP=*/0, &desc, /*MessageSeqNo=*/0);
    if (status != SEC_E_OK) {
      why = "TLS send: Schannel " + StatusText(status);
      mSession.reset();
      return false;
    }
    const std::size_t length = buffers[0].cbBuffer + buffers[1].cbBuffer + buffers[2].cbBuffer;
    if (!mSession->tcp.SendAll(std::string_view(record.data(), length), MillisecondsLeft(deadline), why)) {
      why = "TLS send: " + why;
      mSession.reset();
      return false;
    }
    bytes.remove_prefix(part);
  }
  return true;
}

ByteStream::ReceiveResult TlsConnection::Receive(std::string& into, std::size_t maxBytes,
                                                 int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return ReceiveResult::kFailed;
  }
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  Session& s = *mSession;
  while (s.plain.empty()) {
    if (!s.incoming.empty()) {
      SecBuffer buffers[4] = {
          {static_cast<unsigned long>(s.incoming.size()), SECBUFFER_DATA, s.incoming.data()},
          {0, SECBUFFER_EMPTY, nullptr},
          {0, SECBUFFER_EMPTY, nullptr},
          {0, SECBUFFER_EMPTY, nullptr}};
      SecBufferDesc desc{SECBUFFER_VERSION, 4, buffers};
      const SECURITY_STATUS status =
          DecryptMessage(s.context.get(), &desc, /*MessageSeqNo=*/0, /*pfQOP=*/nullptr);
      if (status == SEC_E_OK || status == SEC_I_RENEGOTIATE) {
        std::string extra;
        for (const SecBuffer& buffer : buffers) {
          if (buffer.BufferType == SECBUFFER_DATA)
            s.plain.append(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer);
          if (buffer.BufferType == SECBUFFER_EXTRA)
            extra.assign(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer);
        }
        s.incoming = std::move(extra);
        // A post-handshake message (a TLS 1.3 session ticket or key update): Schannel wants it
        // as a handshake token.
        if (status == SEC_I_RENEGOTIATE) {
          const SECURITY_STATUS stepped = s.Step(MillisecondsLeft(deadline), why);
          if (stepped != SEC_E_OK && stepped != SEC_I_CONTINUE_NEEDED &&
              stepped != SEC_E_INCOMPLETE_MESSAGE) {
            why = "TLS receive: Schannel " + StatusText(stepped);
            mSession.reset();
            return ReceiveResult::kFailed;
          }
        }
        continue;
      }
      if (status == SEC_I_CONTEXT_EXPIRED) {  // the collector's close_notify
        why = "the collector closed the connection";
        mSession.reset();
        return ReceiveResult::kClosed;
      }
      if (status != SEC_E_INCOMPLETE_MESSAGE) {
        why = "TLS receive: Schannel " + StatusText(status);
        mSession.reset();
        return ReceiveResult::kFailed;
      }
    }
    const ReceiveResult filled = s.Fill(MillisecondsLeft(deadline), why);
    if (filled == ReceiveResult::kTimeout) return filled;
    if (filled != ReceiveResult::kData) {
      mSession.reset();
      return filled;
    }
  }
  const std::size_t n = std::min(maxBytes, s.plain.size());
  into.append(s.plain, 0, n);
  s.plain.erase(0, n);
  return ReceiveResult::kData;
}

void TlsConnection::Close() {
  if (!mSession) return;
  Session& s = *mSession;
  if (s.tcp.IsOpen() && s.context.valid()) {
    // Tells the collector the session ends (close_notify); its answer is not waited for.
    DWORD shutdown = SCHANNEL_SHUTDOWN;
    SecBuffer token{sizeof shutdown, SECBUFFER_TOKEN, &shutdown};
    SecBufferDesc desc{SECBUFFER_VERSION, 1, &token};
    if (ApplyControlToken(s.context.get(), &desc) == SEC_E_OK) {
      OutputToken out;
      ULONG attributes = 0;
      InitializeSecurityContextW(s.credentials.get(), s.context.get(), s.target.data(), kRequest, 0, 0,
                                 nullptr, 0, s.context.get(), &out.desc, &attributes, nullptr);
      std::string ignored;
      if (!out.bytes().empty()) s.tcp.SendAll(out.bytes(), kCloseMilliseconds, ignored);
    }
  }
  mSession.reset();
}

}  // namespace Tavro_KVO_Util::platform

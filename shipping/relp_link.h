// A RELP session: "open" with the syslog command, one "syslog" frame per message, each taken when
// its "200" response arrives, and "close" at the end.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_RELP_LINK_H
#define TAVROMEDIVANEUTIL_SHIPPING_RELP_LINK_H

#include <cstdint>
#include <deque>

#include <memory>

#include "platform/byte_stream.h"
#include "platform/tls_connection.h"
#include "shipping/collector_link.h"
#include "shipping/relp_frame.h"

namespace Tavro_KVO_Util::shipping {

class RelpLink : public CollectorLink {
 public:
  RelpLink(Destination destination, platform::TlsFiles tlsFiles, std::string softwareVersion)
      : mDestination(std::move(destination)),
        mSoftwareVersion(std::move(softwareVersion)),
        mTlsFiles(std::move(tlsFiles)) {}

  bool Open(int timeoutMilliseconds, std::string& why) override;
  bool IsOpen() const override { return mStream && mStream->IsOpen(); }
  bool Send(std::string_view message, std::string& why) override;
  bool Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) override;
  void Close(int timeoutMilliseconds) override;

 private:
  struct Sent {
    std::uint32_t txnr;
    bool answered;
  };

  // Reads what has arrived within the time and handles each whole frame.
  bool ReadResponses(int timeoutMilliseconds, std::string& why);
  bool Handle(const RelpFrame& frame, std::string& why);
  // Sends the gathered frames. False with `why`, the connection then dropped.
  bool Flush(std::string& why);
  void Drop();
  // Says why a TLS session may end before the open is answered.
  void ExplainEarlyEnd(std::string& why) const;

  Destination mDestination;
  std::string mSoftwareVersion;
  platform::TlsFiles mTlsFiles;
  std::unique_ptr<platform::ByteStream> mStream;  // TCP, or TLS over it
  std::string mReceived;                          // bytes of frames not yet whole
  std::string mOutgoing;                          // frames gathered by Send, not yet handed to the socket
  std::uint32_t mNextTxnr = 1;
  std::uint32_t mOpenTxnr = 0;  // the "open" waiting for its answer, or 0
  std::deque<Sent> mSent;       // "syslog" frames not yet taken, oldest first
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_RELP_LINK_H

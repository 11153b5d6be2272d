// Plain TCP with RFC 6587 octet-counted framing ("LEN SP MSG"): no acknowledgements.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H
#define TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H

#include <memory>

#include "platform/byte_stream.h"
#include "platform/tls_connection.h"
#include "shipping/collector_link.h"

namespace Tavro_KVO_Util::shipping {

class OctetCountedLink : public CollectorLink {
 public:
  OctetCountedLink(Destination destination, platform::TlsFiles tlsFiles)
      : mDestination(std::move(destination)), mTlsFiles(std::move(tlsFiles)) {}

  bool Open(int timeoutMilliseconds, std::string& why) override;
  bool IsOpen() const override { return mStream && mStream->IsOpen(); }
  // Taken as soon as the socket accepted it.
  bool Send(std::string_view message, std::string& why) override;
  // Reports what was handed to the socket, and notices a collector that closed the connection.
  bool Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) override;
  void Close(int timeoutMilliseconds) override;

 private:
  // Hands the gathered frames to the socket. False with `why`, the connection then closed.
  bool Flush(std::string& why);

  Destination mDestination;
  platform::TlsFiles mTlsFiles;
  std::unique_ptr<platform::ByteStream> mStream;  // TCP, or TLS over it
  std::string mOutgoing;                          // frames gathered by Send
  std::size_t mGathered = 0;                      // messages in mOutgoing
  std::size_t mHandedOver = 0;                    // messages the socket accepted since the last Collect
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H

// Plain TCP with RFC 6587 octet-counted framing ("LEN SP MSG"): no acknowledgements.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H
#define TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H

#include "platform/tcp_connection.h"
#include "shipping/collector_link.h"

namespace Tavro_KVO_Util::shipping {

class OctetCountedLink : public CollectorLink {
 public:
  explicit OctetCountedLink(Destination destination) : mDestination(std::move(destination)) {}

  bool Open(int timeoutMilliseconds, std::string& why) override;
  bool IsOpen() const override { return mConnection.IsOpen(); }
  // Taken as soon as the socket accepted it.
  bool Send(std::string_view message, std::string& why) override;
  // Reports what was handed to the socket, and notices a collector that closed the connection.
  bool Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) override;
  void Close(int timeoutMilliseconds) override;

 private:
  // Hands the gathered frames to the socket. False with `why`, the connection then closed.
  bool Flush(std::string& why);

  Destination mDestination;
  platform::TcpConnection mConnection;
  std::string mOutgoing;        // frames gathered by Send
  std::size_t mGathered = 0;    // messages in mOutgoing
  std::size_t mHandedOver = 0;  // messages the socket accepted since the last Collect
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H

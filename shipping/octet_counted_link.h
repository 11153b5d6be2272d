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
  // Reports what Send handed over, and notices a collector that closed the connection.
  bool Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) override;
  void Close(int timeoutMilliseconds) override;

 private:
  Destination mDestination;
  platform::TcpConnection mConnection;
  std::size_t mHandedOver = 0;
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_OCTET_COUNTED_LINK_H

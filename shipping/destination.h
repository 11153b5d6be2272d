// Where the shipper sends:
//   relp://HOST:PORT      RELP, acknowledged (the default)
//   relp+tls://HOST:PORT  RELP inside TLS
//   tls://HOST:PORT       syslog over TLS (RFC 5425): octet-counted framing, unacknowledged
//   tcp://HOST:PORT       RFC 6587 octet-counted framing in clear text, unacknowledged
// HOST is a name, an IPv4 address, or an IPv6 address in brackets ("relp://[::1]:2514").
#ifndef TAVROMEDIVANEUTIL_SHIPPING_DESTINATION_H
#define TAVROMEDIVANEUTIL_SHIPPING_DESTINATION_H

#include <cstdint>
#include <string>

namespace Tavro_KVO_Util::shipping {

struct Destination {
  enum class Protocol { kRelp, kTcp } protocol = Protocol::kRelp;
  bool tls = false;  // the protocol runs inside TLS (relp+tls, tls)
  std::string host;
  std::uint16_t port = 0;
};

// False with a reason in `why` for anything else (another scheme, no host, a port outside
// 1-65535, anything after the port).
bool ParseDestination(const std::string& url, Destination& destination, std::string& why);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_DESTINATION_H

// A connection to the syslog collector that tells which messages it has taken.
//
// Either runs over plain TCP or, for relp+tls:// and tls://, over TLS.
//
// RELP acknowledges each message: a message is taken when its "200" response arrives. Plain TCP
// (octet-counted) has no acknowledgements: a message counts as taken once the socket accepted
// it, so what was in flight when a connection broke may be lost (see the README).
//
// Messages are taken in the order sent. After a broken connection, Open starts afresh and the
// caller sends again, in order, every message not yet taken. Not thread-safe.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_LINK_H
#define TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_LINK_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/tls_connection.h"
#include "shipping/destination.h"

namespace Tavro_KVO_Util::shipping {

class CollectorLink {
 public:
  virtual ~CollectorLink() = default;

  // Connects (and opens the RELP session), within `timeoutMilliseconds`. False with `why`.
  virtual bool Open(int timeoutMilliseconds, std::string& why) = 0;

  virtual bool IsOpen() const = 0;

  // Sends one message. False with `why` when the connection broke; it is then closed.
  virtual bool Send(std::string_view message, std::string& why) = 0;

  // Waits at most `timeoutMilliseconds` for the collector to take messages sent earlier, and adds
  // to `taken` how many of the oldest ones it took. A stop request ends the wait early. False
  // with `why` when the connection broke or the collector refused a message; it is then closed.
  virtual bool Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) = 0;

  // Ends the session as the protocol asks and closes the connection.
  virtual void Close(int timeoutMilliseconds) = 0;
};

// The link for `destination`'s protocol; `tlsFiles` serve relp+tls:// and tls://.
std::unique_ptr<CollectorLink> MakeCollectorLink(const Destination& destination,
                                                 const platform::TlsFiles& tlsFiles,
                                                 std::string softwareVersion);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_LINK_H

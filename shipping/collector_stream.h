// The connection a collector link speaks over: plain TCP, or TLS over TCP for relp+tls:// and
// tls:// destinations.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_STREAM_H
#define TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_STREAM_H

#include <memory>
#include <string>

#include "platform/byte_stream.h"
#include "platform/tls_connection.h"
#include "shipping/destination.h"

namespace Tavro_KVO_Util::shipping {

// Connects within `timeoutMilliseconds` (for TLS, the handshake and the server's verification
// included). Null with a reason in `why`.
std::unique_ptr<platform::ByteStream> ConnectToCollector(const Destination& destination,
                                                         const platform::TlsFiles& tlsFiles,
                                                         int timeoutMilliseconds, std::string& why);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_COLLECTOR_STREAM_H

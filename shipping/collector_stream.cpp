#include "shipping/collector_stream.h"

#include "platform/tcp_connection.h"

namespace Tavro_KVO_Util::shipping {

std::unique_ptr<platform::ByteStream> ConnectToCollector(const Destination& destination,
                                                         const platform::TlsFiles& tlsFiles,
                                                         int timeoutMilliseconds, std::string& why) {
  if (destination.tls) {
    auto tls = std::make_unique<platform::TlsConnection>();
    if (!tls->Connect(destination.host, destination.port, tlsFiles, timeoutMilliseconds, why)) return nullptr;
    return tls;
  }
  auto tcp = std::make_unique<platform::TcpConnection>();
  if (!tcp->Connect(destination.host, destination.port, timeoutMilliseconds, why)) return nullptr;
  return tcp;
}

}  // namespace Tavro_KVO_Util::shipping

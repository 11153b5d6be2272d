#include "shipping/collector_link.h"

#include "shipping/octet_counted_link.h"
#include "shipping/relp_link.h"

namespace Tavro_KVO_Util::shipping {

std::unique_ptr<CollectorLink> MakeCollectorLink(const Destination& destination,
                                                 const platform::TlsFiles& tlsFiles,
                                                 std::string softwareVersion) {
  if (destination.protocol == Destination::Protocol::kTcp)
    return std::make_unique<OctetCountedLink>(destination, tlsFiles);
  return std::make_unique<RelpLink>(destination, tlsFiles, std::move(softwareVersion));
}

}  // namespace Tavro_KVO_Util::shipping

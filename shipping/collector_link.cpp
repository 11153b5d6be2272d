#include "shipping/collector_link.h"

#include "shipping/octet_counted_link.h"
#include "shipping/relp_link.h"

namespace Tavro_KVO_Util::shipping {

std::unique_ptr<CollectorLink> MakeCollectorLink(const Destination& destination,
                                                 std::string softwareVersion) {
  if (destination.protocol == Destination::Protocol::kTcp)
    return std::make_unique<OctetCountedLink>(destination);
  return std::make_unique<RelpLink>(destination, std::move(softwareVersion));
}

}  // namespace Tavro_KVO_Util::shipping

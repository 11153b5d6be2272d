#include "shipping/destination.h"

namespace Tavro_KVO_Util::shipping {

bool ParseDestination(const std::string& url, Destination& destination, std::string& why) {
  why = "'" + url + "' is not relp://HOST:PORT, relp+tls://HOST:PORT, tls://HOST:PORT or tcp://HOST:PORT";
  struct Scheme {
    const char* prefix;
    Destination::Protocol protocol;
    bool tls;
  };
  static constexpr Scheme kSchemes[] = {
      {"relp://", Destination::Protocol::kRelp, false},
      {"relp+tls://", Destination::Protocol::kRelp, true},
      {"tls://", Destination::Protocol::kTcp, true},
      {"tcp://", Destination::Protocol::kTcp, false},
  };
  std::string rest;
  bool known = false;
  for (const Scheme& scheme : kSchemes) {
    const std::string prefix = scheme.prefix;
    if (url.rfind(prefix, 0) != 0) continue;
    destination.protocol = scheme.protocol;
    destination.tls = scheme.tls;
    rest = url.substr(prefix.size());
    known = true;
    break;
  }
  if (!known) return false;
  std::size_t colon = std::string::npos;
  if (!rest.empty() && rest[0] == '[') {
    const std::size_t close = rest.find(']');
    if (close == std::string::npos || close + 1 >= rest.size() || rest[close + 1] != ':') return false;
    destination.host = rest.substr(1, close - 1);
    colon = close + 1;
  } else {
    colon = rest.rfind(':');
    if (colon == std::string::npos) return false;
    destination.host = rest.substr(0, colon);
    if (destination.host.find_first_of(":/@[] ") != std::string::npos) return false;
  }
  if (destination.host.empty()) return false;
  const std::string port = rest.substr(colon + 1);
  if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos)
    return false;
  const unsigned long number = std::stoul(port);
  if (number < 1 || number > 65535) return false;
  destination.port = static_cast<std::uint16_t>(number);
  why.clear();
  return true;
}

}  // namespace Tavro_KVO_Util::shipping

// Platform service: this computer's name, as other machines on the network know it.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_HOST_NAME_H
#define TAVROMEDIVANEUTIL_PLATFORM_HOST_NAME_H

#include <string>

namespace Tavro_KVO_Util::platform {

// The computer's host name (Linux: gethostname; Windows: the DNS host name), UTF-8. Empty when
// the system cannot tell.
std::string ComputerName();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_HOST_NAME_H

#include "platform/host_name.h"

#include <unistd.h>

namespace Tavro_KVO_Util::platform {

std::string ComputerName() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0) return std::string();
  return name;
}

}  // namespace Tavro_KVO_Util::platform

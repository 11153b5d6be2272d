#include "platform/service_host.h"

namespace Tavro_KVO_Util::platform {

ServiceRun RunAsService(const std::wstring& /*name*/, const std::function<int()>& /*work*/, int& exitCode,
                        std::string& why) {
  exitCode = 0;
  why =
      "there is no Windows service control manager on this system; run the command itself (under "
      "systemd, say)";
  return ServiceRun::kFailed;
}

bool ReportServiceEvent(const std::wstring& /*source*/, const std::wstring& /*message*/,
                        unsigned short /*eventType*/) {
  return false;
}

}  // namespace Tavro_KVO_Util::platform

// The log functions of the C interface over the process's Logger.
#include <string>

#include "Logger.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "platform/utf8.h"

namespace {

using Tavro_KVO_Util::Logger;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::GuardedValue;
using Tavro_KVO_Util::c_api::IsWellFormedUtf8;
using Tavro_KVO_Util::c_api::WideArgument;

}  // namespace

extern "C" {

tmu_status tmu_log(int level, const char* area, const char* message, const char* data, const char* file,
                   int line) {
  return Guarded("tmu_log", [&]() -> tmu_status {
    std::wstring wideArea;
    std::wstring wideMessage;
    std::wstring wideFile;
    std::wstring wideData;
    if (!WideArgument("tmu_log", "area", area, wideArea) ||
        !WideArgument("tmu_log", "message", message, wideMessage) ||
        !WideArgument("tmu_log", "file", file, wideFile) ||
        (data != nullptr && !WideArgument("tmu_log", "data", data, wideData))) {
      return TMU_INVALID_ARGUMENT;
    }
    Logger* logger = Logger::GetInstance();
    if (logger == nullptr) return TMU_OUT_OF_MEMORY;  // the only reason it has none
    if (data == nullptr) {
      logger->Log(wideArea.c_str(), level, wideMessage.c_str(), wideFile.c_str(), line);
    } else {
      logger->LogString(wideArea.c_str(), level, wideMessage.c_str(), wideData.c_str(), wideFile.c_str(),
                        line);
    }
    return TMU_OK;
  });
}

int tmu_log_is_loggable(const char* area, int level) {
  return GuardedValue("tmu_log_is_loggable", 0, [&] {
    if (area == nullptr || !IsWellFormedUtf8(area, std::char_traits<char>::length(area))) return 0;
    Logger* logger = Logger::GetInstance();
    if (logger == nullptr) return 0;
    return logger->IsThisLevelLoggable(Tavro_KVO_Util::platform::Utf8ToWide(area).c_str(), level) ? 1 : 0;
  });
}

}  // extern "C"

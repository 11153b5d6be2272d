#include "platform/local_time.h"

#include <time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "platform/posix/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::wstring Format(const char* format, const tm& parts) {
  char buffer[128];
  const std::size_t length = strftime(buffer, sizeof buffer, format, &parts);
  return Utf8ToWide(std::string(buffer, length));
}

// localtime_r alone reads TZ and /etc/localtime only once per process; tzset looks again. It
// costs a file status call, a tenth of a log entry, so it runs when TZ changes and otherwise at
// most once a second: a change of zone shows in the entries of the next second.
void RefreshZoneIfStale(time_t now) {
  static std::atomic<time_t> lastRefresh{0};
  static std::mutex zoneVariableMutex;
  static std::string lastZoneVariable;
  bool zoneVariableChanged = false;
  {
    const std::lock_guard<std::mutex> lock(zoneVariableMutex);
    const char* zone = std::getenv("TZ");
    const std::string current = zone != nullptr ? std::string("=") + zone : std::string();
    if (current != lastZoneVariable) {
      lastZoneVariable = current;
      zoneVariableChanged = true;
    }
  }
  if (zoneVariableChanged || lastRefresh.exchange(now, std::memory_order_relaxed) != now) tzset();
}

}  // namespace

LocalTimeTexts CurrentLocalTimeTexts() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  RefreshZoneIfStale(now.tv_sec);
  tm parts{};
  localtime_r(&now.tv_sec, &parts);

  LocalTimeTexts texts;
  char milliseconds[16];
  std::snprintf(milliseconds, sizeof milliseconds, ".%03u",
                static_cast<unsigned>(now.tv_nsec / 1'000'000L) % 1000u);
  texts.time = Format("%H:%M:%S", parts) + Utf8ToWide(milliseconds);
  texts.date = Format("%Y-%m-%d", parts);
  texts.zone = Format("%Z", parts);
  return texts;
}

}  // namespace Tavro_KVO_Util::platform

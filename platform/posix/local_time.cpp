#include "platform/local_time.h"

#include <time.h>

#include <cstdio>

#include "platform/posix/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::wstring Format(const char* format, const tm& parts) {
  char buffer[128];
  const std::size_t length = strftime(buffer, sizeof buffer, format, &parts);
  return Utf8ToWide(std::string(buffer, length));
}

}  // namespace

LocalTimeTexts CurrentLocalTimeTexts() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  // localtime_r alone reads TZ and /etc/localtime only once per process; tzset looks again, so a
  // change of zone shows in the next entry, as it does on Windows.
  tzset();
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

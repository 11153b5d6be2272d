#include "platform/local_time.h"

#include <time.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <string>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

// localtime_r alone reads TZ and /etc/localtime only once per process; tzset looks again. It
// costs a file status call, a tenth of a log entry, so it runs when TZ changes and otherwise at
// most once a second: a change of zone shows in the entries of the next second.
// True when TZ differs from what any thread saw last. Each thread first compares with what it
// saw itself, without the lock: TZ rarely changes, and this runs for every entry.
bool ZoneVariableChanged() {
  static std::mutex zoneVariableMutex;
  static std::string lastZoneVariable;
  thread_local bool seen = false;
  thread_local bool seenUnset = false;
  thread_local char seenValue[128];
  const char* zone = std::getenv("TZ");
  if (seen && (zone == nullptr ? seenUnset
                               : !seenUnset && std::strlen(zone) < sizeof seenValue &&
                                     std::strcmp(zone, seenValue) == 0)) {
    return false;
  }
  seen = zone == nullptr || std::strlen(zone) < sizeof seenValue;  // a longer one is always compared
  seenUnset = zone == nullptr;
  if (zone != nullptr && seen) std::strcpy(seenValue, zone);
  const std::string current = zone != nullptr ? std::string("=") + zone : std::string();
  const std::lock_guard<std::mutex> lock(zoneVariableMutex);
  if (current == lastZoneVariable) return false;
  lastZoneVariable = current;
  return true;
}

// Returns true when it re-read the zone.
bool RefreshZoneIfStale(time_t now) {
  static std::atomic<time_t> lastRefresh{0};
  const bool zoneVariableChanged = ZoneVariableChanged();
  if (zoneVariableChanged || lastRefresh.exchange(now, std::memory_order_relaxed) != now) {
    tzset();
    return true;
  }
  return false;
}

// The texts of one second, kept by each thread: entries within a second differ only in their
// milliseconds, and rendering date, time and zone again cost a tenth of an entry. Plain data, so
// that a thread ending after the library is unloaded runs no code of ours. A re-read zone (a new
// second, or TZ changed) renders again.
struct SecondTexts {
  bool valid;
  time_t second;
  std::wstring::size_type timeLength;
  wchar_t time[16];  // "%H:%M:%S"
  wchar_t date[16];  // "%Y-%m-%d"
  wchar_t zone[64];  // "%Z"
};

thread_local SecondTexts tSecond{};

void Render(const char* format, const tm& parts, wchar_t* out, std::size_t capacity) {
  char buffer[64];
  const std::size_t length = strftime(buffer, sizeof buffer, format, &parts);
  const std::wstring wide = Utf8ToWide(std::string(buffer, length));
  const std::size_t copied = wide.copy(out, capacity - 1);
  out[copied] = L'\0';
}

}  // namespace

LocalTimeTexts CurrentLocalTimeTexts() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const bool zoneReread = RefreshZoneIfStale(now.tv_sec);
  SecondTexts& second = tSecond;
  if (zoneReread || !second.valid || second.second != now.tv_sec) {
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    Render("%H:%M:%S", parts, second.time, sizeof second.time / sizeof second.time[0]);
    Render("%Y-%m-%d", parts, second.date, sizeof second.date / sizeof second.date[0]);
    Render("%Z", parts, second.zone, sizeof second.zone / sizeof second.zone[0]);
    second.timeLength = std::wcslen(second.time);
    second.second = now.tv_sec;
    second.valid = true;
  }

  LocalTimeTexts texts;
  const unsigned milliseconds = static_cast<unsigned>(now.tv_nsec / 1'000'000L) % 1000u;
  texts.time.reserve(second.timeLength + 4);
  texts.time.assign(second.time, second.timeLength);
  texts.time.push_back(L'.');
  texts.time.push_back(static_cast<wchar_t>(L'0' + milliseconds / 100));
  texts.time.push_back(static_cast<wchar_t>(L'0' + milliseconds / 10 % 10));
  texts.time.push_back(static_cast<wchar_t>(L'0' + milliseconds % 10));
  texts.date = second.date;
  texts.zone = second.zone;
  return texts;
}

}  // namespace Tavro_KVO_Util::platform

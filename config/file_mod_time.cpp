#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "FileModTime.h"
#include "platform/file_time.h"

namespace Tavro_KVO_Util {
namespace {

// Writes the stamp text. Seconds and milliseconds are blank-padded ("%2d"), as support tools and
// stored stamps expect; milliseconds may take three digits.
void FormatStamp(const platform::LocalTimeFields& t, wchar_t (&text)[64]) {
  char narrow[64];
  const int length = std::snprintf(narrow, sizeof narrow, "%02d:%02d:%d:%02d:%02d:%2d:%2d", t.day, t.month,
                                   t.year, t.hour, t.minute, t.second, t.millisecond);
  int i = 0;
  for (; i < length && i < 63; ++i) text[i] = static_cast<wchar_t>(static_cast<unsigned char>(narrow[i]));
  text[i] = L'\0';
}

}  // namespace

FileModTime::FileModTime() : timeString{}, timeZone{} {}

void FileModTime::Clear() {
  std::memset(timeString, 0, sizeof timeString);
  std::memset(timeZone.bytes, 0, sizeof timeZone.bytes);
}

bool FileModTime::Record(const wchar_t* path) {
  if (path == nullptr) return false;
  TimeZoneRecord zone{};
  if (!platform::CurrentTimeZoneFor(path, zone)) return false;
  return GetFSFModTime(path, zone);
}

bool FileModTime::GetFSFModTime(const wchar_t* path, const TimeZoneRecord& zone) {
  if (path == nullptr) return false;
  platform::LocalTimeFields local{};
  if (!platform::FileLastWriteTimeIn(path, zone, local)) return false;
  // Only the first 32 characters are cleared; the new text ends in its own terminator anyway.
  std::fill_n(timeString, 32, L'\0');
  timeZone = zone;
  FormatStamp(local, timeString);
  return true;
}

}  // namespace Tavro_KVO_Util

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "FileModTime.h"
#include "config/stamp_text.h"
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

// One rendering: the text that `time` gives in `zone`. Rendering depends on nothing else, so a
// remembered text is always the text a new rendering would give.
struct RenderedStamp {
  bool used;
  platform::RawFileTime time;
  TimeZoneRecord zone;
  wchar_t text[64];
};

// A few per thread: the logger's store and a program's own store of the same file share one, and
// a second file (GetInstance with a file name) has room too. Per thread, not per process, so that
// a check takes no lock beyond the store's own.
constexpr unsigned kRememberedStamps = 4;
struct RenderedStamps {
  RenderedStamp entries[kRememberedStamps];
  unsigned next;
};

RenderedStamps& ThreadStamps() {
  thread_local RenderedStamps stamps{};
  return stamps;
}

}  // namespace

namespace internal {

const wchar_t* CurrentStampText(const wchar_t* path, const TimeZoneRecord& zone) {
  platform::RawFileTime time{};
  if (!platform::ReadLastWrite(path, time)) return nullptr;
  RenderedStamps& stamps = ThreadStamps();
  for (const RenderedStamp& entry : stamps.entries) {
    if (entry.used && entry.time == time && std::memcmp(entry.zone.bytes, zone.bytes, sizeof zone.bytes) == 0)
      return entry.text;
  }
  platform::LocalTimeFields local{};
  if (!platform::LocalFieldsIn(time, zone, local)) return nullptr;
  RenderedStamp& slot = stamps.entries[stamps.next];
  stamps.next = (stamps.next + 1) % kRememberedStamps;
  slot.used = true;
  slot.time = time;
  slot.zone = zone;
  FormatStamp(local, slot.text);
  return slot.text;
}

}  // namespace internal

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
  const wchar_t* text = internal::CurrentStampText(path, zone);
  if (text == nullptr) return false;
  // Only the first 32 characters are cleared; the new text ends in its own terminator anyway.
  std::fill_n(timeString, 32, L'\0');
  timeZone = zone;
  std::wcscpy(timeString, text);  // at most 63 characters: FormatStamp's limit
  return true;
}

}  // namespace Tavro_KVO_Util

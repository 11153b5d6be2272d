// A file's last-write time set to a given UTC instant, and read back as local calendar fields,
// each through the OS's own calls only, so that tests can check what the library derives from it
// against an answer it had no part in.
//
// Linux: utimensat, then stat and localtime_r (the zone in TZ; call tzset() after changing it).
// Windows: SystemTimeToFileTime and SetFileTime, then GetFileAttributesExW, FileTimeToSystemTime
// and SystemTimeToTzSpecificLocalTime in the machine's zone.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOCAL_FILE_TIME_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOCAL_FILE_TIME_H

#include <gtest/gtest.h>

#include <filesystem>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#endif

namespace Tavro_KVO_Util::testing {

struct CalendarTime {
  int year;
  int month;  // 1-12
  int day;
  int hour;
  int minute;
  int second;
  int millisecond;
};

#ifdef _WIN32

inline void SetLastWriteUtc(const std::filesystem::path& file, const CalendarTime& utc) {
  const SYSTEMTIME fields{
      static_cast<WORD>(utc.year),   static_cast<WORD>(utc.month),      /*wDayOfWeek=*/0,
      static_cast<WORD>(utc.day),    static_cast<WORD>(utc.hour),       static_cast<WORD>(utc.minute),
      static_cast<WORD>(utc.second), static_cast<WORD>(utc.millisecond)};
  FILETIME time{};
  ASSERT_TRUE(SystemTimeToFileTime(&fields, &time));
  HANDLE handle =
      CreateFileW(file.wstring().c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, 0, /*hTemplateFile=*/nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(SetFileTime(handle, /*lpCreationTime=*/nullptr, /*lpLastAccessTime=*/nullptr, &time));
  CloseHandle(handle);
}

inline CalendarTime LocalLastWrite(const std::filesystem::path& file) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  EXPECT_TRUE(GetFileAttributesExW(file.wstring().c_str(), GetFileExInfoStandard, &data));
  SYSTEMTIME utc{};
  SYSTEMTIME local{};
  EXPECT_TRUE(FileTimeToSystemTime(&data.ftLastWriteTime, &utc));
  EXPECT_TRUE(SystemTimeToTzSpecificLocalTime(/*lpTimeZoneInformation=*/nullptr, &utc, &local));
  return {local.wYear,   local.wMonth,  local.wDay,         local.wHour,
          local.wMinute, local.wSecond, local.wMilliseconds};
}

#else

inline void SetLastWriteUtc(const std::filesystem::path& file, const CalendarTime& utc) {
  struct tm fields {};
  fields.tm_year = utc.year - 1900;
  fields.tm_mon = utc.month - 1;
  fields.tm_mday = utc.day;
  fields.tm_hour = utc.hour;
  fields.tm_min = utc.minute;
  fields.tm_sec = utc.second;
  const struct timespec times[2] = {{0, UTIME_OMIT}, {timegm(&fields), utc.millisecond * 1000000L}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

inline CalendarTime LocalLastWrite(const std::filesystem::path& file) {
  struct stat info {};
  EXPECT_EQ(stat(file.c_str(), &info), 0);
  struct tm local {};
  EXPECT_NE(localtime_r(&info.st_mtim.tv_sec, &local), nullptr);
  return {local.tm_year + 1900,
          local.tm_mon + 1,
          local.tm_mday,
          local.tm_hour,
          local.tm_min,
          local.tm_sec,
          static_cast<int>(info.st_mtim.tv_nsec / 1000000)};
}

#endif

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOCAL_FILE_TIME_H

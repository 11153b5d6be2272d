// Moves a file's last-write time with sub-second precision on both builds. (libstdc++ on MinGW
// sets file times through _wutime, which keeps whole seconds only.)
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_FILE_TIMES_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_FILE_TIMES_H

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#endif

namespace Tavro_KVO_Util::testing {

using Ticks = std::chrono::duration<long long, std::ratio<1, 10000000>>;  // 100 ns, as FILETIME

// Calls `change` with the last-write time in 100 ns ticks since an epoch that starts on a whole
// second, and stores what it returns.
template <typename Change>
void ChangeLastWrite(const std::filesystem::path& file, Change change) {
#ifdef _WIN32
  HANDLE handle = CreateFileW(file.wstring().c_str(), FILE_WRITE_ATTRIBUTES | FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  FILETIME time{};
  GetFileTime(handle, nullptr, nullptr, &time);
  const Ticks before((static_cast<long long>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
  const Ticks after = change(before);
  time.dwLowDateTime = static_cast<DWORD>(after.count() & 0xFFFFFFFF);
  time.dwHighDateTime = static_cast<DWORD>(after.count() >> 32);
  EXPECT_TRUE(SetFileTime(handle, nullptr, nullptr, &time));
  CloseHandle(handle);
#else
  const auto now = std::filesystem::last_write_time(file).time_since_epoch();
  const Ticks after = change(std::chrono::duration_cast<Ticks>(now));
  std::filesystem::last_write_time(
      file, std::filesystem::file_time_type(
                std::chrono::duration_cast<std::filesystem::file_time_type::duration>(after)));
#endif
}

// Moves the last-write time by `delta`.
inline void ShiftLastWrite(const std::filesystem::path& file, Ticks delta) {
  ChangeLastWrite(file, [delta](Ticks t) { return t + delta; });
}

// Keeps the whole seconds of the last-write time and sets the milliseconds.
inline void SetLastWriteMilliseconds(const std::filesystem::path& file, int milliseconds) {
  ChangeLastWrite(file, [milliseconds](Ticks t) {
    return std::chrono::floor<std::chrono::seconds>(t) + std::chrono::milliseconds(milliseconds);
  });
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_FILE_TIMES_H

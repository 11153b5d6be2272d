// Reading the shared log beside the programs that write it.
//
// Writers open the log for one entry at a time under the machine-wide log mutex. On Windows they
// open it without sharing, so a reader that held it open at that moment would make the entry
// fail; there, a reader takes the same mutex (LogReadLock) and closes the file before releasing
// it. On Linux writers take only an advisory lock that plain readers do not touch, and
// LogReadLock does nothing. The rest of the tool is the same on both systems.
#ifndef MVUTIL_LOG_ACCESS_H
#define MVUTIL_LOG_ACCESS_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#ifdef _WIN32
#include "platform/named_mutex.h"
#endif

namespace mvutil {

// Which file a name stood for: renaming keeps it, a new file gets another. (Windows: volume serial
// number and file index; Linux: device and inode.)
struct LogFileId {
  std::uint64_t volume = 0;
  std::uint64_t index = 0;
  bool operator==(const LogFileId& other) const { return volume == other.volume && index == other.index; }
  bool operator!=(const LogFileId& other) const { return !(*this == other); }
};

// Keeps the log's writers out while it lives. Waits at most kWaitMilliseconds for them; a writer
// that holds the mutex longer is stuck, and the read then goes ahead without it.
class LogReadLock {
 public:
  static constexpr unsigned kWaitMilliseconds = 5000;

  LogReadLock();
  ~LogReadLock();  // NOLINT(performance-trivially-destructible): Windows releases the mutex here
  LogReadLock(const LogReadLock&) = delete;
  LogReadLock& operator=(const LogReadLock&) = delete;

 private:
#ifdef _WIN32
  Tavro_KVO_Util::platform::NamedMutex mMutex;  // the writers' mutex, by its name
  bool mOwned = false;
#endif
};

// What one look at a log file found.
struct LogSlice {
  LogFileId id;
  std::uint64_t size = 0;  // the whole file's
  std::string bytes;       // from the offset asked for; shorter at the end of the file
};

enum class LogReadResult { kOk, kMissing, kFailed };

// Opens `path`, reads at most `maxBytes` from `offset`, and closes it again. kMissing when no file
// has that name.
LogReadResult ReadLogSlice(const std::filesystem::path& path, std::uint64_t offset, std::size_t maxBytes,
                           LogSlice& slice);

}  // namespace mvutil

#endif  // MVUTIL_LOG_ACCESS_H

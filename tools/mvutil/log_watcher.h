// Reads the entries of the shared log: the last ones of the current file, then, while following,
// each entry as it is appended, also across rolls into backups and across trims.
//
// The logger rolls by renaming: the current file becomes backup 1 (file.1), older backups move up
// one number, and the next entry starts a new file. The watcher knows the file it reads by its
// identity rather than its name, so after a roll it finds that file among the backups, reads what
// was appended to it before the roll, then reads the newer files from their starts, oldest first.
// A file emptied in place (the logger trims instead of rolling when it keeps no backups) is
// noticed because the bytes before the read position changed, and is read again from its start.
// When the file read last is gone altogether (it rolled past the last backup between two looks,
// or was deleted), reading goes on with the current file from its start, or, for a reader that
// must not skip what is still on disk (the shipper), with the oldest file left.
#ifndef MVUTIL_LOG_WATCHER_H
#define MVUTIL_LOG_WATCHER_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "entry_filter.h"
#include "log_access.h"

namespace mvutil {

// Where an entry ends in the log: the file by identity, the byte offset after the entry's line
// end, and the last bytes before that offset (at most kFingerprintSize), which tell whether the
// file still holds the same entries there or was emptied and written anew.
struct LogPosition {
  static constexpr std::size_t kFingerprintSize = 64;
  LogFileId id;
  std::uint64_t offset = 0;
  std::string fingerprint;
};

// One complete entry and where it ends.
struct LogEntry {
  std::string text;  // UTF-8, without the line end; a lone surrogate is U+FFFD
  LogPosition end;
};

class LogWatcher {
 public:
  enum class WhenLost {
    kCurrentFile,  // go on with the current file from its start (tail)
    kOldestFile,   // go on with the oldest file still there (the shipper), and say so
  };

  // `file`: the current log; `maxBackups`: how many numbered backups the logger keeps.
  LogWatcher(std::filesystem::path file, long maxBackups, const EntryFilter& filter,
             WhenLost whenLost = WhenLost::kCurrentFile);

  // Makes Follow go on after `position` (a position an earlier watcher handed out). When that
  // file is no longer there, or no longer holds the same bytes before the offset, Follow starts
  // as `whenLost` says.
  void ResumeAfter(const LogPosition& position);

  // True once after Follow found the file it was reading gone and went on with another one:
  // entries between may be lost. Only for WhenLost::kOldestFile.
  bool TakeLostNotice();

  // Appends the last `count` entries of the current file that pass the filter, oldest first, as
  // UTF-8 without line ends, and makes Follow start after them (with `count` 0: at the end). An entry still
  // being written (no CR LF yet) is left for Follow. False when there is no current file.
  bool ReadLast(std::size_t count, std::vector<std::string>& entries);

  // Appends the entries that passed the filter and were completed since the last call, oldest
  // first. Returns true when more is waiting than one call reads: call again at once.
  bool Follow(std::vector<std::string>& entries);

  // The same, with where each entry ends.
  bool Follow(std::vector<LogEntry>& entries);

 private:
  // Where reading goes on: a file, by identity, and a byte offset at the start of an entry.
  struct Cursor {
    bool known = false;
    LogFileId id;
    std::uint64_t offset = 0;
    std::string seen;  // the last bytes before `offset`, to notice a file emptied and refilled
  };

  // One file of the log as a look at it found it.
  struct Member {
    std::filesystem::path path;
    LogFileId id;
    bool operator==(const Member& other) const { return path == other.path && id == other.id; }
  };

  enum class ReadOutcome { kDone, kMore, kMoved };

  std::filesystem::path Backup(long number) const;
  std::vector<Member> LookUpTo(const LogFileId* id, bool& reached) const;
  std::vector<Member> MembersUpTo(const LogFileId* id, bool& reached) const;
  bool ReadById(const LogFileId& id, std::uint64_t offset, std::size_t length, std::string& bytes) const;
  ReadOutcome ReadOn(const std::filesystem::path& path, bool closed, std::vector<LogEntry>& entries);
  void Take(std::string_view line, LogPosition end, std::vector<LogEntry>& entries) const;
  void TakeFromBack(std::string& pending, bool startsFile, std::size_t count,
                    std::vector<LogEntry>& newestFirst) const;
  void Advance(std::string_view consumed);

  std::filesystem::path mFile;
  long mMaxBackups;
  const EntryFilter& mFilter;
  WhenLost mWhenLost;
  bool mLost = false;
  bool mReplaced = false;  // the cursor's file no longer holds what the cursor saw (kOldestFile)
  Cursor mCursor;
  int mLostLooks = 0;                // looks in a row that did not find the file read last
  std::vector<LogFileId> mOldFiles;  // backups there before the log itself was (see ReadLast)
};

}  // namespace mvutil

#endif  // MVUTIL_LOG_WATCHER_H

#include "log_watcher.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "log_lines.h"

namespace mvutil {
namespace {

// How much one look reads from one file. On Windows writers wait while the tool reads (at most
// 1000 ms, then they drop their entry), so each look must stay short. The shipper holds the
// entries of one look, formatted, ahead of its window, so this also bounds its memory; larger
// looks gain nothing measurable in speed.
constexpr std::size_t kReadSize = 256 * 1024;
// How many bytes before the read position are compared at each look.
constexpr std::size_t kSeenSize = LogPosition::kFingerprintSize;
// How often the files are looked at again while they keep moving.
constexpr int kLooksForCalm = 20;

}  // namespace

LogWatcher::LogWatcher(std::filesystem::path file, long maxBackups, const EntryFilter& filter,
                       WhenLost whenLost)
    : mFile(std::move(file)), mMaxBackups(maxBackups), mFilter(filter), mWhenLost(whenLost) {}

void LogWatcher::ResumeAfter(const LogPosition& position) {
  mCursor = {true, position.id, position.offset, position.fingerprint};
}

bool LogWatcher::TakeLostNotice() { return std::exchange(mLost, false); }

std::filesystem::path LogWatcher::Backup(long number) const {
  std::filesystem::path path = mFile;
  path += "." + std::to_string(number);
  return path;
}

// One look at the current file and its backups, newest first, up to the file `id` (all of them
// when `id` is null). One missing number does not end the look: a roll renames from the oldest
// backup down, so one number is missing for a moment (for long when the writer is held up in
// the middle of the roll). Two in a row do.
std::vector<LogWatcher::Member> LogWatcher::LookUpTo(const LogFileId* id, bool& reached) const {
  std::vector<Member> members;
  reached = false;
  int missing = 0;
  for (long number = 0; number <= std::max(mMaxBackups, 0L) && missing < 2; ++number) {
    const std::filesystem::path path = number == 0 ? mFile : Backup(number);
    LogSlice look;
    if (ReadLogSlice(path, 0, 0, look) != LogReadResult::kOk) {
      // The current file is missing between a roll and the entry that starts the new one.
      if (number > 0) ++missing;
      continue;
    }
    missing = 0;
    // Seen twice only when a roll ran during the look (see MembersUpTo): the file counts once.
    const bool seen = std::any_of(members.begin(), members.end(),
                                  [&](const Member& member) { return member.id == look.id; });
    if (!seen) members.push_back({path, look.id});
    if (id != nullptr && look.id == *id) {
      reached = true;
      break;
    }
  }
  return members;
}

// On Linux, where reading takes no lock, a roll may run during a look and show files in places
// they never held together. Two looks in a row that find the same files in the same places saw
// them standing still.
std::vector<LogWatcher::Member> LogWatcher::MembersUpTo(const LogFileId* id, bool& reached) const {
  std::vector<Member> members = LookUpTo(id, reached);
  for (int attempt = 0; attempt < kLooksForCalm; ++attempt) {
    std::vector<Member> again = LookUpTo(id, reached);
    if (again == members) break;
    members = std::move(again);
  }
  return members;
}

bool LogWatcher::ReadById(const LogFileId& id, std::uint64_t offset, std::size_t length,
                          std::string& bytes) const {
  LogReadLock lock;
  bool reached = false;
  const std::vector<Member> members = MembersUpTo(&id, reached);
  if (!reached) return false;
  LogSlice slice;
  if (ReadLogSlice(members.back().path, offset, length, slice) != LogReadResult::kOk || slice.id != id) {
    return false;
  }
  bytes = std::move(slice.bytes);
  return bytes.size() == length;
}

void LogWatcher::Take(std::string_view line, LogPosition end, std::vector<LogEntry>& entries) const {
  std::string entry = Utf16LeToUtf8(line);
  if (mFilter.Matches(entry)) entries.push_back({std::move(entry), std::move(end)});
}

void LogWatcher::Advance(std::string_view consumed) {
  mCursor.offset += consumed.size();
  std::string seen = mCursor.seen;
  seen.append(consumed.data(), consumed.size());
  mCursor.seen = seen.substr(seen.size() - std::min(seen.size(), kSeenSize));
}

// Takes complete entries off the back of `pending` (which ends with a line end) until `count`
// have passed the filter. An entry that begins before `pending` is left unless `pending` starts
// the file.
void LogWatcher::TakeFromBack(std::string& pending, bool startsFile, std::size_t count,
                              std::vector<LogEntry>& newestFirst) const {
  while (newestFirst.size() < count && !pending.empty()) {
    const std::size_t previous = FindLineEndBefore(pending, pending.size() - kLineEndSize);
    if (previous == std::string::npos && !startsFile) return;
    const std::size_t start =
        previous == std::string::npos ? ByteOrderMarkSize(pending) : previous + kLineEndSize;
    Take(std::string_view(pending).substr(start, pending.size() - kLineEndSize - start), LogPosition(),
         newestFirst);
    pending.resize(previous == std::string::npos ? 0 : previous + kLineEndSize);
  }
}

bool LogWatcher::ReadLast(std::size_t count, std::vector<std::string>& entries) {
  LogSlice look;
  {
    LogReadLock lock;
    if (ReadLogSlice(mFile, 0, 0, look) != LogReadResult::kOk) {
      // Follow takes the files that appear from now on as new; the backups here now are old.
      bool reached = false;
      for (const Member& member : MembersUpTo(nullptr, reached)) {
        if (member.path != mFile) mOldFiles.push_back(member.id);
      }
      return false;
    }
  }
  mCursor = {true, look.id, 0, {}};

  // Blocks are read backwards from the end until the end of the last complete entry is known and
  // `count` entries have passed, or the start is reached. `pending` holds the file's bytes from
  // `pendingStart` on, up to that end once it is known.
  std::string pending;
  std::uint64_t pendingStart = look.size & ~std::uint64_t{1};
  bool endFound = false;
  std::vector<LogEntry> newestFirst;
  for (;;) {
    if (endFound) TakeFromBack(pending, pendingStart == 0, count, newestFirst);
    if (pendingStart == 0 || (endFound && newestFirst.size() >= count)) break;
    const std::uint64_t blockStart =
        pendingStart > kReadSize ? (pendingStart - kReadSize) & ~std::uint64_t{1} : 0;
    std::string block;
    // The file may have rolled since the first look; it is then read as the backup it became.
    if (!ReadById(look.id, blockStart, static_cast<std::size_t>(pendingStart - blockStart), block)) break;
    pending.insert(0, block);
    pendingStart = blockStart;
    if (endFound) continue;
    const std::size_t last = FindLineEndBefore(pending, pending.size());
    if (last == std::string::npos) continue;
    // Follow goes on after the last complete entry; one still being written is its to read.
    pending.resize(last + kLineEndSize);
    endFound = true;
    mCursor.offset = pendingStart + pending.size();
    mCursor.seen = pending.substr(pending.size() - std::min(pending.size(), kSeenSize));
  }
  for (auto entry = newestFirst.rbegin(); entry != newestFirst.rend(); ++entry) {
    entries.push_back(std::move(entry->text));
  }
  return true;
}

bool LogWatcher::Follow(std::vector<std::string>& entries) {
  std::vector<LogEntry> read;
  const bool more = Follow(read);
  for (LogEntry& entry : read) entries.push_back(std::move(entry.text));
  return more;
}

bool LogWatcher::Follow(std::vector<LogEntry>& entries) {
  LogReadLock lock;
  bool reached = false;
  if (std::exchange(mReplaced, false)) {
    std::vector<Member> all = MembersUpTo(nullptr, reached);
    if (all.empty()) return false;
    mLost = true;
    mCursor = {true, all.back().id, 0, {}};
  }
  std::vector<Member> members = MembersUpTo(mCursor.known ? &mCursor.id : nullptr, reached);
  if (!mCursor.known) {
    // There was no log when tail started: the files that were not there then are new, and are
    // read from their starts.
    members.erase(std::remove_if(members.begin(), members.end(),
                                 [&](const Member& member) {
                                   return std::find(mOldFiles.begin(), mOldFiles.end(), member.id) !=
                                          mOldFiles.end();
                                 }),
                  members.end());
    if (members.empty()) return false;
    mCursor = {true, members.back().id, 0, {}};
  } else if (!reached) {
    // The file read last is gone (deleted as the oldest backup, or replaced): go on with the
    // current file, or the oldest one left, from its start. Only when the next look agrees,
    // though: a writer stopped in the middle of a roll leaves a number missing for a moment.
    if (++mLostLooks < 2 || members.empty()) return false;
    if (mWhenLost == WhenLost::kCurrentFile) {
      if (members.front().path != mFile) return false;
      members.resize(1);
    } else {
      mLost = true;
    }
    mCursor = {true, members.back().id, 0, {}};
  }
  mLostLooks = 0;
  // Oldest first: the rest of the file read last, then each newer one from its start.
  for (auto member = members.rbegin(); member != members.rend(); ++member) {
    if (member->id != mCursor.id) mCursor = {true, member->id, 0, {}};
    switch (ReadOn(member->path, /*closed=*/member->path != mFile, entries)) {
      case ReadOutcome::kDone:
        break;
      case ReadOutcome::kMore:
      case ReadOutcome::kMoved:
        return true;
    }
  }
  return false;
}

// Reads on from the cursor in `path`, the file the cursor names. `closed`: a backup, which no
// writer adds to any more, so an unfinished last line is taken as it is.
LogWatcher::ReadOutcome LogWatcher::ReadOn(const std::filesystem::path& path, bool closed,
                                           std::vector<LogEntry>& entries) {
  std::size_t size = kReadSize;
  for (;;) {
    const std::size_t back = mCursor.seen.size();
    LogSlice slice;
    if (ReadLogSlice(path, mCursor.offset - back, back + size, slice) != LogReadResult::kOk ||
        slice.id != mCursor.id) {
      return ReadOutcome::kMoved;  // renamed since the look (Linux): look again
    }
    if (slice.size < mCursor.offset || slice.bytes.compare(0, back, mCursor.seen) != 0) {
      if (mWhenLost == WhenLost::kOldestFile) {
        // Emptied, or another file under the identity of one deleted (a file system reuses
        // them): what the cursor stood in is gone. Go on with the oldest file, and say so.
        mReplaced = true;
        return ReadOutcome::kMoved;
      }
      mCursor = {true, mCursor.id, 0, {}};  // emptied, and maybe refilled, since the last read
      continue;
    }
    const std::string_view fresh = std::string_view(slice.bytes).substr(back);
    const bool cut = fresh.size() == size && mCursor.offset + size < slice.size;
    std::size_t at = mCursor.offset == 0 ? ByteOrderMarkSize(fresh) : 0;
    const std::size_t begin = at;
    // Where an entry that ends `after` bytes into `fresh` ends in the file.
    const auto positionAfter = [&](std::size_t after) {
      std::string fingerprint = after >= kSeenSize ? std::string() : mCursor.seen;
      const std::size_t from = after > kSeenSize ? after - kSeenSize : 0;
      fingerprint.append(fresh.data() + from, after - from);
      if (fingerprint.size() > kSeenSize) fingerprint.erase(0, fingerprint.size() - kSeenSize);
      return LogPosition{mCursor.id, mCursor.offset + after, std::move(fingerprint)};
    };
    for (std::size_t end; (end = FindLineEnd(fresh, at)) != std::string_view::npos; at = end + kLineEndSize) {
      Take(fresh.substr(at, end - at), positionAfter(end + kLineEndSize), entries);
    }
    if (at == begin && cut) {
      size *= 2;  // one entry longer than a read: read more of it
      continue;
    }
    if (closed && !cut && at < fresh.size()) {
      Take(fresh.substr(at), positionAfter(fresh.size()), entries);
      at = fresh.size();
    }
    Advance(fresh.substr(0, at));
    return cut ? ReadOutcome::kMore : ReadOutcome::kDone;
  }
}

}  // namespace mvutil

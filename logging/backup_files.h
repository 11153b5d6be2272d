// Finding the log's numbered backups ("<log>.1" newest) by listing their folder once.
//
// MaxLogFileBackups may be as large as 2147483647. Asking about every number up to it, as a plain
// loop would, means billions of file opens inside the machine-wide log mutex, stalling every
// process on the machine. The folder is listed once instead, and only numbers that are there are
// opened; the answers are the same as those of the plain loops.
#ifndef TAVROMEDIVANEUTIL_LOGGING_BACKUP_FILES_H
#define TAVROMEDIVANEUTIL_LOGGING_BACKUP_FILES_H

#include <string>

namespace Tavro_KVO_Util::internal {

// "<logPath>.<number>", the name of a backup.
std::wstring BackupPath(const std::wstring& logPath, long number);

// The first k in 1..maxBackups for which "<logPath>.k" cannot be opened for reading, or 0 when
// all of them can: where rolling stops shifting.
long FirstMissingBackup(const std::wstring& logPath, long maxBackups);

// The highest k in 1..maxBackups for which "<logPath>.k" can be opened for reading, or 0 when
// there is none: the backup to delete when space is short. Should the folder not be listable,
// the backups are counted up from 1 to the first gap instead (still bounded by what exists).
long OldestBackup(const std::wstring& logPath, long maxBackups);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_BACKUP_FILES_H

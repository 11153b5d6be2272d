// Platform service: the file operations behind the shared log file.
//
// The log is opened for one entry at a time, without sharing, so that a writer that bypasses the
// log mutex fails to open it instead of interleaving lines. Paths are wide on every platform.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_LOG_FILE_H
#define TAVROMEDIVANEUTIL_PLATFORM_LOG_FILE_H

#include <cstddef>
#include <string>

#include "platform/object_access.h"
#include "platform/owned_file.h"

namespace Tavro_KVO_Util::platform {

// What an open log file is for.
enum class LogFileUse {
  kAppend,              // entries are appended (every write)
  kAppendAfterMending,  // also read and cut short first (a writer died holding the log lock)
};

// The log file open for writing. Move-only; closes on destruction.
class LogFile {
 public:
  LogFile() = default;
  LogFile(LogFile&& other) noexcept = default;
  LogFile& operator=(LogFile&& other) noexcept = default;
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // Opens `path` for writing, creating it when missing, never truncating: Windows CreateFileW
  // with GENERIC_WRITE, no sharing, OPEN_ALWAYS, and a security descriptor with a null DACL so
  // that every user and service can write it; Linux open(O_WRONLY | O_APPEND | O_CREAT, 0666)
  // with an exclusive advisory lock. `created` is true when the file did not exist before. False with
  // the OS error code in `error`. kAppendAfterMending also asks for read access, which ReadAt and
  // CutBackTo need.
  // A file created now gets `access` (platform/object_access.h) instead of the open default;
  // Windows fails the open when the DACL cannot be made (an unknown group), while Linux keeps a
  // new file at mode 0660 of the creator's group when the named group cannot be given to it.
  bool OpenAlways(const wchar_t* path, bool& created, int& error, LogFileUse use = LogFileUse::kAppend,
                  const ObjectAccess& access = ObjectAccess());

  // The file's size in bytes. False when the OS cannot tell.
  bool Size(unsigned long long& size) const;

  // Reads up to `count` bytes from `offset` into `bytes` (fewer at the end of the file). Only for
  // a file opened kAppendAfterMending. False on a read error.
  bool ReadAt(unsigned long long offset, std::size_t count, std::string& bytes) const;

  // Cuts the file back to its first `size` bytes. Only for a file opened kAppendAfterMending.
  bool CutBackTo(unsigned long long size);

  // Writes `bytes` at the end of the file, whole or not at all: when only part of them could be
  // written (a full disk), the file is cut back to where it ended, and the result is false.
  bool Append(const std::string& bytes);

  // Writes `bytes` at the end of the file (the byte-order mark of a new file), without taking
  // back a partial write. False on a short or failed write.
  bool Write(const std::string& bytes);

  void Close();
  bool IsOpen() const;

 private:
  OwnedFile mFile;
};

// Empties `path` (creating it when missing), as the C runtime's "w" mode does. False on failure.
bool TruncateFile(const std::wstring& path);

// True when `path` exists and can be opened for reading.
bool CanOpenForReading(const std::wstring& path);

bool DeleteFileAt(const std::wstring& path);
bool RenameFile(const std::wstring& from, const std::wstring& to);

enum class FileSizeResult { kOk, kMissing, kFailed };
FileSizeResult FileSize(const wchar_t* path, unsigned long long& size);

// Bytes available to the caller on the volume of `location`; an empty `location` means the
// volume of the working directory. False when the OS cannot tell.
bool FreeDiskSpace(const std::wstring& location, unsigned long long& freeBytes);

// Makes one directory (not its parents). `alreadyExists` is set when that was the failure.
bool MakeDirectory(const std::wstring& path, bool& alreadyExists);

// True when `path` names an existing file or directory (a wildcard-free find-first).
bool PathExists(const std::wstring& path);

bool CurrentDirectory(std::wstring& directory);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_LOG_FILE_H

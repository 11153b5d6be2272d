// Platform service: whole-file reads and writes, and a probe for opening.
//
// Paths are wide on every platform (UTF-8 on disk on Linux). Files are read and written as raw
// bytes; decoding is the caller's. Each function makes one attempt: retry policies belong to the
// callers, which know how long a file may be held elsewhere.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_FILE_H
#define TAVROMEDIVANEUTIL_PLATFORM_FILE_H

#include <string>

#include "platform/owned_file.h"

namespace Tavro_KVO_Util::platform {

// An existing file opened for reading, other readers and writers allowed (as the C runtime's
// "rb" does on Windows). Move-only; closes on destruction.
class ReadableFile {
 public:
  ReadableFile() = default;
  ReadableFile(ReadableFile&& other) noexcept = default;
  ReadableFile& operator=(ReadableFile&& other) noexcept = default;
  ReadableFile(const ReadableFile&) = delete;
  ReadableFile& operator=(const ReadableFile&) = delete;

  // One attempt. False when the file does not exist or cannot be opened; `error` is the OS code.
  bool Open(const std::wstring& path, int& error);

  // Appends every byte from the current position to the end. False on a read error.
  bool ReadAll(std::string& bytes);

  // Gives the open file up without closing it: it stays open until the process ends. Only for
  // the one path where that is the library's documented behaviour.
  void LeaveOpen();

  bool IsOpen() const;

 private:
  OwnedFile mFile;
};

// True when `path` exists and can be opened for reading while denying other writers (Windows);
// on Linux, when it can be opened for reading. The file is closed again at once.
bool CanOpenForReadingDenyingWriters(const std::wstring& path);

// Creates or truncates `path` and writes `bytes`. One attempt; false with the OS code in `error`.
bool WriteWholeFile(const std::wstring& path, const std::string& bytes, int& error);

// Replaces `path` with a file of `bytes` so that a crash or a power loss at any moment leaves
// either the old file whole or the new one: the bytes go to a temporary file beside it (its name
// with ".<process id>.tmp" added, so that two processes never write the same one), which is
// flushed to the disk and then renamed over `path` in one step (Windows: MoveFileExW with write-
// through; Linux: rename after fsync, then the folder synced so that the rename lasts). Linux
// gives the new file the old one's mode. One attempt; false with the OS code in `error`, the
// temporary file removed and `path` as it was.
bool ReplaceWholeFile(const std::wstring& path, const std::string& bytes, int& error);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_FILE_H

#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/log_file.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "platform/win32/null_dacl.h"
#include "platform/win32/restricted_dacl.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/unique_owners.h"
#include "platform/win32/windows_include.h"
#include "platform/win32/write_all.h"

namespace Tavro_KVO_Util::platform {

bool LogFile::OpenAlways(const wchar_t* path, bool& created, int& error, LogFileUse use,
                         const ObjectAccess& access) {
  const DWORD rights = use == LogFileUse::kAppendAfterMending ? GENERIC_READ | GENERIC_WRITE : GENERIC_WRITE;
  UniqueFileHandle file;
  if (access.restricted) {
    // The file exists for all entries but the first after a roll: the DACL, whose group lookup
    // asks the security authority, is made only when the file is to be created.
    file.reset(CreateFileW(path, rights, /*dwShareMode=*/0, /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    if (!file && GetLastError() != ERROR_FILE_NOT_FOUND) {
      error = static_cast<int>(GetLastError());
      return false;
    }
    if (file) {
      created = false;
      mFile.reset(FromHandle(file.release()));
      return true;
    }
    // The group may read, append, and rename or delete the file when it rolls; changing its
    // security is left to SYSTEM and Administrators.
    RestrictedDacl dacl(access.group, FILE_ALL_ACCESS, FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE);
    if (!dacl.Valid()) {
      error = static_cast<int>(dacl.Error());
      return false;
    }
    file.reset(CreateFileW(path, rights, /*dwShareMode=*/0, dacl.Attributes(), OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL,
                           /*hTemplateFile=*/nullptr));
  } else {
    // Without the descriptor the file gets default security; it can still be written by us.
    NullDaclAttributes security;
    file.reset(CreateFileW(path, rights, /*dwShareMode=*/0, security.get(), OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL,
                           /*hTemplateFile=*/nullptr));
  }
  if (!file) {
    error = static_cast<int>(GetLastError());
    return false;
  }
  // OPEN_ALWAYS reports an existing file through the last error of a successful call.
  created = GetLastError() != ERROR_ALREADY_EXISTS;
  mFile.reset(FromHandle(file.release()));
  return true;
}

bool LogFile::Append(const std::string& bytes) {
  if (!mFile) return false;
  const HANDLE file = AsHandle(mFile.get());
  LARGE_INTEGER zero{};
  LARGE_INTEGER end{};
  if (!SetFilePointerEx(file, zero, &end, FILE_END)) return false;
  std::size_t written = 0;
  if (WriteAll(file, bytes.data(), bytes.size(), written)) return true;
  // A line cut short (a full disk) would join the next writer's line: take it back, so the file
  // is exactly as it was before this entry.
  if (written != 0) {
    const DWORD saved = GetLastError();
    if (SetFilePointerEx(file, end, /*lpNewFilePointer=*/nullptr, FILE_BEGIN)) SetEndOfFile(file);
    SetLastError(saved);
  }
  return false;
}

bool LogFile::Write(const std::string& bytes) {
  if (!mFile) return false;
  const HANDLE file = AsHandle(mFile.get());
  LARGE_INTEGER zero{};
  if (!SetFilePointerEx(file, zero, /*lpNewFilePointer=*/nullptr, FILE_END)) return false;
  std::size_t written = 0;
  return WriteAll(file, bytes.data(), bytes.size(), written);
}

bool LogFile::Size(unsigned long long& size) const {
  if (!mFile) return false;
  LARGE_INTEGER bytes{};
  if (!GetFileSizeEx(AsHandle(mFile.get()), &bytes)) return false;
  size = static_cast<unsigned long long>(bytes.QuadPart);
  return true;
}

bool LogFile::ReadAt(unsigned long long offset, std::size_t count, std::string& bytes) const {
  bytes.clear();
  if (!mFile) return false;
  const HANDLE file = AsHandle(mFile.get());
  LARGE_INTEGER at{};
  at.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(file, at, /*lpNewFilePointer=*/nullptr, FILE_BEGIN)) return false;
  bytes.resize(count);
  std::size_t got = 0;
  while (got < count) {
    DWORD read = 0;
    const DWORD ask = static_cast<DWORD>(std::min<std::size_t>(count - got, 1u << 20));
    if (!ReadFile(file, bytes.data() + got, ask, &read, /*lpOverlapped=*/nullptr)) return false;
    if (read == 0) break;
    got += read;
  }
  bytes.resize(got);
  return true;
}

bool LogFile::CutBackTo(unsigned long long size) {
  if (!mFile) return false;
  const HANDLE file = AsHandle(mFile.get());
  LARGE_INTEGER at{};
  at.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(file, at, /*lpNewFilePointer=*/nullptr, FILE_BEGIN) && SetEndOfFile(file);
}

void LogFile::Close() { mFile.reset(); }

bool LogFile::IsOpen() const { return mFile.valid(); }

bool TruncateFile(const std::wstring& path) {
  // The sharing and disposition of the C runtime's "w".
  const UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                          /*lpSecurityAttributes=*/nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL,
                                          /*hTemplateFile=*/nullptr));
  return file.valid();
}

bool CanOpenForReading(const std::wstring& path) {
  const UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                          /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL,
                                          /*hTemplateFile=*/nullptr));
  return file.valid();
}

bool DeleteFileAt(const std::wstring& path) { return DeleteFileW(path.c_str()) != FALSE; }

bool RenameFile(const std::wstring& from, const std::wstring& to) {
  // Fails when `to` exists, as the C runtime's _wrename does.
  return MoveFileW(from.c_str(), to.c_str()) != FALSE;
}

FileSizeResult FileSize(const wchar_t* path, unsigned long long& size) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path, GetFileExInfoStandard, &data)) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? FileSizeResult::kMissing
                                                                          : FileSizeResult::kFailed;
  }
  size = (static_cast<unsigned long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return FileSizeResult::kOk;
}

bool FreeDiskSpace(const std::wstring& location, unsigned long long& freeBytes) {
  // Null, not "", for the working directory's volume: Wine fails an empty name (ERROR_PATH_NOT_FOUND).
  ULARGE_INTEGER available{};
  if (!GetDiskFreeSpaceExW(location.empty() ? nullptr : location.c_str(), &available,
                           /*lpTotalNumberOfBytes=*/nullptr, /*lpTotalNumberOfFreeBytes=*/nullptr)) {
    return false;
  }
  freeBytes = available.QuadPart;
  return true;
}

bool MakeDirectory(const std::wstring& path, bool& alreadyExists) {
  alreadyExists = false;
  if (CreateDirectoryW(path.c_str(), /*lpSecurityAttributes=*/nullptr)) return true;
  alreadyExists = GetLastError() == ERROR_ALREADY_EXISTS;
  return false;
}

bool PathExists(const std::wstring& path) {
  WIN32_FIND_DATAW found{};
  const UniqueFindHandle find(FindFirstFileW(path.c_str(), &found));
  return find.valid();
}

bool CurrentDirectory(std::wstring& directory) {
  // The directory may change between asking for the size and reading it: ask until it fits.
  std::vector<wchar_t> buffer(MAX_PATH + 1);
  for (;;) {
    const DWORD length = GetCurrentDirectoryW(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0) return false;
    if (length < buffer.size()) {
      directory.assign(buffer.data(), length);
      return true;
    }
    buffer.resize(length);  // `length` counts the terminating null when the buffer was too small
  }
}

}  // namespace Tavro_KVO_Util::platform

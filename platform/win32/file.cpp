#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/file.h"

#include <string>

#include "platform/truncation_hook.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"
#include "platform/win32/write_all.h"

namespace Tavro_KVO_Util::platform {

bool ReadableFile::Open(const std::wstring& path, int& error) {
  // The sharing of the C runtime's "rb": other readers and writers may keep the file open.
  UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                    /*hTemplateFile=*/nullptr));
  if (!file) {
    error = static_cast<int>(GetLastError());
    return false;
  }
  mFile.reset(FromHandle(file.release()));
  return true;
}

bool ReadableFile::ReadAll(std::string& bytes) {
  if (!mFile) return false;
  const HANDLE file = AsHandle(mFile.get());
  LARGE_INTEGER size{};
  if (GetFileSizeEx(file, &size) && size.QuadPart > 0) bytes.reserve(bytes.size() + size.QuadPart);
  char block[64 * 1024];
  for (;;) {
    DWORD got = 0;
    if (!::ReadFile(file, block, sizeof block, &got, /*lpOverlapped=*/nullptr)) return false;
    if (got == 0) return true;
    bytes.append(block, got);
  }
}

void ReadableFile::LeaveOpen() { mFile.release(); }

bool ReadableFile::IsOpen() const { return mFile.valid(); }

bool CanOpenForReadingDenyingWriters(const std::wstring& path) {
  const UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ,
                                          /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL,
                                          /*hTemplateFile=*/nullptr));
  return file.valid();
}

bool WriteWholeFile(const std::wstring& path, const std::string& bytes, int& error) {
  // The sharing and disposition of the C runtime's "wb": create or truncate.
  UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    /*lpSecurityAttributes=*/nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                    /*hTemplateFile=*/nullptr));
  if (!file) {
    error = static_cast<int>(GetLastError());
    return false;
  }
  RunAfterTruncationHook();
  std::size_t written = 0;
  if (!WriteAll(file.get(), bytes.data(), bytes.size(), written)) {
    error = static_cast<int>(GetLastError());
    return false;
  }
  if (!::CloseHandle(file.release())) {
    error = static_cast<int>(GetLastError());
    return false;
  }
  return true;
}

bool ReplaceWholeFile(const std::wstring& path, const std::string& bytes, int& error) {
  const std::wstring temporary = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  // Fails on the first error, removing the temporary file and keeping the error code.
  const auto fail = [&] {
    error = static_cast<int>(GetLastError());
    DeleteFileW(temporary.c_str());
    return false;
  };
  {
    UniqueFileHandle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, /*dwShareMode=*/0,
                                      /*lpSecurityAttributes=*/nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                      /*hTemplateFile=*/nullptr));
    if (!file) {
      error = static_cast<int>(GetLastError());
      return false;
    }
    RunAfterTruncationHook();
    std::size_t written = 0;
    if (!WriteAll(file.get(), bytes.data(), bytes.size(), written) || !FlushFileBuffers(file.get()))
      return fail();
    if (!::CloseHandle(file.release())) return fail();
  }
  // One step, and on the disk before the call returns.
  if (!MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return fail();
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform

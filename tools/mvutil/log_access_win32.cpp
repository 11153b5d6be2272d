// Reading the shared log on Windows: under the writers' mutex, since they open it without sharing.
#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <algorithm>

#include "log_access.h"
#include "logging/hook_mutex.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

namespace mvutil {

using Tavro_KVO_Util::platform::UniqueFileHandle;

LogReadLock::LogReadLock() {
  // The library made the mutex when it loaded into this process, so this opens it; it creates it
  // only for a library that could not.
  Tavro_KVO_Util::platform::NamedMutexCreation creation;
  if (!mMutex.Create(Tavro_KVO_Util::HookMutex::kName, creation)) return;
  // An abandoned mutex is ours now like a signalled one. Without it the read goes ahead alone.
  const Tavro_KVO_Util::platform::WaitResult waited = mMutex.Wait(kWaitMilliseconds);
  mOwned = waited == Tavro_KVO_Util::platform::WaitResult::kAcquired ||
           waited == Tavro_KVO_Util::platform::WaitResult::kAbandoned;
}

LogReadLock::~LogReadLock() {
  if (mOwned) mMutex.Release();
}

LogReadResult ReadLogSlice(const std::filesystem::path& path, std::uint64_t offset, std::size_t maxBytes,
                           LogSlice& slice) {
  const UniqueFileHandle file(
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                  /*hTemplateFile=*/nullptr));
  if (!file) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? LogReadResult::kMissing
                                                                          : LogReadResult::kFailed;
  }
  BY_HANDLE_FILE_INFORMATION info{};
  if (!GetFileInformationByHandle(file.get(), &info)) return LogReadResult::kFailed;
  slice.id = {info.dwVolumeSerialNumber,
              (static_cast<std::uint64_t>(info.nFileIndexHigh) << 32) | info.nFileIndexLow};
  slice.size = (static_cast<std::uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
  slice.bytes.clear();
  if (offset >= slice.size || maxBytes == 0) return LogReadResult::kOk;
  LARGE_INTEGER position{};
  position.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(file.get(), position, /*lpNewFilePointer=*/nullptr, FILE_BEGIN)) {
    return LogReadResult::kFailed;
  }
  slice.bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(maxBytes, slice.size - offset)));
  std::size_t done = 0;
  while (done < slice.bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(slice.bytes.size() - done, 1u << 30));
    DWORD got = 0;
    if (!ReadFile(file.get(), slice.bytes.data() + done, chunk, &got, /*lpOverlapped=*/nullptr)) {
      return LogReadResult::kFailed;
    }
    if (got == 0) break;
    done += got;
  }
  slice.bytes.resize(done);
  return LogReadResult::kOk;
}

}  // namespace mvutil

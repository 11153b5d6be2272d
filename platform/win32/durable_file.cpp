#ifndef _WIN32
#error "Windows-only source file"
#endif

// Atomic replacement on Windows: write, FlushFileBuffers, then MoveFileExW with write-through;
// without the flushes when only the process's death is to be survived.
#include "platform/durable_file.h"

#include "platform/utf8.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

bool ReplaceFileDurably(const std::filesystem::path& path, const std::string& bytes, Durability durability,
                        std::string& why) {
  const bool flush = durability == Durability::kOnDisk;
  std::filesystem::path temporary = path;
  temporary += ".tmp";
  const std::string shown = WideToUtf8(temporary.wstring());
  {
    const UniqueFileHandle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, /*dwShareMode=*/0,
                                            /*lpSecurityAttributes=*/nullptr, CREATE_ALWAYS,
                                            FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    if (!file) {
      why = "cannot create " + shown + ": error " + std::to_string(GetLastError());
      return false;
    }
    DWORD written = 0;
    if (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
        written != bytes.size() || (flush && !FlushFileBuffers(file.get()))) {
      why = "cannot write " + shown + ": error " + std::to_string(GetLastError());
      DeleteFileW(temporary.c_str());
      return false;
    }
  }
  const DWORD moveFlags = MOVEFILE_REPLACE_EXISTING | (flush ? MOVEFILE_WRITE_THROUGH : 0);
  if (!MoveFileExW(temporary.c_str(), path.c_str(), moveFlags)) {
    why = "cannot rename " + shown + ": error " + std::to_string(GetLastError());
    DeleteFileW(temporary.c_str());
    return false;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform

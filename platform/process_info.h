// Platform service: facts about the calling process and thread for log entries.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_PROCESS_INFO_H
#define TAVROMEDIVANEUTIL_PLATFORM_PROCESS_INFO_H

#include <cstdint>
#include <string>

namespace Tavro_KVO_Util::platform {

std::uint32_t CurrentProcessId();

// The calling thread's id as the logs show it (Windows: GetCurrentThreadId; Linux: the kernel
// thread id, gettid).
long CurrentThreadId();

// The session of the process (Windows: Terminal Services session id; Linux: the session id, that
// is the process id of the session leader). False when it cannot be read.
bool CurrentSessionId(std::uint32_t& session);

enum class ProcessPathResult {
  kFound,          // `path` is the full path of the main executable
  kNotOpened,      // the process could not be opened for querying
  kModuleUnknown,  // opened, but its main module or that module's file name could not be read
};

// The full path of the process's main executable. Windows: OpenProcess(0x0410) on the current
// process, the first module of EnumProcessModules, GetModuleFileNameExW. Linux: /proc/self/exe.
ProcessPathResult CurrentProcessPath(std::wstring& path);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_PROCESS_INFO_H

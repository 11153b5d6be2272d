#include "platform/process_info.h"

#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/utf8.h"

namespace Tavro_KVO_Util::platform {

std::uint32_t CurrentProcessId() { return static_cast<std::uint32_t>(::getpid()); }

long CurrentThreadId() { return static_cast<long>(::gettid()); }

bool CurrentSessionId(std::uint32_t& session) {
  const pid_t id = ::getsid(/*pid=*/0);
  if (id < 0) return false;
  session = static_cast<std::uint32_t>(id);
  return true;
}

ProcessPathResult CurrentProcessPath(std::wstring& path) {
  // Linux has no step between opening the process and naming its module: every failure (no /proc,
  // a path longer than we allow) is reported as kNotOpened.
  std::string buffer(256, '\0');
  for (;;) {
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return ProcessPathResult::kNotOpened;
    if (static_cast<std::size_t>(length) < buffer.size()) {
      buffer.resize(static_cast<std::size_t>(length));
      break;
    }
    // readlink truncates silently; a full buffer may mean a longer target.
    if (buffer.size() >= std::size_t{64} * 1024) return ProcessPathResult::kNotOpened;
    buffer.resize(buffer.size() * 2);
  }
  path = Utf8ToWide(buffer);
  return ProcessPathResult::kFound;
}

}  // namespace Tavro_KVO_Util::platform

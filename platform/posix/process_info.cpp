#include "platform/process_info.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {

namespace {

// The process and thread ids, asked of the kernel once per thread: every log entry shows them, and
// the two system calls were a tenth of what an entry spends beyond writing itself. A fork gives
// the child new ids, so the child's handler makes every thread ask again (only the forking thread
// lives on in the child). Plain data per thread: nothing runs when a thread ends.
std::atomic<unsigned> gForks{0};

void CountForkInChild() { gForks.fetch_add(1, std::memory_order_relaxed); }

struct KnownIds {
  bool valid;
  unsigned forks;
  pid_t process;
  pid_t thread;
};

thread_local KnownIds tIds{};

const KnownIds& Ids() {
  static const bool registered = ::pthread_atfork(nullptr, nullptr, CountForkInChild) == 0;
  KnownIds& ids = tIds;
  const unsigned forks = gForks.load(std::memory_order_relaxed);
  if (!registered || !ids.valid || ids.forks != forks) {
    ids.process = ::getpid();
    ids.thread = ::gettid();
    ids.forks = forks;
    ids.valid = registered;
  }
  return ids;
}

}  // namespace

std::uint32_t CurrentProcessId() { return static_cast<std::uint32_t>(Ids().process); }

long CurrentThreadId() { return static_cast<long>(Ids().thread); }

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

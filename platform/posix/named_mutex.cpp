#include "platform/named_mutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "platform/posix/group_id.h"
#include "platform/posix/unique_fd.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The shared-memory segment behind one name. Its first word says how far initialisation got:
// the low byte is the phase, the bits above it the id of the process that claimed it. A fresh
// segment is all zeros, that is, kEmpty.
//
// A creator that dies between claiming the segment and publishing kReady would otherwise leave the
// name unusable until reboot (the segment outlives every process). So a process that finds the
// segment still initialising while its claimant is gone claims it in turn and initialises it
// again; the compare-and-swap on the state word lets exactly one of them win. A claimant that is
// alive but never finishes makes the others give up after kInitialisationWaitNs.
struct SharedBlock {
  std::uint64_t state;
  pthread_mutex_t mutex;
};

constexpr std::uint64_t kEmpty = 0;
constexpr std::uint64_t kInitialising = 1;
constexpr std::uint64_t kReady = 2;
constexpr std::uint64_t kPhaseMask = 0xFF;

// How long an opener waits for another process to finish initialising before it gives up.
constexpr long kInitialisationWaitNs = 1'000'000'000;
constexpr long kPollNs = 1'000'000;

// The state word lives in memory shared with other processes and is accessed with the atomic
// built-ins rather than std::atomic, which has no defined meaning in memory no constructor ran on.
// Lock-free operations work on the memory itself, so they hold between processes too.
static_assert(__atomic_always_lock_free(sizeof(std::uint64_t), nullptr), "the state word must be lock-free");
std::uint64_t LoadState(const SharedBlock* block) { return __atomic_load_n(&block->state, __ATOMIC_ACQUIRE); }

bool ClaimState(SharedBlock* block, std::uint64_t expected) {
  const std::uint64_t mine = (static_cast<std::uint64_t>(::getpid()) << 8) | kInitialising;
  return __atomic_compare_exchange_n(&block->state, &expected, mine, /*weak=*/false, __ATOMIC_ACQ_REL,
                                     __ATOMIC_ACQUIRE);
}

bool InitialiseSharedMutex(SharedBlock* block) {
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) != 0) return false;
  const bool ok = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
                  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                  pthread_mutex_init(&block->mutex, &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  if (ok) __atomic_store_n(&block->state, kReady, __ATOMIC_RELEASE);
  return ok;
}

// A reused process id makes a dead claimant look alive; then the wait simply runs out.
bool ClaimantIsGone(std::uint64_t state) {
  const pid_t claimant = static_cast<pid_t>(state >> 8);
  // EPERM means the process exists under another user.
  return claimant <= 0 || (::kill(claimant, /*sig=*/0) != 0 && errno == ESRCH);
}

// Waits (bounded) until the segment is ready, initialising it when nobody else does.
bool EnsureInitialised(SharedBlock* block) {
  timespec start{};
  clock_gettime(CLOCK_MONOTONIC, &start);
  for (;;) {
    const std::uint64_t state = LoadState(block);
    if ((state & kPhaseMask) == kReady) return true;
    if (state == kEmpty || ClaimantIsGone(state)) {
      if (ClaimState(block, state)) return InitialiseSharedMutex(block);
      continue;  // someone else claimed it first: look again
    }
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long long elapsed = (now.tv_sec - start.tv_sec) * 1'000'000'000LL + (now.tv_nsec - start.tv_nsec);
    if (elapsed > kInitialisationWaitNs) return false;
    const timespec pause{0, kPollNs};
    nanosleep(&pause, nullptr);
  }
}

// "/tavro-" and the name with every character outside [A-Za-z0-9-] written as "_<hex>_", so that
// different names never share a segment: "{E665...}" becomes "/tavro-_7b_E665..._7d_".
std::string SegmentName(const std::wstring& name) {
  std::string segment = "/tavro-";
  for (const wchar_t c : name) {
    if ((c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') || c == L'-') {
      segment += static_cast<char>(c);
      continue;
    }
    char escaped[16];
    std::snprintf(escaped, sizeof escaped, "_%x_", static_cast<unsigned>(c));
    segment += escaped;
  }
  return segment;
}

// Opens the segment, creating it when missing. Mode 0666 lets every user's processes share the
// lock; fchmod because the umask narrows the mode given to shm_open.
UniqueFd OpenSegment(const std::string& segment) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    UniqueFd fd(::shm_open(segment.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (fd) {
      ::fchmod(fd.get(), 0666);
      return fd;
    }
    if (errno != EEXIST) return fd;
    // Without O_CREAT: a segment another user created in the sticky /dev/shm may be refused to an
    // O_CREAT open (fs.protected_regular) but not to a plain one.
    fd.reset(::shm_open(segment.c_str(), O_RDWR | O_CLOEXEC, 0));
    if (fd || errno != ENOENT) return fd;
    // Removed between the two calls: try again.
  }
  return UniqueFd();
}

SharedBlock* MapSegment(const std::string& segment) {
  const UniqueFd fd = OpenSegment(segment);
  if (!fd) return nullptr;
  // Every process makes sure of the size, so that a creator that died before ftruncate cannot leave
  // a segment too short to map (touching it past the end would raise SIGBUS). Growing zero-fills,
  // and everyone asks for the same size, so doing it twice is harmless.
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) return nullptr;
  if (info.st_size < static_cast<off_t>(sizeof(SharedBlock)) &&
      ::ftruncate(fd.get(), sizeof(SharedBlock)) != 0) {
    return nullptr;
  }
  void* memory = ::mmap(/*addr=*/nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(),
                        /*offset=*/0);
  // The mapping stays valid after the descriptor is closed.
  if (memory == MAP_FAILED) return nullptr;
  auto* block = static_cast<SharedBlock*>(memory);
  if (!EnsureInitialised(block)) {
    ::munmap(memory, sizeof(SharedBlock));
    return nullptr;
  }
  return block;
}

// Each name is mapped once per process, and every NamedMutex of that name shares the mapping.
//
// A locked robust mutex is linked into its owning thread's robust list by address, and both glibc
// and the kernel (when the thread dies) follow those links. So a mapping must never be unmapped
// while a thread of this process may hold the mutex through it, and two mappings of one mutex in
// one process would let a release through one handle unlink an entry recorded through the other.
struct Mapping {
  std::string segment;
  SharedBlock* block = nullptr;
  int handles = 0;  // NamedMutex objects using it
  int holds = 0;    // acquisitions by this process not yet released
};

struct Registry {
  std::mutex lock;
  std::map<std::string, Mapping*> mappings;
};

Registry& TheRegistry() {
  // Never destroyed: handles may still be closed by static destructors at exit.
  static auto* registry = new Registry();
  return *registry;
}

Mapping* AcquireMapping(const std::string& segment) {
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  if (const auto found = registry.mappings.find(segment); found != registry.mappings.end()) {
    ++found->second->handles;
    return found->second;
  }
  SharedBlock* block = MapSegment(segment);
  if (block == nullptr) return nullptr;
  auto* mapping = new Mapping{segment, block, /*handles=*/1, /*holds=*/0};
  registry.mappings.emplace(segment, mapping);
  return mapping;
}

void ReleaseMapping(Mapping* mapping) {
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  if (--mapping->handles > 0) return;
  // Still held by a thread of this process (or by one that died holding it): the mapping stays,
  // unused, for the life of the process, because the robust list still points into it.
  if (mapping->holds > 0) return;
  registry.mappings.erase(mapping->segment);
  ::munmap(mapping->block, sizeof(SharedBlock));
  delete mapping;
}

void CountHold(Mapping* mapping, int change) {
  const std::lock_guard<std::mutex> guard(TheRegistry().lock);
  mapping->holds += change;
}

Mapping* AsMapping(void* handle) { return static_cast<Mapping*>(handle); }

// The deadline is on the monotonic clock, so that setting the system time does not stretch or cut
// a wait. ThreadSanitizer (as of GCC 12) does not know pthread_mutex_clocklock and would take every
// later unlock for an error, so its builds use the wall-clock timedlock it does know.
#if defined(__SANITIZE_THREAD__)
constexpr clockid_t kWaitClock = CLOCK_REALTIME;
int LockUntil(pthread_mutex_t* mutex, const timespec& deadline) {
  return pthread_mutex_timedlock(mutex, &deadline);
}
#else
constexpr clockid_t kWaitClock = CLOCK_MONOTONIC;
int LockUntil(pthread_mutex_t* mutex, const timespec& deadline) {
  return pthread_mutex_clocklock(mutex, kWaitClock, &deadline);
}
#endif

timespec DeadlineAfter(unsigned milliseconds) {
  timespec deadline{};
  clock_gettime(kWaitClock, &deadline);
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000L;
  if (deadline.tv_nsec >= 1'000'000'000L) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1'000'000'000L;
  }
  return deadline;
}

// Windows' INFINITE: wait without a deadline.
constexpr unsigned kInfinite = 0xFFFFFFFFu;

}  // namespace

NamedMutex::NamedMutex() : mHandle(nullptr) {}

// Nothing to fail here: shared memory has no security descriptor (see the header).
SecurityDescriptorFailureForTesting::SecurityDescriptorFailureForTesting() = default;
SecurityDescriptorFailureForTesting::~SecurityDescriptorFailureForTesting() = default;

NamedMutex::~NamedMutex() {
  if (mHandle != nullptr) ReleaseMapping(AsMapping(mHandle));
}

bool NamedMutex::Create(const std::wstring& name, NamedMutexCreation& creation) {
  if (mHandle != nullptr) ReleaseMapping(AsMapping(std::exchange(mHandle, nullptr)));
  // POSIX shared memory has no security descriptors and the segment is opened whether or not it
  // exists, so the only thing to report is a segment that could be neither made nor opened: the
  // create failure, which HookMutex reports (without it the process would stop logging silently).
  creation = NamedMutexCreation();
  mHandle = AcquireMapping(SegmentName(name));
  creation.createFailed = mHandle == nullptr;
  return mHandle != nullptr;
}

bool NamedMutex::IsValid() const { return mHandle != nullptr; }

WaitResult NamedMutex::Wait(unsigned milliseconds) {
  if (mHandle == nullptr) return WaitResult::kFailed;
  Mapping* mapping = AsMapping(mHandle);
  pthread_mutex_t* mutex = &mapping->block->mutex;
  int status = 0;
  if (milliseconds == kInfinite) {
    status = pthread_mutex_lock(mutex);
  } else {
    status = LockUntil(mutex, DeadlineAfter(milliseconds));
  }
  switch (status) {
    case 0:
      CountHold(mapping, +1);
      return WaitResult::kAcquired;
    case EOWNERDEAD:
      // The caller owns it now; marking it consistent keeps it usable for everyone after the
      // caller's release (otherwise the next lock would fail with ENOTRECOVERABLE forever).
      pthread_mutex_consistent(mutex);
      CountHold(mapping, +1);
      return WaitResult::kAbandoned;
    case ETIMEDOUT:
      return WaitResult::kTimedOut;
    default:  // ENOTRECOVERABLE, EAGAIN (recursion limit), EINVAL
      return WaitResult::kFailed;
  }
}

void NamedMutex::Release() {
  if (mHandle == nullptr) return;
  Mapping* mapping = AsMapping(mHandle);
  // Fails with EPERM when the calling thread does not own it, as ReleaseMutex does.
  if (pthread_mutex_unlock(&mapping->block->mutex) == 0) CountHold(mapping, -1);
}

void NamedMutex::ReleaseAndClose() {
  if (mHandle == nullptr) return;
  Release();
  ReleaseMapping(AsMapping(std::exchange(mHandle, nullptr)));
}

bool NamedMutex::SetAccess(const ObjectAccess& access, int& error) {
  if (mHandle == nullptr) {
    error = EBADF;
    return false;
  }
  // The mapping keeps no descriptor: open the segment again by its name to change it.
  const UniqueFd fd(::shm_open(AsMapping(mHandle)->segment.c_str(), O_RDWR | O_CLOEXEC, 0));
  const bool set =
      fd && (access.restricted ? RestrictToGroup(fd.get(), access.group) : ::fchmod(fd.get(), 0666) == 0);
  if (!set) {
    error = errno;
    return false;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform

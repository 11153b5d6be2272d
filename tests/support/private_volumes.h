// Small file systems of a test's own, so that "the disk is full" is a real answer from the OS and
// not a simulated one.
//
// Layout: a roomy volume (4 MiB) at Root() and a small one (64 KiB) at Root()/"small", both tmpfs,
// both empty when a scenario starts.
//
// Linux: Run() forks. The child gets a mount namespace of its own (unshare(CLONE_NEWNS), every
// mount made private), mounts the two volumes there, runs the scenario and exits; nobody else
// sees the mounts, and they go away with the child. Assertions made in a forked child never reach
// the parent's test, so the scenario only collects what it found (named byte strings) and the
// parent asserts on them. Needs root (CAP_SYS_ADMIN); without it the run is skipped with the
// reason.
//
// Windows (Wine): a Windows program cannot mount anything, so tests/support/run-on-small-volumes.sh
// makes the same layout around the whole test program (and its wineserver) and names it in the
// environment variable TAVRO_SMALL_VOLUMES; Run() then runs the scenario in the test's own process.
// Without that variable the volumes are unavailable and the test is skipped with the reason.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_VOLUMES_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_VOLUMES_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Tavro_KVO_Util::testing {

// What a scenario found, by name. Values are bytes (file contents, event texts).
using Findings = std::map<std::string, std::string>;

// The outcome of one run: skipped (the reason), failed (the child died, hung or sent nothing
// readable), or the findings. A scenario that could not set itself up puts the reason under
// "error".
struct ScenarioRun {
  std::string skipped;
  std::string failed;
  Findings findings;

  std::string Found(const std::string& name) const {
    const auto it = findings.find(name);
    return it == findings.end() ? std::string() : it->second;
  }
};

// Skips the test when the run was skipped, and fails it when the run or the scenario's own set-up
// failed. For the test body (GTEST_SKIP and ASSERT return from it).
#define TAVRO_ASSERT_SCENARIO_RAN(run)                                     \
  do {                                                                     \
    if (!(run).skipped.empty()) GTEST_SKIP() << (run).skipped;             \
    ASSERT_EQ((run).failed, "") << "the scenario's process failed";        \
    ASSERT_EQ((run).Found("error"), "") << "the scenario's set-up failed"; \
  } while (0)

// tmpfs hands out whole pages, and so does Wine on top of it.
inline constexpr std::uintmax_t kVolumePage = 4096;
inline constexpr char kVolumesVariable[] = "TAVRO_SMALL_VOLUMES";

// Length-prefixed, so that any bytes survive: "<name size> <value size>\n<name><value>" per item.
inline std::string EncodeFindings(const Findings& findings) {
  std::string out;
  for (const auto& [name, value] : findings) {
    out += std::to_string(name.size()) + " " + std::to_string(value.size()) + "\n" + name + value;
  }
  return out;
}

inline bool DecodeFindings(const std::string& in, Findings& findings) {
  std::size_t at = 0;
  while (at < in.size()) {
    const std::size_t end = in.find('\n', at);
    if (end == std::string::npos) return false;
    unsigned long long nameSize = 0;
    unsigned long long valueSize = 0;
    if (std::sscanf(in.substr(at, end - at).c_str(), "%llu %llu", &nameSize, &valueSize) != 2) return false;
    at = end + 1;
    if (in.size() - at < nameSize + valueSize) return false;
    const std::string name = in.substr(at, nameSize);
    findings[name] = in.substr(at + nameSize, valueSize);
    at += nameSize + valueSize;
  }
  return true;
}

// Bytes available on the volume of `folder`, asked of the OS as the logger asks it. (Not
// std::filesystem::space: libstdc++ on Windows asks about the folder's parent, and shows 0 as
// "unknown".)
inline bool AvailableBytes(const std::filesystem::path& folder, std::uintmax_t& bytes) {
#ifdef _WIN32
  ULARGE_INTEGER available{};
  if (!GetDiskFreeSpaceExW(folder.wstring().c_str(), &available, /*lpTotalNumberOfBytes=*/nullptr,
                           /*lpTotalNumberOfFreeBytes=*/nullptr)) {
    return false;
  }
  bytes = available.QuadPart;
#else
  struct statvfs info {};
  if (::statvfs(folder.c_str(), &info) != 0) return false;
  bytes = static_cast<std::uintmax_t>(info.f_bavail) * info.f_frsize;
#endif
  return true;
}

// Fills `volume` with the file "filler" until the OS refuses more, then gives back just enough to
// leave exactly `freeBytes` (a multiple of the page) available. "" on success, else what went wrong.
inline std::string FillVolumeLeaving(const std::filesystem::path& volume, std::uintmax_t freeBytes) {
  const std::filesystem::path filler = volume / "filler";
  std::FILE* file = std::fopen(filler.string().c_str(), "wb");
  if (file == nullptr) return "cannot create " + filler.string();
  std::setvbuf(file, nullptr, _IONBF, 0);  // each write goes to the OS, so the refusal is seen at once
  const std::vector<char> chunk(kVolumePage, 'f');
  while (std::fwrite(chunk.data(), 1, chunk.size(), file) == chunk.size()) {
  }
  std::fclose(file);
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(filler, error);
  if (error) return "cannot read the size of " + filler.string();
  // A refused write stops at a page boundary; round up in case it did not, then give pages back.
  const std::uintmax_t pages = (size + kVolumePage - 1) / kVolumePage * kVolumePage;
  if (pages < freeBytes) return "the volume took less than the space to be left free";
  if (pages - freeBytes != size) {
    std::filesystem::resize_file(filler, pages - freeBytes, error);
    if (error) return "cannot shrink " + filler.string() + ": " + error.message();
  }
  std::uintmax_t available = 0;
  if (!AvailableBytes(volume, available)) return "cannot read the free space of " + volume.string();
  if (available != freeBytes) {
    return "the volume has " + std::to_string(available) + " bytes free instead of " +
           std::to_string(freeBytes);
  }
  return "";
}

#ifndef _WIN32

// Mounts a tmpfs of `bytes` on `where` (inside a private mount namespace). On failure sets
// "skipped" (no privilege) or "error" and returns false.
inline bool MountTmpfs(const std::filesystem::path& where, std::uintmax_t bytes, Findings& found) {
  const std::string options = "size=" + std::to_string(bytes);
  if (::mount("tavro-test", where.c_str(), "tmpfs", 0, options.c_str()) == 0) return true;
  const int error = errno;
  (error == EPERM ? found["skipped"] : found["error"]) =
      "mount tmpfs on " + where.string() + ": " + std::strerror(error);
  return false;
}

// Runs `body` in a forked child that has a mount namespace of its own, and returns what it found.
// `body` makes the mounts it needs (MountTmpfs). The child ends with _exit: nothing of the test
// program (gtest's listeners, static destructors, leak checks) runs twice.
inline ScenarioRun RunWithPrivateMounts(const std::function<void(Findings&)>& body) {
  ScenarioRun run;
  int channel[2] = {-1, -1};
  if (::pipe2(channel, O_CLOEXEC) != 0) {
    run.failed = std::string("pipe2: ") + std::strerror(errno);
    return run;
  }
  std::fflush(nullptr);  // or the child's copies of unwritten output could appear twice
  const pid_t child = ::fork();
  if (child < 0) {
    run.failed = std::string("fork: ") + std::strerror(errno);
    ::close(channel[0]);
    ::close(channel[1]);
    return run;
  }
  if (child == 0) {
    ::close(channel[0]);
    Findings found;
    if (::unshare(CLONE_NEWNS) != 0) {
      const int error = errno;
      (error == EPERM ? found["skipped"] : found["error"]) =
          std::string("unshare(CLONE_NEWNS): ") + std::strerror(error) + " (needs root)";
    } else if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      // Without this the mounts would propagate back to the machine's namespace.
      found["error"] = std::string("making mounts private: ") + std::strerror(errno);
    } else {
      body(found);
    }
    const std::string bytes = EncodeFindings(found);
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t put = ::write(channel[1], bytes.data() + done, bytes.size() - done);
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) ::_exit(2);
      done += static_cast<std::size_t>(put);
    }
    ::_exit(0);
  }
  ::close(channel[1]);
  std::string bytes;
  char buffer[65536];
  for (;;) {
    pollfd ready{channel[0], POLLIN, 0};
    const int polled = ::poll(&ready, 1, /*timeout=*/120000);
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) {
      run.failed = "the child sent nothing for 120 s";
      ::kill(child, SIGKILL);
      break;
    }
    const ssize_t got = ::read(channel[0], buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    bytes.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(channel[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (run.failed.empty() && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
    run.failed = "the child ended with status " + std::to_string(status);
  }
  if (run.failed.empty() && !DecodeFindings(bytes, run.findings)) run.failed = "unreadable findings";
  run.skipped = run.Found("skipped");
  return run;
}

#endif  // !_WIN32

class PrivateVolumes {
 public:
  static constexpr std::uintmax_t kRoomyBytes = 4 * 1024 * 1024;
  static constexpr std::uintmax_t kSmallBytes = 64 * 1024;

  // `mountPoint`: where the Linux child mounts the roomy volume (made here, empty); Windows takes
  // the place from the environment instead.
  explicit PrivateVolumes([[maybe_unused]] const std::filesystem::path& mountPoint) {
#ifdef _WIN32
    const char* given = std::getenv(kVolumesVariable);
    if (given == nullptr || *given == '\0') {
      mUnavailable = std::string(
                         "no small volumes: a Windows program cannot mount them; run it through "
                         "tests/support/run-on-small-volumes.sh, which names them in ") +
                     kVolumesVariable;
      return;
    }
    mRoot = given;
    if (!std::filesystem::is_directory(mRoot / "small")) {
      mUnavailable = std::string(kVolumesVariable) + " names no volumes: " + mRoot.string();
    }
#else
    mRoot = mountPoint;
    std::filesystem::create_directories(mRoot);
#endif
  }

  // Non-empty: why there are no volumes here (the test should skip).
  const std::string& Unavailable() const { return mUnavailable; }
  const std::filesystem::path& Root() const { return mRoot; }
  std::filesystem::path Small() const { return mRoot / "small"; }

  // Runs `scenario` with both volumes mounted and empty.
  ScenarioRun Run(const std::function<void(Findings&)>& scenario) {
#ifdef _WIN32
    ScenarioRun run;
    if (!mUnavailable.empty()) {
      run.skipped = mUnavailable;
      return run;
    }
    Empty();
    scenario(run.findings);
    Empty();
    return run;
#else
    return RunWithPrivateMounts([&](Findings& found) {
      if (!MountTmpfs(mRoot, kRoomyBytes, found)) return;
      std::error_code error;
      std::filesystem::create_directory(Small(), error);
      if (error) {
        found["error"] = "cannot make " + Small().string() + ": " + error.message();
        return;
      }
      if (!MountTmpfs(Small(), kSmallBytes, found)) return;
      scenario(found);
    });
#endif
  }

 private:
#ifdef _WIN32
  // The volumes outlive each test here, so each scenario starts and leaves them empty.
  void Empty() const {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(Small(), ignored)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
    for (const auto& entry : std::filesystem::directory_iterator(mRoot, ignored)) {
      if (entry.path().filename() != "small") std::filesystem::remove_all(entry.path(), ignored);
    }
  }
#endif

  std::filesystem::path mRoot;
  std::string mUnavailable;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_PRIVATE_VOLUMES_H

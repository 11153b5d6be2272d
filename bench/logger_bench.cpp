// Logger speed. A written entry against the least that opening the file, appending the same bytes
// and closing it costs; a call below the threshold against the configuration check it cannot skip;
// and throughput, in one process and in four writing at once, against log4cplus's
// RollingFileAppender with UseLockFile. Names pair up (BM_LoggerWrite next to BM_AppendFloor and
// BM_Log4cplusWrite); logger_ratios.py computes the ratios and checks the goals.
//
// Every run (every repetition of every benchmark) has a folder of its own with its own
// configuration file and log folder, and a logger made for it. Each run checks afterwards that the
// log holds exactly the entries it wrote, so that a dropped entry cannot pass for a fast one.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <log4cplus/initializer.h>
#include <log4cplus/loggingmacros.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "Config.h"
#include "Logger.h"
#include "TavroMedivaneUtil_c.h"
#include "logger_bench_peer.h"
#include "logger_bench_support.h"

namespace {

using logger_bench::CountAnsiLines;
using logger_bench::CountUtf16Lines;
using logger_bench::LogSettings;
using logger_bench::ReadBytes;
using logger_bench::RunDir;
using Tavro_KVO_Util::Logger;

// A typical entry of the product: about 60 characters of message, so with the default template,
// the date, time, zone and the program's path the line is some 150 characters.
constexpr wchar_t kArea[] = L"Bench";
constexpr wchar_t kMessage[] = L"KeyPressSimulator::DoSimulation - sent 6 input records to the window";
constexpr char kNarrowMessage[] = "KeyPressSimulator::DoSimulation - sent 6 input records to the window";
constexpr wchar_t kSourceFile[] = L".\\logger_bench.cpp";
constexpr int kInfo = 4;
constexpr int kDebug = 5;  // below the configured threshold INFO, in an area that is not a debug area

// Entries each process writes in the several-process runs.
constexpr int kEntriesPerProcess = 4000;

void WriteOurs(Logger& logger, int level) { logger.Log(kArea, level, kMessage, kSourceFile, __LINE__); }

void WritePeer(const log4cplus::Logger& logger) { LOG4CPLUS_INFO_STR(logger, kNarrowMessage); }

// A logger for this run, or an error on `state`.
Logger* StartLogger(benchmark::State& state, const RunDir& dir, const LogSettings& settings) {
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return nullptr;
  }
  logger_bench::WriteLoggingConfig(dir, settings);
  Logger* logger = logger_bench::FreshLogger(dir);
  if (logger == nullptr) state.SkipWithError("no logger");
  return logger;
}

void ExpectLines(benchmark::State& state, long written, long expected) {
  if (written == expected) return;
  const std::string text =
      "the log holds " + std::to_string(written) + " entries, not " + std::to_string(expected);
  state.SkipWithError(text.c_str());
}

// ---- A written entry, and its floor ----

void LoggerWrite(benchmark::State& state, const LogSettings& settings, bool countEntries) {
  const RunDir dir;
  Logger* logger = StartLogger(state, dir, settings);
  if (logger == nullptr) return;
  for (auto _ : state) WriteOurs(*logger, kInfo);
  // Rolling drops the oldest backups, so only the run without rolling can be counted.
  if (countEntries) {
    ExpectLines(state, CountUtf16Lines(ReadBytes(dir.LogFile())), static_cast<long>(state.iterations()));
  }
  logger_bench::ForgetLogger();
}

void BM_LoggerWrite(benchmark::State& state) { LoggerWrite(state, LogSettings{}, /*countEntries=*/true); }

// The same entry through the C interface: UTF-8 texts converted on every call.
void BM_CLoggerWrite(benchmark::State& state) {
  const RunDir dir;
  if (StartLogger(state, dir, LogSettings{}) == nullptr) return;
  for (auto _ : state) tmu_log(kInfo, "Bench", kNarrowMessage, nullptr, ".\\logger_bench.cpp", __LINE__);
  ExpectLines(state, CountUtf16Lines(ReadBytes(dir.LogFile())), static_cast<long>(state.iterations()));
  logger_bench::ForgetLogger();
}

void BM_LoggerWrite_Rolling(benchmark::State& state) {
  LogSettings settings;
  settings.maxLogFileSize = logger_bench::kRollingSize;
  LoggerWrite(state, settings, /*countEntries=*/false);
}

// One entry exactly as the logger writes it (UTF-16LE text and CR LF), taken from a log.
bool OneEntry(benchmark::State& state, const RunDir& dir, std::string& entry) {
  Logger* logger = StartLogger(state, dir, LogSettings{});
  if (logger == nullptr) return false;
  WriteOurs(*logger, kInfo);
  logger_bench::ForgetLogger();
  entry = ReadBytes(dir.LogFile());
  if (entry.size() < 4 || entry.compare(0, 2, "\xFF\xFE") != 0 || CountUtf16Lines(entry) != 1) {
    state.SkipWithError("the logger did not write one entry");
    return false;
  }
  entry.erase(0, 2);
  return true;
}

// What one entry costs at the least when the file is opened for it and closed after it, as the
// logger must (so that other processes can roll the file between entries and a crash loses no
// line): open for appending, write the entry's bytes, close.
void BM_AppendFloor(benchmark::State& state) {
  const RunDir dir;
  std::string entry;
  if (!OneEntry(state, dir, entry)) return;
  const std::string path = (dir.LogFolder() / "floor.log").string();
  for (auto _ : state) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (::write(fd, entry.data(), entry.size()) != static_cast<ssize_t>(entry.size())) {
      state.SkipWithError("write failed");
    }
    ::close(fd);
  }
  ExpectLines(state, CountUtf16Lines(ReadBytes(path)), static_cast<long>(state.iterations()));
}

// The floor with everything the logger's rules add to each written entry on top, done the
// cheapest way: the configuration file's last-write time, read twice (the entry point tests the
// level, and the writer tests it again), the free disk space and the file's size before the entry
// is appended, a robust process-shared mutex held around the entry, and the file locked against
// writers that bypass the mutex. What the logger spends beyond this is its own.
void BM_AppendFloorChecked(benchmark::State& state) {
  const RunDir dir;
  std::string entry;
  if (!OneEntry(state, dir, entry)) return;
  void* shared = ::mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        /*fd=*/-1, /*offset=*/0);
  if (shared == MAP_FAILED) {
    state.SkipWithError("mmap failed");
    return;
  }
  auto* mutex = static_cast<pthread_mutex_t*>(shared);
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  const std::string config = dir.ConfigFile().string();
  const std::string folder = dir.LogFolder().string();
  const std::string path = (dir.LogFolder() / "floor.log").string();
  for (auto _ : state) {
    struct stat info {};
    ::stat(config.c_str(), &info);
    ::stat(config.c_str(), &info);
    pthread_mutex_lock(mutex);
    struct statvfs space {};
    ::statvfs(folder.c_str(), &space);
    ::stat(path.c_str(), &info);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    ::flock(fd, LOCK_EX | LOCK_NB);
    if (::write(fd, entry.data(), entry.size()) != static_cast<ssize_t>(entry.size())) {
      state.SkipWithError("write failed");
    }
    ::close(fd);
    pthread_mutex_unlock(mutex);
  }
  pthread_mutex_destroy(mutex);
  ::munmap(shared, sizeof(pthread_mutex_t));
  ExpectLines(state, CountUtf16Lines(ReadBytes(path)), static_cast<long>(state.iterations()));
}

// ---- A call below the threshold, and the configuration check every call makes ----

void BM_LoggerFiltered(benchmark::State& state) {
  const RunDir dir;
  Logger* logger = StartLogger(state, dir, LogSettings{});
  if (logger == nullptr) return;
  for (auto _ : state) WriteOurs(*logger, kDebug);
  ExpectLines(state, CountUtf16Lines(ReadBytes(dir.LogFile())), 0);
  logger_bench::ForgetLogger();
}

// Reload(false) on the unchanged configuration file, as the logger's own store runs it.
void BM_ConfigCheck(benchmark::State& state) {
  const RunDir dir;
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return;
  }
  logger_bench::WriteLoggingConfig(dir, LogSettings{});
  Tavro_KVO_Util::Config config(dir.ConfigFile().wstring().c_str(), /*logging=*/false, /*writable=*/false);
  bool reparsed = false;
  for (auto _ : state) {
    benchmark::DoNotOptimize(config.Reload(false));
    reparsed = reparsed || config.WasReloaded();
  }
  if (reparsed) state.SkipWithError("Reload(false) reparsed an unchanged file");
}

// ---- log4cplus ----

void PeerWrite(benchmark::State& state, long maxFileSize, bool countEntries) {
  const RunDir dir;
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return;
  }
  const auto file = dir.LogFolder() / "peer.log";
  log4cplus::Logger logger = logger_bench::PeerLogger(file, maxFileSize);
  for (auto _ : state) WritePeer(logger);
  logger.removeAllAppenders();  // closes the file before the folder goes
  if (countEntries) {
    ExpectLines(state, CountAnsiLines(ReadBytes(file)), static_cast<long>(state.iterations()));
  }
}

void BM_Log4cplusWrite(benchmark::State& state) {
  PeerWrite(state, LogSettings{}.maxLogFileSize, /*countEntries=*/true);
}

void BM_Log4cplusWrite_Rolling(benchmark::State& state) {
  PeerWrite(state, logger_bench::kRollingSize, /*countEntries=*/false);
}

void BM_Log4cplusFiltered(benchmark::State& state) {
  const RunDir dir;
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return;
  }
  log4cplus::Logger logger =
      logger_bench::PeerLogger(dir.LogFolder() / "peer.log", LogSettings{}.maxLogFileSize);
  for (auto _ : state) LOG4CPLUS_DEBUG_STR(logger, kNarrowMessage);
  logger.removeAllAppenders();
}

// ---- Several processes writing at once ----

// Each iteration forks state.range(0) processes that make their logger (untimed), then all write
// kEntriesPerProcess entries from a common start; the time is from that start until the last has
// exited. Reported as entries per second of wall time.
void Processes(benchmark::State& state, const std::function<void()>& prepare,
               const std::function<bool()>& work, const std::function<long()>& countEntries) {
  const int processes = static_cast<int>(state.range(0));
  for (auto _ : state) {
    const double seconds = logger_bench::TimeProcesses(processes, prepare, work);
    if (seconds < 0) {
      state.SkipWithError("a writing process failed");
      return;
    }
    state.SetIterationTime(seconds);
  }
  const long entries = static_cast<long>(state.iterations()) * processes * kEntriesPerProcess;
  state.SetItemsProcessed(entries);
  ExpectLines(state, countEntries(), entries);
}

void BM_LoggerProcesses(benchmark::State& state) {
  const RunDir dir;
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return;
  }
  logger_bench::WriteLoggingConfig(dir, LogSettings{});
  ::setenv("KVO_INSTALL_DIR", dir.path().c_str(), /*overwrite=*/1);
  // Each process makes its own logger, as separate programs do.
  logger_bench::ForgetLogger();
  Logger* logger = nullptr;
  Processes(
      state, [&] { logger = Logger::GetInstance(); },
      [&] {
        if (logger == nullptr) return false;
        for (int i = 0; i < kEntriesPerProcess; ++i) WriteOurs(*logger, kInfo);
        return true;
      },
      [&] { return CountUtf16Lines(ReadBytes(dir.LogFile())); });
}

void BM_Log4cplusProcesses(benchmark::State& state) {
  const RunDir dir;
  if (!dir.ok()) {
    state.SkipWithError("cannot make the run's folder");
    return;
  }
  const auto file = dir.LogFolder() / "peer.log";
  log4cplus::Logger logger;
  Processes(
      state, [&] { logger = logger_bench::PeerLogger(file, LogSettings{}.maxLogFileSize); },
      [&] {
        for (int i = 0; i < kEntriesPerProcess; ++i) WritePeer(logger);
        return true;
      },
      [&] { return CountAnsiLines(ReadBytes(file)); });
}

}  // namespace

BENCHMARK(BM_LoggerWrite);
BENCHMARK(BM_CLoggerWrite);
BENCHMARK(BM_LoggerWrite_Rolling);
BENCHMARK(BM_AppendFloor);
BENCHMARK(BM_AppendFloorChecked);
BENCHMARK(BM_LoggerFiltered);
BENCHMARK(BM_ConfigCheck);
BENCHMARK(BM_Log4cplusWrite);
BENCHMARK(BM_Log4cplusWrite_Rolling);
BENCHMARK(BM_Log4cplusFiltered);
BENCHMARK(BM_LoggerProcesses)->Arg(1)->Arg(4)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Log4cplusProcesses)->Arg(1)->Arg(4)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  const log4cplus::Initializer log4cplusInitializer;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

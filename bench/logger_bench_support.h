// What the logger benchmarks share: a private folder per run with its own configuration file and
// log folder, a fresh logger that reads that configuration, reading back what was written, and
// timing several processes that write at once.
#ifndef TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_SUPPORT_H
#define TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_SUPPORT_H

#include <filesystem>
#include <functional>
#include <string>

namespace Tavro_KVO_Util {
class Logger;
}

namespace logger_bench {

// The logging settings a run changes; everything else is fixed (see WriteLoggingConfig).
struct LogSettings {
  long maxLogFileSize = 1000000000;  // large: no rolling within a run
  long maxLogFileBackups = 5;
};

// A folder of its own under the temporary directory, removed with everything in it on
// destruction. It holds Bin/TavroMedivane.cfg and the log folder logs/.
class RunDir {
 public:
  RunDir();
  ~RunDir();
  RunDir(const RunDir&) = delete;
  RunDir& operator=(const RunDir&) = delete;

  bool ok() const { return !mPath.empty(); }
  const std::filesystem::path& path() const { return mPath; }
  std::filesystem::path ConfigFile() const { return mPath / "Bin" / "TavroMedivane.cfg"; }
  std::filesystem::path LogFolder() const { return mPath / "logs"; }
  // Where our logger writes with the settings of WriteLoggingConfig.
  std::filesystem::path LogFile() const { return LogFolder() / "bench.log"; }

 private:
  std::filesystem::path mPath;
};

// Writes the run's configuration file (UTF-16LE, as the store itself writes it) with every
// logging key, so that no read fails and nothing goes to the system log: threshold INFO, the
// debug areas BN and Config, the default entry template, the log in dir.LogFolder(), free space
// never short.
void WriteLoggingConfig(const RunDir& dir, const LogSettings& settings);

// Points KVO_INSTALL_DIR at `dir` and returns a logger made just now, which therefore reads this
// run's configuration: a logger keeps the first log folder it read for its lifetime, so the
// library's singletons are deleted first, as the logger's own tests do. Null when none can be made.
Tavro_KVO_Util::Logger* FreshLogger(const RunDir& dir);

// Deletes the library's singletons, so that processes forked afterwards make their own.
void ForgetLogger();

// The bytes of `file`.
std::string ReadBytes(const std::filesystem::path& file);

// The number of CR LF line ends in UTF-16LE `bytes` (one per entry), and in 8-bit `bytes`.
long CountUtf16Lines(const std::string& bytes);
long CountAnsiLines(const std::string& bytes);

// The full path of the running program, as a narrow string.
std::string ProgramPath();

// Forks `processes` children. Each runs `prepare` (untimed), waits for the common start, runs
// `work`, and exits with 0 when `work` returned true. Returns the seconds from the start until
// the last child has exited, or a negative value when a child could not be made or failed.
// Children leave with _exit: they run no destructors of the parent's objects.
double TimeProcesses(int processes, const std::function<void()>& prepare, const std::function<bool()>& work);

}  // namespace logger_bench

#endif  // TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_SUPPORT_H

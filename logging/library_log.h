// How the library's own classes report: one call that hands a printf-style entry to the
// process's Logger when there is one.
//
// Every class reports in its debug area with the source location of the call, and the Logger
// decides whether the entry is written. When no logger instance can be had, reports are skipped.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LIBRARY_LOG_H
#define TAVROMEDIVANEUTIL_LOGGING_LIBRARY_LOG_H

#include <cstdarg>
#include <mutex>
#include <string>
#include <vector>

namespace Tavro_KVO_Util::internal {

// `format` follows the Windows wide-printf conventions (see wide_format.h).
void ReportToLogger(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                    va_list args);

// One report as a test sees it.
struct ReportedEntry {
  std::wstring area;
  int level;
  std::wstring file;
  int line;
  std::wstring message;  // formatted
};

// Test seam: while an object of this class lives, every report is formatted and recorded here
// instead of going to the Logger. Recorders nest (the newest records).
class ReportRecorderForTesting {
 public:
  // `keep` false: reports are swallowed, not kept (long runs such as fuzzers).
  explicit ReportRecorderForTesting(bool keep = true);
  ~ReportRecorderForTesting();
  ReportRecorderForTesting(const ReportRecorderForTesting&) = delete;
  ReportRecorderForTesting& operator=(const ReportRecorderForTesting&) = delete;

  std::vector<ReportedEntry> Entries() const;
  // Messages only, in report order, optionally only those of one level.
  std::vector<std::wstring> Messages() const;
  std::vector<std::wstring> Messages(int level) const;
  void Clear();

  void Record(ReportedEntry entry);

 private:
  ReportRecorderForTesting* mPrevious;
  bool mKeep;
  mutable std::mutex mMutex;
  std::vector<ReportedEntry> mEntries;
};

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_LIBRARY_LOG_H

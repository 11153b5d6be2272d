// What both configuration fuzzers share: a private file to hand each input to the store through,
// white-box access to the store's line records, and the rule that ties the map to the records.
#ifndef TAVROMEDIVANEUTIL_FUZZ_CONFIG_FUZZ_SUPPORT_H
#define TAVROMEDIVANEUTIL_FUZZ_CONFIG_FUZZ_SUPPORT_H

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "Config.h"
#include "fuzz_check.h"
#include "logging/library_log.h"

namespace Tavro_KVO_Util {

// The fuzzers read the records the way the white-box tests do; the store names this class its
// friend for exactly that.
class ConfigTestPeer {
 public:
  static const std::vector<ConfigLine>& Lines(const Config& config) { return config.mUnorderedList; }
  static const std::map<std::wstring, std::wstring>& Map(const Config& config) { return config.mConfigMap; }
};

namespace fuzzing {

// The store's own reports are swallowed: without a configuration file for the logger, a report
// that reached it would wait out the file-open retries on every input.
inline void SwallowReports() {
  static Tavro_KVO_Util::internal::ReportRecorderForTesting swallow(/*keep=*/false);
}

// One directory per process, made on first use and removed at exit; one file name in it, reused
// by every input so that nothing piles up however long the run.
class InputFile {
 public:
  static InputFile& Get() {
    static InputFile file;
    return file;
  }

  const std::wstring& WidePath() const { return mWide; }
  const std::string& Path() const { return mNarrow; }

  void Write(const std::uint8_t* data, std::size_t size) const {
    const int fd = ::open(mNarrow.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FUZZ_CHECK(fd >= 0);
    for (std::size_t done = 0; done < size;) {
      const ssize_t wrote = ::write(fd, data + done, size - done);
      FUZZ_CHECK(wrote > 0);
      done += static_cast<std::size_t>(wrote);
    }
    ::close(fd);
  }

  // A file with a UTF-8 mark is refused, and the store then leaves its descriptor open on
  // purpose (old behaviour, kept). A long run would use up the process's descriptors and every
  // later input would go down the missing-file path, one second of retries each: close them.
  void CloseDescriptorsLeftOpen() const {
    DIR* fds = ::opendir("/proc/self/fd");
    if (fds == nullptr) return;
    const int own = ::dirfd(fds);
    std::vector<int> leaked;
    while (const dirent* entry = ::readdir(fds)) {
      const int fd = std::atoi(entry->d_name);
      if (fd <= 2 || fd == own) continue;
      char target[PATH_MAX];
      const std::string link = "/proc/self/fd/" + std::string(entry->d_name);
      const ssize_t length = ::readlink(link.c_str(), target, sizeof target - 1);
      // A prefix match: a file replaced under an open descriptor reads back as "... (deleted)".
      if (length > 0 &&
          std::string(target, static_cast<std::size_t>(length)).compare(0, mNarrow.size(), mNarrow) == 0) {
        leaked.push_back(fd);
      }
    }
    ::closedir(fds);
    for (const int fd : leaked) ::close(fd);
  }

 private:
  InputFile() {
    std::string pattern = BaseDirectory() + "/config-fuzz-XXXXXX";
    FUZZ_CHECK(::mkdtemp(pattern.data()) != nullptr);
    mDirectory = pattern;
    mNarrow = mDirectory + "/TavroMedivane.cfg";
    mWide.assign(mNarrow.begin(), mNarrow.end());  // mkdtemp's names are plain ASCII
  }

  ~InputFile() {
    ::unlink(mNarrow.c_str());
    ::rmdir(mDirectory.c_str());
  }

  // $TMPDIR when set (run-fuzzers.sh points it at its scratch directory), otherwise memory:
  // every input is written to the file, and a disk-backed /tmp makes the run wait on the disk
  // rather than on the code under test.
  static std::string BaseDirectory() {
    const char* tmp = std::getenv("TMPDIR");
    if (tmp != nullptr && *tmp != '\0') return tmp;
    struct stat info {};
    if (::stat("/dev/shm", &info) == 0 && S_ISDIR(info.st_mode) && ::access("/dev/shm", W_OK) == 0)
      return "/dev/shm";
    return "/tmp";
  }

  std::string mDirectory;
  std::string mNarrow;
  std::wstring mWide;
};

// Whether the bytes open with the UTF-8 mark the store refuses.
inline bool StartsWithUtf8Mark(const std::uint8_t* data, std::size_t size) {
  return size >= 2 && data[0] == 0xEF && data[1] == 0xBB;
}

// The map the records give when read in file order: the last record of each key decides, and a
// blank last value leaves the key out.
inline std::map<std::wstring, std::wstring> MapFromRecords(const std::vector<ConfigLine>& lines) {
  std::map<std::wstring, std::wstring> map;
  for (const ConfigLine& line : lines) {
    if (line.type != CFG_LINE_KEY_VALUE) continue;
    if (line.value.empty()) {
      map.erase(line.key);
    } else {
      map[line.key] = line.value;
    }
  }
  return map;
}

inline bool SameRecords(const std::vector<ConfigLine>& a, const std::vector<ConfigLine>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].type != b[i].type || a[i].key != b[i].key || a[i].value != b[i].value) return false;
  }
  return true;
}

inline bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

inline bool IsTrimmed(const std::wstring& text) {
  return text.empty() || (!IsBlank(text.front()) && !IsBlank(text.back()));
}

inline bool HasLineBreak(const std::wstring& text) {
  return text.find_first_of(L"\r\n") != std::wstring::npos;
}

// What the format promises of each record, whatever the bytes were.
inline void CheckRecord(const ConfigLine& line) {
  FUZZ_CHECK(!HasLineBreak(line.key) && !HasLineBreak(line.value));
  switch (line.type) {
    case CFG_LINE_KEY_VALUE:
      FUZZ_CHECK(!line.key.empty() && IsTrimmed(line.key) && IsTrimmed(line.value));
      FUZZ_CHECK(line.key.find(L'=') == std::wstring::npos);
      FUZZ_CHECK(line.key.find(L"//") == std::wstring::npos);
      FUZZ_CHECK(line.value.find(L"//") == std::wstring::npos);
      break;
    case CFG_LINE_COMMENT:
      FUZZ_CHECK(line.key.compare(0, 2, L"//") == 0 && line.value.empty());
      break;
    case CFG_LINE_BLANK:
      FUZZ_CHECK(line.key.empty() && line.value.empty());
      break;
    case CFG_LINE_MALFORMED:
      FUZZ_CHECK(!line.key.empty() && line.value.empty());
      break;
    default:
      FUZZ_CHECK(false);
  }
}

// Every record keeps its promises, and the map is exactly what the records give.
inline void CheckStoreIsConsistent(const Config& config) {
  const std::vector<ConfigLine>& lines = ConfigTestPeer::Lines(config);
  for (const ConfigLine& line : lines) CheckRecord(line);
  FUZZ_CHECK(MapFromRecords(lines) == ConfigTestPeer::Map(config));
}

}  // namespace fuzzing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_FUZZ_CONFIG_FUZZ_SUPPORT_H

#include "logging/backup_files.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "platform/directory_listing.h"
#include "platform/log_file.h"
#include "platform/path.h"

namespace Tavro_KVO_Util::internal {
namespace {

// The number in a backup's name: decimal digits without a leading zero, as BackupPath writes
// them ("KVO.log.01" is another file). 0 when `digits` is not such a number or exceeds `limit`.
long BackupNumber(const std::wstring& digits, long limit) {
  if (digits.empty() || digits[0] == L'0') return 0;
  long value = 0;
  for (const wchar_t c : digits) {
    if (c < L'0' || c > L'9') return 0;
    const long digit = c - L'0';
    if (value > (limit - digit) / 10) return 0;
    value = value * 10 + digit;
  }
  return value;
}

// The numbers 1..maxBackups that have a backup in the folder, ascending; nothing when the folder
// cannot be listed.
std::optional<std::vector<long>> ListedBackups(const std::wstring& logPath, long maxBackups) {
  const std::size_t cut = logPath.find_last_of(std::wstring(1, platform::PathSeparator()) + L"/");
  const std::wstring folder = cut == std::wstring::npos ? std::wstring() : logPath.substr(0, cut + 1);
  const std::wstring prefix = (cut == std::wstring::npos ? logPath : logPath.substr(cut + 1)) + L".";
  std::vector<std::wstring> names;
  if (!platform::ListDirectory(folder, names)) return std::nullopt;
  std::vector<long> numbers;
  for (const std::wstring& name : names) {
    if (!platform::FileNameStartsWith(name, prefix)) continue;
    const long number = BackupNumber(name.substr(prefix.size()), maxBackups);
    if (number != 0) numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

bool Openable(const std::wstring& logPath, long number) {
  return platform::CanOpenForReading(BackupPath(logPath, number));
}

// Counts up from 1 while backups are present: the first number that is not, or 0 when all of
// 1..maxBackups are. Written so that k never steps past maxBackups, which may be the largest long.
long FirstAbsent(long maxBackups, const std::function<bool(long)>& present) {
  for (long k = 1; k <= maxBackups; ++k) {
    if (!present(k)) return k;
    if (k == maxBackups) break;
  }
  return 0;
}

}  // namespace

std::wstring BackupPath(const std::wstring& logPath, long number) {
  return logPath + L"." + std::to_wstring(number);
}

long FirstMissingBackup(const std::wstring& logPath, long maxBackups) {
  const std::optional<std::vector<long>> listed = ListedBackups(logPath, maxBackups);
  return FirstAbsent(maxBackups, [&](long k) {
    // Counting stops at the first gap, so while it goes on the listed numbers run 1, 2, 3, ...:
    // k is in the folder exactly when entry k - 1 holds it.
    const bool inFolder = !listed || (static_cast<std::size_t>(k) <= listed->size() &&
                                      (*listed)[static_cast<std::size_t>(k) - 1] == k);
    return inFolder && Openable(logPath, k);
  });
}

long OldestBackup(const std::wstring& logPath, long maxBackups) {
  if (const std::optional<std::vector<long>> listed = ListedBackups(logPath, maxBackups)) {
    for (auto k = listed->rbegin(); k != listed->rend(); ++k) {
      if (Openable(logPath, *k)) return *k;
    }
    return 0;
  }
  const long absent = FirstAbsent(maxBackups, [&](long k) { return Openable(logPath, k); });
  return absent == 0 ? maxBackups : absent - 1;
}

}  // namespace Tavro_KVO_Util::internal

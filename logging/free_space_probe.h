// How much disk space the logger sees as free on a volume.
//
// Real free space moves while a test runs, so the boundary rule ("exactly the minimum is too
// little") could not be tested against it; tests fix the answer with FreeSpaceForTesting.
#ifndef TAVROMEDIVANEUTIL_LOGGING_FREE_SPACE_PROBE_H
#define TAVROMEDIVANEUTIL_LOGGING_FREE_SPACE_PROBE_H

#include <string>

namespace Tavro_KVO_Util::internal {

// Free bytes for the caller on the volume of `location` (empty: the working directory's volume).
// False when the platform cannot say.
bool ProbeFreeDiskSpace(const std::wstring& location, unsigned long long& freeBytes);

// While alive, every probe answers `freeBytes` without asking the platform. Not nestable.
class FreeSpaceForTesting {
 public:
  explicit FreeSpaceForTesting(unsigned long long freeBytes);
  ~FreeSpaceForTesting();
  FreeSpaceForTesting(const FreeSpaceForTesting&) = delete;
  FreeSpaceForTesting& operator=(const FreeSpaceForTesting&) = delete;

  void Set(unsigned long long freeBytes);
};

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_FREE_SPACE_PROBE_H

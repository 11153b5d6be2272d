// OwnedFile: an open file held by a portable platform class (a HANDLE on Windows, a descriptor
// on Linux, both stored as a number; -1 means none: INVALID_HANDLE_VALUE and no descriptor alike).
#ifndef TAVROMEDIVANEUTIL_PLATFORM_OWNED_FILE_H
#define TAVROMEDIVANEUTIL_PLATFORM_OWNED_FILE_H

#include "platform/unique_resource.h"

namespace Tavro_KVO_Util::platform {

struct OwnedFileTraits {
  using Type = long long;
  static long long Invalid() { return -1; }
  // Closes the file, keeping the thread's last error; defined once per OS.
  static void Close(long long file);
};
using OwnedFile = UniqueResource<OwnedFileTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_OWNED_FILE_H

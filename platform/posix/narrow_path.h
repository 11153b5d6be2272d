// File names as the Linux system calls take them (UTF-8), converted once per thread and name.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_NARROW_PATH_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_NARROW_PATH_H

#include <string>

namespace Tavro_KVO_Util::platform {

// The UTF-8 form of `path`. Every log entry names the same few files (the configuration file, the
// log, its folder) several times, so each thread keeps the last few it converted: comparing a name
// costs less than converting and allocating again. The reference stays valid until the calling
// thread converts four other names.
const std::string& NarrowPath(const std::wstring& path);
const std::string& NarrowPath(const wchar_t* path);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_NARROW_PATH_H

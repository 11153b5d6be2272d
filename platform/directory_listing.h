// Platform service: the names in one directory, and how the file system compares them.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_DIRECTORY_LISTING_H
#define TAVROMEDIVANEUTIL_PLATFORM_DIRECTORY_LISTING_H

#include <string>
#include <vector>

namespace Tavro_KVO_Util::platform {

// Appends the name of every entry of `directory` (files and folders, not "." and "..") to `names`,
// in no particular order, in one pass over the directory. An empty `directory` means the working
// directory. False when the directory cannot be read; `names` may then hold part of it.
bool ListDirectory(const std::wstring& directory, std::vector<std::wstring>& names);

// True when `name` begins with `prefix` as the file system compares names: ordinal and
// case-insensitive on Windows, exact on Linux.
bool FileNameStartsWith(const std::wstring& name, const std::wstring& prefix);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_DIRECTORY_LISTING_H

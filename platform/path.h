// Platform service: the path separator and joining of path parts.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_PATH_H
#define TAVROMEDIVANEUTIL_PLATFORM_PATH_H

#include <string>

namespace Tavro_KVO_Util::platform {

// '\\' on Windows, '/' elsewhere.
wchar_t PathSeparator();

// Appends `more` to `path` with path-append semantics: one separator between the parts, none
// doubled, nothing added to an empty `path` (Windows: PathAppendW). False when the result does
// not fit the platform's path limit.
bool AppendPath(std::wstring& path, const std::wstring& more);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_PATH_H

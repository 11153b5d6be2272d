// Platform service: strings from the string table of a module already loaded in the process.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_STRING_RESOURCE_H
#define TAVROMEDIVANEUTIL_PLATFORM_STRING_RESOURCE_H

#include <string>

namespace Tavro_KVO_Util::platform {

// Copies string `id` of the loaded module `module` (it is never loaded here) into `buffer` of
// `size` characters, as LoadStringW does: returns the characters copied, or 0 with the OS error
// in `error` (Windows: ERROR_MOD_NOT_FOUND 126 when the module is not loaded). Linux has no such
// modules: always 0 with error ENOENT.
int LoadModuleString(const std::wstring& module, int id, wchar_t* buffer, int size, unsigned long& error);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_STRING_RESOURCE_H

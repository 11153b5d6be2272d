// Platform service: where the library itself was loaded from.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_MODULE_PATH_H
#define TAVROMEDIVANEUTIL_PLATFORM_MODULE_PATH_H

#include <string>

namespace Tavro_KVO_Util::platform {

// The full path of the loaded library file. Windows: the module "TavroMedivaneUtil.dll" as
// loaded in the process (false when the process has no module of that name, e.g. a program
// linked with the library's objects). Linux: the shared object (or program) holding this code.
bool LibraryModulePath(std::wstring& path);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_MODULE_PATH_H

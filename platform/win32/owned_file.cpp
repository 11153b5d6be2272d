#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/owned_file.h"

#include "platform/win32/unique_handle.h"

namespace Tavro_KVO_Util::platform {

void OwnedFileTraits::Close(long long file) { FileHandleTraits::Close(AsHandle(file)); }

}  // namespace Tavro_KVO_Util::platform

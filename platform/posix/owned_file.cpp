#include "platform/owned_file.h"

#include "platform/posix/unique_fd.h"

namespace Tavro_KVO_Util::platform {

void OwnedFileTraits::Close(long long file) { FdTraits::Close(static_cast<int>(file)); }

}  // namespace Tavro_KVO_Util::platform

// Platform service: replacing a small file so that a crash or power loss leaves either the old
// contents or the new ones, never a mix.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H
#define TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H

#include <filesystem>
#include <string>

namespace Tavro_KVO_Util::platform {

// Writes `bytes` to a temporary file beside `path` (`path` with ".tmp" appended), flushes it to
// the disk, and renames it over `path`. False with a reason in `why`; `path` is then unchanged
// and the temporary file removed.
bool ReplaceFileDurably(const std::filesystem::path& path, const std::string& bytes, std::string& why);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H

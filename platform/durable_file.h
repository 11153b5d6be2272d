// Platform service: replacing a small file so that a crash or power loss leaves either the old
// contents or the new ones, never a mix.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H
#define TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H

#include <filesystem>
#include <string>

namespace Tavro_KVO_Util::platform {

// How far a replacement has got when the call returns.
enum class Durability {
  // On the disk: survives a power loss. Costs a flush to the device, often milliseconds.
  kOnDisk,
  // With the operating system: survives the process being killed at any moment, not a power
  // loss. For replacements frequent enough that a flush each time would dominate the work.
  kWithSystem,
};

// Writes `bytes` to a temporary file beside `path` (`path` with ".tmp" appended), flushes it as
// `durability` asks, and renames it over `path`. False with a reason in `why`; `path` is then
// unchanged and the temporary file removed.
bool ReplaceFileDurably(const std::filesystem::path& path, const std::string& bytes, Durability durability,
                        std::string& why);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_DURABLE_FILE_H

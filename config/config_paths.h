// Where the configuration file is looked for, and the store's bounded path buffers.
#ifndef TAVROMEDIVANEUTIL_CONFIG_CONFIG_PATHS_H
#define TAVROMEDIVANEUTIL_CONFIG_CONFIG_PATHS_H

#include <cstddef>
#include <string>

namespace Tavro_KVO_Util::internal {

// The store's path buffers hold 254 characters and a terminator.
constexpr std::size_t kConfigPathCapacity = 255;

struct DefaultConfigPath {
  std::wstring directory;  // ends in a separator, or empty
  std::wstring file;       // directory + "TavroMedivane.cfg"
};

// "%KVO_INSTALL_DIR%" + "Bin" + separator when the variable exists (and expands to at most 259
// characters); otherwise the folder of the library's own module; otherwise no folder.
DefaultConfigPath FindDefaultConfigPath();

// Copies `path` with its terminator when it fits; otherwise leaves `buffer` as it was and returns
// false. The store never writes past its buffers: an over-long path is refused, not truncated.
bool CopyPath(wchar_t (&buffer)[kConfigPathCapacity], const std::wstring& path);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_CONFIG_PATHS_H

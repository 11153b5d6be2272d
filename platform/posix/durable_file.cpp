// Atomic replacement on Linux: write, fsync, rename, then fsync the folder so the rename lasts;
// without the fsyncs when only the process's death is to be survived.
#include "platform/durable_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/posix/unique_fd.h"
#include "platform/posix/write_all.h"

namespace Tavro_KVO_Util::platform {

bool ReplaceFileDurably(const std::filesystem::path& path, const std::string& bytes, Durability durability,
                        std::string& why) {
  const bool flush = durability == Durability::kOnDisk;
  std::filesystem::path temporary = path;
  temporary += ".tmp";
  {
    const UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!fd) {
      why = "cannot create " + temporary.string() + ": " + std::strerror(errno);
      return false;
    }
    std::size_t written = 0;
    if (!WriteAll(fd.get(), bytes.data(), bytes.size(), written) || (flush && ::fsync(fd.get()) != 0)) {
      why = "cannot write " + temporary.string() + ": " + std::strerror(errno);
      ::unlink(temporary.c_str());
      return false;
    }
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    why = "cannot rename " + temporary.string() + " to " + path.string() + ": " + std::strerror(errno);
    ::unlink(temporary.c_str());
    return false;
  }
  if (!flush) return true;
  std::filesystem::path folder = path.parent_path();
  if (folder.empty()) folder = ".";
  const UniqueFd directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) ::fsync(directory.get());
  return true;
}

}  // namespace Tavro_KVO_Util::platform

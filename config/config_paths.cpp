#include "config/config_paths.h"

#include "platform/environment.h"
#include "platform/module_path.h"
#include "platform/path.h"

namespace Tavro_KVO_Util::internal {
namespace {

constexpr wchar_t kInstallDirReference[] = L"%KVO_INSTALL_DIR%";
constexpr wchar_t kConfigFileName[] = L"TavroMedivane.cfg";
// Room the old code gave the expansion (it is larger than the buffers that take the result).
constexpr std::size_t kExpansionLimit = 260;

bool InstallBinDirectory(std::wstring& directory) {
  std::wstring expanded;
  if (!platform::ExpandEnvironmentText(kInstallDirReference, kExpansionLimit, expanded)) return false;
  // An unknown variable comes back unexpanded. One set to an empty value still counts (the
  // folder is then "Bin" relative to the working directory), as it always has.
  if (expanded == kInstallDirReference) return false;
  directory = expanded;
  return platform::AppendPath(directory, std::wstring(L"Bin") + platform::PathSeparator());
}

std::wstring LibraryDirectory() {
  std::wstring module;
  if (!platform::LibraryModulePath(module)) return std::wstring();
  const std::size_t last = module.rfind(platform::PathSeparator());
  return last == std::wstring::npos ? std::wstring() : module.substr(0, last + 1);
}

}  // namespace

DefaultConfigPath FindDefaultConfigPath() {
  DefaultConfigPath found;
  if (!InstallBinDirectory(found.directory)) found.directory = LibraryDirectory();
  found.file = found.directory;
  if (!platform::AppendPath(found.file, kConfigFileName)) found.file.clear();
  return found;
}

bool CopyPath(wchar_t (&buffer)[kConfigPathCapacity], const std::wstring& path) {
  if (path.size() >= kConfigPathCapacity) return false;
  path.copy(buffer, path.size());
  buffer[path.size()] = L'\0';
  return true;
}

}  // namespace Tavro_KVO_Util::internal

#include "config_location.h"

#include <filesystem>
#include <ostream>
#include <system_error>

#include "wide_text.h"

namespace mvutil {

std::wstring DefaultConfigFile() {
  std::wstring directory;
  if (!internal::InstallDirectory(directory) ||
      !internal::AppendPath(directory, std::wstring(L"Bin") + internal::PathSeparator())) {
    directory = internal::LibraryFolder();
  }
  std::wstring file = directory;
  // A path too long for the library leaves its store without a file: nothing to name then.
  return internal::AppendPath(file, L"TavroMedivane.cfg") ? file : std::wstring();
}

bool WarnIfConfigMissing(const std::wstring& file, std::ostream& err) {
  if (file.empty()) return false;
  std::error_code error;
  const std::filesystem::path path(file);
  // Only a file that is plainly not there: one that cannot be looked at is no reason to warn.
  if (std::filesystem::status(path, error).type() != std::filesystem::file_type::not_found) return false;
  // A relative path (an empty KVO_INSTALL_DIR gives one) is shown from the working directory, where
  // the library looks for it.
  std::error_code ignored;
  const std::filesystem::path full = std::filesystem::absolute(path, ignored);
  err << "mvutil: warning: no configuration file at " << WideToUtf8(full.empty() ? file : full.wstring())
      << "; every log call waits at least 1 s for it\n";
  return true;
}

}  // namespace mvutil

// Where the shared configuration file is looked for, and the warning when it is not there.
//
// A program whose configuration file is missing still works, but every check the library makes of
// the file (one for each log call, two for an entry that is written) retries opening it five
// times 200 ms apart, so that a file being replaced by an editor is not taken as gone. Nothing
// else shows that wait, so the verbs that read the file or log through the library say so first.
#ifndef MVUTIL_CONFIG_LOCATION_H
#define MVUTIL_CONFIG_LOCATION_H

#include <iosfwd>
#include <string>

namespace mvutil {

// The file the library's store reads when a program names none: "%KVO_INSTALL_DIR%" + "Bin" +
// separator + "TavroMedivane.cfg" when the variable exists (and expands to at most 259
// characters), otherwise TavroMedivane.cfg in the folder of the loaded library. The tool links
// only the library's exports, which do not give the path, so this repeats config/config_paths.cpp.
std::wstring DefaultConfigFile();

// When `file` does not exist, prints one line on `err`, naming the file as a full path:
//   mvutil: warning: no configuration file at PATH; every log call waits at least 1 s for it
// Support staff search for this text; keep it exact. Returns true when the line was printed.
bool WarnIfConfigMissing(const std::wstring& file, std::ostream& err);

namespace internal {

// The OS half of DefaultConfigFile (config_location_{posix,win32}.cpp).

// The expansion of "%KVO_INSTALL_DIR%" as the library makes it; false when the variable does not
// exist or its value is too long.
bool InstallDirectory(std::wstring& directory);

// `name` appended to `path` as the library joins paths (one separator between them); false, with
// `path` unchanged, when the result would be too long for the library.
bool AppendPath(std::wstring& path, const std::wstring& name);

// The folder of the loaded library, ending in a separator; empty when it cannot be found.
std::wstring LibraryFolder();

// The platform's path separator.
wchar_t PathSeparator();

}  // namespace internal
}  // namespace mvutil

#endif  // MVUTIL_CONFIG_LOCATION_H

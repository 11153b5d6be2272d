// mvutil config check: finds what in a configuration file the library would read otherwise than
// its editor meant, or would hang on, for the people who edit the shared file by hand.
//
// The file is read as the library's store reads it (encodings, lines, "//" comments, the first
// "=" splitting key and value, blanks trimmed), and each finding names the line it is on:
//   PATH:LINE: warning: TEXT      something the library ignores or reads otherwise than written
//   PATH:LINE: error: TEXT        something that makes the library fail or hang
// Support staff and editors' tools match these lines; keep the form exact.
#ifndef MVUTIL_CONFIG_CHECK_H
#define MVUTIL_CONFIG_CHECK_H

#include <cstddef>
#include <string>
#include <vector>

namespace mvutil {

struct ConfigFinding {
  std::size_t line = 0;  // 1-based
  bool error = false;    // otherwise a warning
  std::string text;      // UTF-8
};

// The findings for a file's bytes, in line order:
// - a UTF-8 byte-order mark (the store refuses the whole file): error;
// - a line that is not key=value, a comment or blank: warning;
// - a key the logger reads, under /Tavro/MedivaneSDK/Logging/, with a value it cannot use, and an
//   unknown key there, with the nearest known one: warning;
// - a key set twice with different values, saying which value each getter returns: warning;
// - a key SECTION[...] whose index is negative or not a number, on which GetArrayIndices(SECTION)
//   never returns: error;
// - a value ending in a blank the store keeps (only spaces and tabs are trimmed): warning.
std::vector<ConfigFinding> CheckConfiguration(const std::string& bytes);

}  // namespace mvutil

#endif  // MVUTIL_CONFIG_CHECK_H

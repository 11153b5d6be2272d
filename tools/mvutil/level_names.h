// The logger's level names as the tool reads them from its command line and from log entries.
#ifndef MVUTIL_LEVEL_NAMES_H
#define MVUTIL_LEVEL_NAMES_H

#include <string>

namespace mvutil {

// The accepted spellings, for usage errors.
extern const char kLevelChoices[];

// "REPORT" 0, "FATAL" 1, "ERROR" 2, "WARN" 3, "INFO" 4, "DEBUG" 5, in any letter case, or the
// number itself (0 to 5). False for anything else, "UNKNOWN" included.
bool ParseLevel(const std::string& text, int& level);

// The level of an entry from its level field, the first letter of the level's name ("R", "F",
// "E", "W", "I", "D"). False for "U" (a level outside 0-5) and any other character.
bool LevelFromLetter(char letter, int& level);

// The first letter of `level`'s name, as the logger writes it into an entry.
char LevelLetter(int level);

}  // namespace mvutil

#endif  // MVUTIL_LEVEL_NAMES_H

#include "level_names.h"

#include <cctype>

#include "logging/log_levels.h"

namespace mvutil {

using namespace Tavro_KVO_Util::internal;

const char kLevelChoices[] = "REPORT, FATAL, ERROR, WARN, INFO, DEBUG or a number 0-5";

namespace {

struct LevelName {
  int level;
  const char* name;
};

// The logger's own names; entries carry their first letters.
constexpr LevelName kNames[] = {{kLevelReport, "REPORT"}, {kLevelFatal, "FATAL"}, {kLevelError, "ERROR"},
                                {kLevelWarn, "WARN"},     {kLevelInfo, "INFO"},   {kLevelDebug, "DEBUG"}};

bool SameLetters(const std::string& text, const char* name) {
  std::size_t i = 0;
  for (; i < text.size() && name[i] != '\0'; ++i) {
    if (std::toupper(static_cast<unsigned char>(text[i])) != name[i]) return false;
  }
  return i == text.size() && name[i] == '\0';
}

}  // namespace

bool ParseLevel(const std::string& text, int& level) {
  if (text.size() == 1 && text[0] >= '0' && text[0] <= '0' + kLevelDebug) {
    level = text[0] - '0';
    return true;
  }
  for (const LevelName& entry : kNames) {
    if (SameLetters(text, entry.name)) {
      level = entry.level;
      return true;
    }
  }
  return false;
}

bool LevelFromLetter(char letter, int& level) {
  for (const LevelName& entry : kNames) {
    if (entry.name[0] == letter) {
      level = entry.level;
      return true;
    }
  }
  return false;
}

char LevelLetter(int level) {
  for (const LevelName& entry : kNames) {
    if (entry.level == level) return entry.name[0];
  }
  return 'U';
}

}  // namespace mvutil

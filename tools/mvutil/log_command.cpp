#include "log_command.h"

#include <optional>
#include <ostream>

#include "Logger.h"
#include "level_names.h"
#include "logging/log_levels.h"
#include "wide_text.h"

namespace mvutil {

const char kLogUsage[] =
    "Usage: mvutil log [--area AREA] [--level LEVEL] [--data TEXT] MESSAGE...\n"
    "Writes one entry to the shared log through the library's logger, as every program on the\n"
    "tablet does: the same file, entry template, rolling and machine-wide lock. The words of\n"
    "MESSAGE are joined by single spaces; '--' ends the options.\n\n"
    "  --area AREA    the entry's area (default: mvutil)\n"
    "  --level LEVEL  REPORT, FATAL, ERROR, WARN, INFO or DEBUG in any letter case, or 0-5\n"
    "                 (default: INFO)\n"
    "  --data TEXT    written behind the entry after \";DATA#\"\n\n"
    "The entry's source file is \".\\mvutil\" and its line 0. The logger writes the entry only when\n"
    "LEVEL is within /Tavro/MedivaneSDK/Logging/DefaultLevel, LEVEL is REPORT, or AREA is one of\n"
    "the DebugAreas; an entry it leaves out is not an error. As for every caller, a \"%s\" or \"%L\"\n"
    "in MESSAGE that the entry template does not use before it is filled in by the logger.\n\n"
    "Exit codes: 0 the entry was handed to the logger, 1 the logger could not be made,\n"
    "2 wrong command line.\n";

namespace {

// Entries from the tool name it as their source, so that support staff can tell them from the
// programs' own; there is no source line to give.
constexpr wchar_t kSourceFile[] = L".\\mvutil";
constexpr int kSourceLine = 0;
constexpr char kDefaultArea[] = "mvutil";

struct LogArgs {
  std::string area = kDefaultArea;
  int level = Tavro_KVO_Util::internal::kLevelInfo;
  std::optional<std::string> data;
  std::string message;
  bool hasMessage = false;
};

// The value after option `args[i]`, advancing `i`; false when there is none.
bool TakeValue(const Args& args, std::size_t& i, std::string& value, std::ostream& err) {
  if (i + 1 >= args.size()) {
    err << "mvutil log: " << args[i] << " needs a value; see 'mvutil log --help'\n";
    return false;
  }
  value = args[++i];
  return true;
}

void AddWord(LogArgs& parsed, const std::string& word) {
  if (parsed.hasMessage) parsed.message += ' ';
  parsed.message += word;
  parsed.hasMessage = true;
}

bool ParseLogArgs(const Args& args, LogArgs& parsed, std::ostream& err) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string value;
    if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
      AddWord(parsed, arg);
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "--area") {
      if (!TakeValue(args, i, parsed.area, err)) return false;
    } else if (arg == "--level") {
      if (!TakeValue(args, i, value, err)) return false;
      if (!ParseLevel(value, parsed.level)) {
        err << "mvutil log: unknown level '" << value << "'; use " << kLevelChoices << "\n";
        return false;
      }
    } else if (arg == "--data") {
      if (!TakeValue(args, i, value, err)) return false;
      parsed.data = value;
    } else {
      err << "mvutil log: unknown option '" << arg << "'; see 'mvutil log --help'\n";
      return false;
    }
  }
  if (!parsed.hasMessage) {
    err << "mvutil log: no MESSAGE given; see 'mvutil log --help'\n";
    return false;
  }
  return true;
}

}  // namespace

int RunLogCommand(const Args& args, Io& io) {
  LogArgs parsed;
  if (!ParseLogArgs(args, parsed, io.err)) return kExitUsage;
  Tavro_KVO_Util::Logger* logger = Tavro_KVO_Util::Logger::GetInstance();
  if (logger == nullptr) {
    io.err << "mvutil log: the logger could not be made (out of memory)\n";
    return kExitFailure;
  }
  const std::wstring area = Utf8ToWide(parsed.area);
  const std::wstring message = Utf8ToWide(parsed.message);
  if (parsed.data) {
    logger->LogString(area.c_str(), parsed.level, message.c_str(), Utf8ToWide(*parsed.data).c_str(),
                      kSourceFile, kSourceLine);
  } else {
    logger->Log(area.c_str(), parsed.level, message.c_str(), kSourceFile, kSourceLine);
  }
  return kExitOk;
}

}  // namespace mvutil

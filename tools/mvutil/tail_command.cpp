#include "tail_command.h"

#include <optional>
#include <ostream>
#include <thread>
#include <vector>

#include "entry_filter.h"
#include "level_names.h"
#include "log_settings.h"
#include "log_watcher.h"
#include "platform/host_name.h"
#include "platform/time_zone.h"
#include "shipping/entry_json.h"

namespace mvutil {

const char kTailUsage[] =
    "Usage: mvutil tail [-n N] [-f] [--level LEVEL] [--area AREA] [--json]\n"
    "Prints the last entries of the shared log as UTF-8, one per line. The log is the file the\n"
    "logger writes: /Tavro/MedivaneSDK/Logging/LogFileLocation and LogFileName of the shared\n"
    "configuration file (by default KVO.log in the working directory, so run tail where the\n"
    "programs run).\n\n"
    "  -n N           print the last N entries that pass the filters (default 10)\n"
    "  -f             then keep printing entries as they are written, every 200 ms, also after\n"
    "                 the file rolls into a backup or is emptied; stop with Ctrl+C\n"
    "  --level LEVEL  only entries of LEVEL or more severe: REPORT, FATAL, ERROR, WARN, INFO or\n"
    "                 DEBUG in any letter case, or 0-5 (REPORT is 0, the most severe)\n"
    "  --area AREA    only entries of AREA (exact)\n"
    "  --json         print each entry as one JSON object (JSON Lines) with the fields that mvutil\n"
    "                 ship sends: @timestamp, log.level, message, process.pid, process.thread.id,\n"
    "                 process.executable, log.origin.file.name, log.origin.file.line, host.name,\n"
    "                 and tavro.area, tavro.session, tavro.zone, tavro.data, tavro.entry (the whole\n"
    "                 line) and tavro.parsed (false for a line that does not fit the template)\n\n"
    "The level and area of an entry are read by the entry template (FormatString), so the filters\n"
    "need its %L and %A; entries that do not fit the template pass only when no filter is given.\n\n"
    "Exit codes: 0 success, 1 there is no log file (without -f), the template lacks a field a\n"
    "filter needs, or the output failed, 2 wrong command line.\n";

namespace {

constexpr std::size_t kDefaultCount = 10;
constexpr std::size_t kMaxCount = 1000000;

struct TailArgs {
  std::size_t count = kDefaultCount;
  bool follow = false;
  std::optional<int> level;
  std::optional<std::string> area;
  bool json = false;
};

bool ParseCount(const std::string& text, std::size_t& count) {
  if (text.empty() || text.size() > 7) return false;
  count = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    count = count * 10 + static_cast<std::size_t>(c - '0');
  }
  return count <= kMaxCount;
}

bool ParseTailArgs(const Args& args, TailArgs& parsed, std::ostream& err) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool takesValue = arg == "-n" || arg == "--level" || arg == "--area";
    if (takesValue && i + 1 >= args.size()) {
      err << "mvutil tail: " << arg << " needs a value; see 'mvutil tail --help'\n";
      return false;
    }
    if (arg == "-f") {
      parsed.follow = true;
    } else if (arg == "--json") {
      parsed.json = true;
    } else if (arg == "-n") {
      if (!ParseCount(args[++i], parsed.count)) {
        err << "mvutil tail: -n needs a whole number of entries from 0 to " << kMaxCount << ", not '"
            << args[i] << "'\n";
        return false;
      }
    } else if (arg == "--level") {
      int level = 0;
      if (!ParseLevel(args[++i], level)) {
        err << "mvutil tail: unknown level '" << args[i] << "'; use " << kLevelChoices << "\n";
        return false;
      }
      parsed.level = level;
    } else if (arg == "--area") {
      parsed.area = args[++i];
    } else {
      err << "mvutil tail: unexpected argument '" << arg << "'; see 'mvutil tail --help'\n";
      return false;
    }
  }
  return true;
}

// How entries are printed: as written, or as JSON.
struct Printer {
  std::optional<Tavro_KVO_Util::shipping::EntryTemplate> json;
  std::string hostname;

  // False when the output failed (a closed pipe, a full disk).
  bool Print(const std::vector<std::string>& entries, std::ostream& out) const {
    for (const std::string& entry : entries) {
      if (json) {
        out << Tavro_KVO_Util::shipping::EntryJson(entry, *json, hostname) << '\n';
      } else {
        out << entry << '\n';
      }
    }
    out.flush();
    return static_cast<bool>(out);
  }
};

int Follow(LogWatcher& watcher, const Printer& printer, Io& io, const FollowOptions& options) {
  for (;;) {
    std::this_thread::sleep_for(options.interval);
    const bool keep = options.keepFollowing();
    bool more = true;
    while (more) {
      std::vector<std::string> entries;
      more = watcher.Follow(entries);
      if (!printer.Print(entries, io.out)) return kExitFailure;
    }
    if (!keep) return kExitOk;
  }
}

}  // namespace

int RunTailCommand(const Args& args, Io& io) { return RunTail(args, io, FollowOptions()); }

int RunTail(const Args& args, Io& io, const FollowOptions& follow) {
  TailArgs parsed;
  if (!ParseTailArgs(args, parsed, io.err)) return kExitUsage;
  const LogSettings settings = ReadLogSettings();
  const EntryFilter filter(settings.format, parsed.level, parsed.area);
  std::string why;
  if (!filter.Usable(why)) {
    io.err << "mvutil tail: " << why << "\n";
    return kExitFailure;
  }
  Printer printer;
  if (parsed.json) {
    printer.json.emplace(settings.format, Tavro_KVO_Util::platform::LocalZoneNames());
    printer.hostname = Tavro_KVO_Util::platform::ComputerName();
  }
  LogWatcher watcher(settings.file, settings.maxBackups, filter);
  std::vector<std::string> entries;
  if (!watcher.ReadLast(parsed.count, entries)) {
    if (!parsed.follow) {
      io.err << "mvutil tail: " << settings.file.u8string() << ": no log file\n";
      return kExitFailure;
    }
    io.err << "mvutil tail: " << settings.file.u8string() << ": no log file yet; waiting for it\n";
  }
  if (!printer.Print(entries, io.out)) return kExitFailure;
  return parsed.follow ? Follow(watcher, printer, io, follow) : kExitOk;
}

}  // namespace mvutil

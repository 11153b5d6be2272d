#include "config_command.h"

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <ostream>

#include "Config.h"
#include "config_check.h"
#include "config_location.h"
#include "wide_text.h"

namespace mvutil {

using Tavro_KVO_Util::CFGStatus;
using Tavro_KVO_Util::Config;

const char kConfigUsage[] =
    "Usage: mvutil config VERB [--file PATH] ARGS...\n"
    "Reads and changes the shared configuration file: by default TavroMedivane.cfg in\n"
    "%KVO_INSTALL_DIR%/Bin, or beside the library when that variable is not set.\n\n"
    "  get KEY                   print the value of KEY\n"
    "  set KEY VALUE             set KEY to VALUE (the file is rewritten as UTF-16LE)\n"
    "  section PREFIX [--short]  print KEY=VALUE for every key starting with PREFIX\n"
    "                            (--short: keys cut to their last '/' component)\n"
    "  match SECTION NAME        print KEY=VALUE for keys under SECTION whose last\n"
    "                            component starts with NAME\n"
    "  indices SECTION           print the indices n of the keys SECTION[n]..., one per line\n"
    "  dump                      print every effective KEY=VALUE in key order\n"
    "  check                     print one line 'PATH:LINE: warning|error: TEXT' for each thing\n"
    "                            the library would ignore, read otherwise than written, or hang on\n\n"
    "  --file PATH               use PATH instead of the default file\n\n"
    "Exit codes: 0 success, 1 not found, 2 wrong command line, 3 the file cannot be read\n"
    "or is refused (UTF-8), 4 the change could not be written. check: 0 nothing found,\n"
    "1 warnings, 2 errors, 3 the file cannot be read.\n";

namespace {

constexpr int kExitFileUnusable = 3;
constexpr int kExitWriteFailed = 4;
// check: what the worst finding was.
constexpr int kExitCheckWarnings = 1;
constexpr int kExitCheckErrors = 2;

struct ConfigArgs {
  std::string verb;
  std::optional<std::string> file;
  bool shortKeys = false;
  Args positional;
};

bool ParseConfigArgs(const Args& args, ConfigArgs& parsed, std::ostream& err) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--file") {
      if (i + 1 >= args.size()) {
        err << "mvutil config: --file needs a PATH\n";
        return false;
      }
      parsed.file = args[++i];
    } else if (arg == "--short") {
      parsed.shortKeys = true;
    } else if (parsed.verb.empty()) {
      parsed.verb = arg;
    } else {
      parsed.positional.push_back(arg);
    }
  }
  if (parsed.verb.empty()) {
    err << "mvutil config: no VERB given; see 'mvutil config --help'\n";
    return false;
  }
  return true;
}

// Describes the file for messages.
std::string FileLabel(const ConfigArgs& args) {
  return args.file ? *args.file : std::string("the default configuration file");
}

// Opens the store on the chosen file. Returns 0 or the exit code, having printed why.
int OpenStore(const ConfigArgs& args, bool writable, std::unique_ptr<Config>& config, Io& io) {
  if (args.file) {
    // The store falls back to the default file when it cannot open the one it is given: say so
    // instead of quietly showing another file.
    std::ifstream probe(std::filesystem::u8path(*args.file), std::ios::binary);
    if (!probe) {
      io.err << "mvutil config: " << *args.file << ": cannot open the file\n";
      return kExitFileUnusable;
    }
    config = std::make_unique<Config>(Utf8ToWide(*args.file).c_str(), /*logging=*/false, writable);
  } else {
    WarnIfConfigMissing(DefaultConfigFile(), io.err);
    config = std::make_unique<Config>(/*logging=*/false, writable);
  }
  switch (config->Reload(true)) {
    case Tavro_KVO_Util::CFG_SUCCESS:
      return kExitOk;
    case Tavro_KVO_Util::CFG_FILE_UTF8:
      io.err
          << "mvutil config: " << FileLabel(args)
          << " is UTF-8 with a byte-order mark, which the store refuses; save it as UTF-16 or 8-bit text\n";
      return kExitFileUnusable;
    default:
      io.err << "mvutil config: " << FileLabel(args) << ": cannot open the file\n";
      return kExitFileUnusable;
  }
}

bool ExpectArgs(const ConfigArgs& args, std::size_t count, const char* usage, std::ostream& err) {
  if (args.positional.size() == count) return true;
  err << "mvutil config " << args.verb << ": usage: mvutil config " << usage << "\n";
  return false;
}

void PrintPairs(const std::map<std::wstring, std::wstring>& pairs, std::ostream& out) {
  for (const auto& [key, value] : pairs) out << WideToUtf8(key) << "=" << WideToUtf8(value) << "\n";
}

int Get(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 1, "get KEY", io.err)) return kExitUsage;
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, false, config, io)) return failed;
  std::wstring value;
  if (config->GetParameter(Utf8ToWide(args.positional[0]), value) != Tavro_KVO_Util::CFG_SUCCESS) {
    io.err << "mvutil config get: " << args.positional[0] << ": not found\n";
    return kExitFailure;
  }
  io.out << WideToUtf8(value) << "\n";
  return kExitOk;
}

int Set(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 2, "set KEY VALUE", io.err)) return kExitUsage;
  if (args.positional[0].empty()) {
    io.err << "mvutil config set: KEY must not be empty\n";
    return kExitUsage;
  }
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, true, config, io)) return failed;
  const CFGStatus status =
      config->SetParameter(Utf8ToWide(args.positional[0]), Utf8ToWide(args.positional[1]).c_str());
  if (status == Tavro_KVO_Util::CFG_SUCCESS) return kExitOk;
  io.err << "mvutil config set: " << FileLabel(args) << ": the change could not be written (status " << status
         << ")\n";
  return kExitWriteFailed;
}

int Section(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 1, "section PREFIX [--short]", io.err)) return kExitUsage;
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, false, config, io)) return failed;
  std::map<std::wstring, std::wstring> pairs;
  const std::wstring prefix = Utf8ToWide(args.positional[0]);
  const CFGStatus status =
      args.shortKeys ? config->GetSectionWithShortKeys(prefix, pairs) : config->GetSection(prefix, pairs);
  if (status != Tavro_KVO_Util::CFG_SUCCESS) {
    io.err << "mvutil config section: " << args.positional[0] << ": no key starts with it\n";
    return kExitFailure;
  }
  PrintPairs(pairs, io.out);
  return kExitOk;
}

int Match(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 2, "match SECTION NAME", io.err)) return kExitUsage;
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, false, config, io)) return failed;
  std::map<std::wstring, std::wstring> pairs;
  if (config->GetMatchingKeys(Utf8ToWide(args.positional[0]), Utf8ToWide(args.positional[1]), pairs) !=
      Tavro_KVO_Util::CFG_SUCCESS) {
    io.err << "mvutil config match: no key under " << args.positional[0]
           << " has a last component starting with " << args.positional[1] << "\n";
    return kExitFailure;
  }
  PrintPairs(pairs, io.out);
  return kExitOk;
}

// The library's index query never returns when an array key has a negative or non-numeric index
// ("SECTION[x]"). The tool checks first, so that support staff get a message instead of a hang.
bool FindKeyWithBadIndex(const Config& config, const std::wstring& prefix, std::wstring& badKey) {
  std::map<std::wstring, std::wstring> keys;
  config.GetSection(prefix, keys);
  for (const auto& entry : keys) {
    // The index is read as the library reads it: a decimal long right after the prefix.
    const std::wstring rest = entry.first.substr(prefix.size());
    const long index = std::wcstol(rest.c_str(), nullptr, 10);
    if (index < 0 || (index == 0 && (rest.empty() || rest[0] != L'0'))) {
      badKey = entry.first;
      return true;
    }
  }
  return false;
}

int Indices(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 1, "indices SECTION", io.err)) return kExitUsage;
  if (args.positional[0].empty()) {
    io.err << "mvutil config indices: SECTION must not be empty\n";
    return kExitUsage;
  }
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, false, config, io)) return failed;
  std::wstring section = Utf8ToWide(args.positional[0]);
  const std::wstring prefix = (!section.empty() && section.back() == L'[') ? section : section + L"[";
  std::wstring badKey;
  if (FindKeyWithBadIndex(*config, prefix, badKey)) {
    io.err << "mvutil config indices: " << WideToUtf8(badKey)
           << " has no valid index (a negative or non-numeric index); fix that key first\n";
    return kExitFailure;
  }
  std::vector<unsigned int> indices;
  if (config->GetArrayIndices(section, indices) != Tavro_KVO_Util::CFG_SUCCESS) {
    io.err << "mvutil config indices: " << args.positional[0] << ": no array keys\n";
    return kExitFailure;
  }
  for (const unsigned int index : indices) io.out << index << "\n";
  return kExitOk;
}

int Check(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 0, "check", io.err)) return kExitUsage;
  const std::string shown = args.file ? *args.file : WideToUtf8(DefaultConfigFile());
  std::ifstream in(
      args.file ? std::filesystem::u8path(*args.file) : std::filesystem::path(DefaultConfigFile()),
      std::ios::binary);
  if (!in) {
    io.err << "mvutil config check: cannot read " << shown << "\n";
    return kExitFileUnusable;
  }
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  int worst = kExitOk;
  for (const ConfigFinding& finding : CheckConfiguration(bytes)) {
    io.out << shown << ":" << finding.line << ": " << (finding.error ? "error" : "warning") << ": "
           << finding.text << "\n";
    worst = std::max(worst, finding.error ? kExitCheckErrors : kExitCheckWarnings);
  }
  return worst;
}

int Dump(const ConfigArgs& args, Io& io) {
  if (!ExpectArgs(args, 0, "dump", io.err)) return kExitUsage;
  std::unique_ptr<Config> config;
  if (const int failed = OpenStore(args, false, config, io)) return failed;
  std::map<std::wstring, std::wstring> pairs;
  config->GetSection(L"", pairs);  // the empty prefix covers every key; an empty store prints nothing
  PrintPairs(pairs, io.out);
  return kExitOk;
}

}  // namespace

int RunConfigCommand(const Args& args, Io& io) {
  ConfigArgs parsed;
  if (!ParseConfigArgs(args, parsed, io.err)) return kExitUsage;
  if (parsed.shortKeys && parsed.verb != "section") {
    io.err << "mvutil config " << parsed.verb << ": --short belongs to 'section'\n";
    return kExitUsage;
  }
  if (parsed.verb == "get") return Get(parsed, io);
  if (parsed.verb == "set") return Set(parsed, io);
  if (parsed.verb == "section") return Section(parsed, io);
  if (parsed.verb == "match") return Match(parsed, io);
  if (parsed.verb == "indices") return Indices(parsed, io);
  if (parsed.verb == "dump") return Dump(parsed, io);
  if (parsed.verb == "check") return Check(parsed, io);
  io.err << "mvutil config: unknown verb '" << parsed.verb << "'; see 'mvutil config --help'\n";
  return kExitUsage;
}

}  // namespace mvutil

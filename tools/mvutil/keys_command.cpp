#include "keys_command.h"

#include <cstdio>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Config.h"
#include "KeyPressSimulator.h"
#include "keypress/key_press_records.h"
#include "wide_text.h"

namespace mvutil {

using Tavro_KVO_Util::Config;
using Tavro_KVO_Util::KeyPressRecords;
using Tavro_KVO_Util::KeyPressSimulator;

const char kKeysUsage[] =
    "Usage: mvutil keys check STRING\n"
    "       mvutil keys show STRING\n"
    "       mvutil keys send STRING\n"
    "       mvutil keys send --from-config KEY\n"
    "Reads a key press string as every program on the tablet does: key groups written one after\n"
    "another, each one or more keys joined by '+'; a key is one ASCII letter or digit, {ALT},\n"
    "{SHIFT}, {CONTROL}, {ADD} or {VK<n>} with a decimal virtual-key code n.\n\n"
    "  check   print \"valid\" or \"invalid\"\n"
    "  show    print the input records the string gives, one per line: index, down or up,\n"
    "          virtual-key code (with the key's name where it has one), scan code and flags\n"
    "  send    send the keys to the system in one call; --from-config KEY reads the string\n"
    "          from the configuration key KEY of the shared configuration file instead\n"
    "          (Linux has no keyboard input to send to: there the send always fails)\n\n"
    "Why a string is refused, or a send failed, is written to the shared log in area \"mvutil\".\n\n"
    "Exit codes: 0 success (check: valid), 1 the string is invalid, the key is not found or the\n"
    "keys could not be sent, 2 wrong command line.\n";

namespace {

// The area of the library's log entries on behalf of the tool, as for `mvutil log`.
constexpr wchar_t kLogArea[] = L"mvutil";
constexpr std::uint32_t kKeyUp = 0x0002;

struct KeysArgs {
  std::string verb;
  std::optional<std::string> configKey;
  std::vector<std::string> positional;
};

bool ParseKeysArgs(const Args& args, KeysArgs& parsed, std::ostream& err) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--from-config") {
      if (i + 1 >= args.size()) {
        err << "mvutil keys: --from-config needs a KEY\n";
        return false;
      }
      parsed.configKey = args[++i];
    } else if (parsed.verb.empty()) {
      parsed.verb = args[i];
    } else {
      parsed.positional.push_back(args[i]);
    }
  }
  if (parsed.verb.empty()) {
    err << "mvutil keys: no VERB given; see 'mvutil keys --help'\n";
    return false;
  }
  if (parsed.verb != "check" && parsed.verb != "show" && parsed.verb != "send") {
    err << "mvutil keys: unknown verb '" << parsed.verb << "'; see 'mvutil keys --help'\n";
    return false;
  }
  if (parsed.configKey && parsed.verb != "send") {
    err << "mvutil keys " << parsed.verb << ": --from-config belongs to 'send'\n";
    return false;
  }
  const std::size_t wanted = parsed.configKey ? 0 : 1;
  if (parsed.positional.size() != wanted) {
    err << "mvutil keys " << parsed.verb << ": usage: mvutil keys " << parsed.verb
        << (parsed.configKey ? " --from-config KEY" : " STRING") << "\n";
    return false;
  }
  return true;
}

// The name of the keys a string can name by their character or braced name.
std::string KeyName(unsigned int code) {
  switch (code) {
    case 0x10:
      return "SHIFT";
    case 0x11:
      return "CONTROL";
    case 0x12:
      return "ALT";
    case 0x6B:
      return "ADD";
    default:
      break;
  }
  if ((code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z'))
    return std::string(1, static_cast<char>(code));
  return std::string();
}

std::string Row(const std::string& index, const std::string& key, const std::string& vk,
                const std::string& scan, const std::string& flags) {
  char line[96];
  std::snprintf(line, sizeof line, "%-5s %-4s  %-12s %4s  %s\n", index.c_str(), key.c_str(), vk.c_str(),
                scan.c_str(), flags.c_str());
  return line;
}

std::string Hex(unsigned int value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

void PrintRecords(const KeyPressSimulator& simulator, std::ostream& out) {
  out << Row("#", "key", "vk", "scan", "flags");
  const std::vector<KeyPressSimulator::MY_INPUT> records = KeyPressRecords::Of(simulator);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto& key = records[i].ki;
    std::string vk = Hex(key.wVk, 2);
    const std::string name = KeyName(key.wVk);
    if (!name.empty()) vk += " " + name;
    out << Row(std::to_string(i), key.dwFlags & kKeyUp ? "up" : "down", vk, std::to_string(key.wScan),
               Hex(key.dwFlags, 1));
  }
}

bool IsValid(const std::string& text) {
  return KeyPressSimulator::ValidateInputString(Utf8ToWide(text), kLogArea) == KeyPressSimulator::KPS_OK;
}

int Check(const KeysArgs& args, Io& io) {
  if (IsValid(args.positional[0])) {
    io.out << "valid\n";
    return kExitOk;
  }
  io.out << "invalid\n";
  return kExitFailure;
}

int Show(const KeysArgs& args, Io& io) {
  if (!IsValid(args.positional[0])) {
    io.err << "mvutil keys show: invalid key press string\n";
    return kExitFailure;
  }
  const KeyPressSimulator simulator(Utf8ToWide(args.positional[0]), /*fromConfig=*/false, kLogArea);
  PrintRecords(simulator, io.out);
  return kExitOk;
}

// The configured string, read as the simulator will read it; the store is brought up to date
// first so that a long-lived process sees the file as it is now.
bool ReadConfiguredString(const std::string& key, std::string& text, Io& io) {
  Config* config = Config::GetInstance(/*logging=*/true, /*writable=*/false);
  if (config == nullptr) {
    io.err << "mvutil keys send: the configuration store could not be made (out of memory)\n";
    return false;
  }
  config->Reload(false);
  std::wstring value;
  if (config->GetParameter(Utf8ToWide(key), value) != Tavro_KVO_Util::CFG_SUCCESS) {
    io.err << "mvutil keys send: " << key << ": not found\n";
    return false;
  }
  text = WideToUtf8(value);
  return true;
}

int Send(const KeysArgs& args, Io& io) {
  std::string text;
  if (args.configKey) {
    if (!ReadConfiguredString(*args.configKey, text, io)) return kExitFailure;
  } else {
    text = args.positional[0];
  }
  if (!IsValid(text)) {
    io.err << "mvutil keys send: invalid key press string";
    if (args.configKey) io.err << " in " << *args.configKey;
    io.err << "\n";
    return kExitFailure;
  }
  // The library's own path for each source: a configured string is read by the simulator.
  KeyPressSimulator simulator(args.configKey ? Utf8ToWide(*args.configKey) : Utf8ToWide(text),
                              args.configKey.has_value(), kLogArea);
  const KeyPressSimulator::KPS_Status status = simulator.DoSimulation();
  if (status != KeyPressSimulator::KPS_OK) {
    io.err << "mvutil keys send: the keys could not be sent (status " << status
           << "); the system's error number is in the shared log\n";
    return kExitFailure;
  }
  io.out << "sent " << KeyPressRecords::Count(simulator) << " input records\n";
  return kExitOk;
}

}  // namespace

int RunKeysCommand(const Args& args, Io& io) {
  KeysArgs parsed;
  if (!ParseKeysArgs(args, parsed, io.err)) return kExitUsage;
  if (parsed.verb == "check") return Check(parsed, io);
  if (parsed.verb == "show") return Show(parsed, io);
  return Send(parsed, io);
}

}  // namespace mvutil

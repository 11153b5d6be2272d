#include "sound_command.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <ostream>
#include <string>
#include <thread>

#include "SoundEvent.h"
#include "platform/sound_scheme.h"
#include "platform/utf8.h"
#include "sound/sound_event_table.h"
#include "sound/sound_scheme_keys.h"  // the node's name

namespace mvutil {

using Tavro_KVO_Util::SoundEvent;
using Tavro_KVO_Util::SoundEventTableEntry;
using Tavro_KVO_Util::SoundEventType;
namespace platform = Tavro_KVO_Util::platform;
namespace internal = Tavro_KVO_Util::internal;

const char kSoundUsage[] =
    "Usage: mvutil sound register\n"
    "       mvutil sound unregister\n"
    "       mvutil sound list\n"
    "       mvutil sound play EVENT [--no-interrupt] [--wait MS]\n"
    "Works on the product's sound events in the current user's sound scheme with the library's\n"
    "SoundEvent (Windows: the registry; Linux: $XDG_CONFIG_HOME/TavroMedivane/sound-scheme.ini).\n\n"
    "  register    write every event's \".Current\" and \".Default\" entry (overwrites users' choices)\n"
    "  unregister  remove the application's node with every entry\n"
    "  list        print each event's number, name and the sound its \".Current\" entry names\n"
    "  play        play EVENT, a name from the list or a number (outside 0..26: \".Default\");\n"
    "              --no-interrupt drops it while another sound of this process plays;\n"
    "              --wait MS keeps the process (and its sound) alive that long (default 3000)\n\n"
    "Why the library failed is written to the shared log.\n\n"
    "Exit codes: 0 success, 1 the scheme could not be written or removed, or the event is\n"
    "unknown, 2 wrong command line.\n";

namespace {

constexpr int kDefaultWaitMs = 3000;

std::wstring NodeKey(const wchar_t* eventName) {
  return std::wstring(internal::kSchemeNode) + L"\\" + eventName;
}

std::string Utf8(const std::wstring& text) { return Tavro_KVO_Util::platform::WideToUtf8(text); }

// The ".Current" value as `list` shows it: the text and its type, or why there is none.
std::string CurrentValue(const SoundEventTableEntry& row) {
  platform::SchemeKey key;
  if (platform::OpenSchemeKey(NodeKey(row.name) + L"\\.Current", platform::kSchemeReadAccess, key) != 0) {
    return "(not registered)";
  }
  unsigned long type = 0;
  std::wstring value;
  const long read = platform::ReadSchemeDefaultValue(key, 4096, type, value);
  if (read != 0) return "(unreadable, error " + std::to_string(read) + ")";
  const char* typeName = type == platform::kSchemeExpandString ? "REG_EXPAND_SZ"
                         : type == platform::kSchemeString     ? "REG_SZ"
                                                               : "other type";
  return "\"" + Utf8(value) + "\" (" + typeName + ")";
}

int List(Io& io) {
  for (const SoundEventTableEntry& row : internal::kSoundEventTable) {
    io.out << std::setw(2) << static_cast<int>(row.type) << "  " << std::left << std::setw(28)
           << Utf8(row.name) << std::right << "  " << CurrentValue(row) << "\n";
  }
  return kExitOk;
}

int Register(Io& io) {
  SoundEvent::Register();
  for (const SoundEventTableEntry& row : internal::kSoundEventTable) {
    platform::SchemeKey key;
    if (platform::OpenSchemeKey(NodeKey(row.name) + L"\\.Current", platform::kSchemeReadAccess, key) != 0) {
      io.err << "mvutil: the entry of '" << Utf8(row.name) << "' could not be written; see the log\n";
      return kExitFailure;
    }
  }
  io.out << "registered " << internal::kSoundEventRows << " sound events under HKEY_CURRENT_USER\\"
         << Utf8(internal::kSchemeNode) << "\n";
  return kExitOk;
}

int Unregister(Io& io) {
  platform::SchemeKey key;
  if (platform::OpenSchemeKey(internal::kSchemeNode, platform::kSchemeReadAccess, key) != 0) {
    io.out << "nothing to remove: no sound events are registered\n";
    return kExitOk;
  }
  key.Close();
  SoundEvent::Unregister();
  if (platform::OpenSchemeKey(internal::kSchemeNode, platform::kSchemeReadAccess, key) == 0) {
    io.err << "mvutil: the sound events could not all be removed; see the log\n";
    return kExitFailure;
  }
  io.out << "removed the sound events\n";
  return kExitOk;
}

// A table name (the first row that carries it) or a decimal number, which may lie out of range.
bool ParseEvent(const std::string& text, SoundEventType& type) {
  for (const SoundEventTableEntry& row : internal::kSoundEventTable) {
    if (Utf8(row.name) == text) {
      type = row.type;
      return true;
    }
  }
  if (text.empty() || text.size() > 11) return false;
  const std::size_t digits = text[0] == '-' ? 1 : 0;
  if (text.size() == digits || text.find_first_not_of("0123456789", digits) != std::string::npos)
    return false;
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  if (value < INT32_MIN || value > INT32_MAX) return false;
  type = static_cast<SoundEventType>(value);
  return true;
}

int Play(const Args& args, Io& io) {
  if (args.size() < 2) {
    io.err << kSoundUsage;
    return kExitUsage;
  }
  SoundEventType type = Tavro_KVO_Util::SOUND_DEFAULT;
  if (!ParseEvent(args[1], type)) {
    io.err << "mvutil: unknown sound event '" << args[1] << "'; 'mvutil sound list' shows them\n";
    return kExitFailure;
  }
  bool interrupt = true;
  long waitMs = kDefaultWaitMs;
  for (std::size_t i = 2; i < args.size(); ++i) {
    if (args[i] == "--no-interrupt") {
      interrupt = false;
    } else if (args[i] == "--wait" && i + 1 < args.size() && !args[i + 1].empty() &&
               args[i + 1].size() <= 9 && args[i + 1].find_first_not_of("0123456789") == std::string::npos) {
      waitMs = std::strtol(args[++i].c_str(), nullptr, 10);
    } else {
      io.err << "mvutil: unexpected argument '" << args[i] << "'\n" << kSoundUsage;
      return kExitUsage;
    }
  }
  SoundEvent::Play(type, interrupt);
  // The sound plays on the system's side of this process and ends with it.
  std::this_thread::sleep_for(std::chrono::milliseconds(waitMs));
  return kExitOk;
}

}  // namespace

int RunSoundCommand(const Args& args, Io& io) {
  if (args.empty()) {
    io.err << kSoundUsage;
    return kExitUsage;
  }
  const std::string& action = args[0];
  if (action == "play") return Play(args, io);
  if (args.size() != 1) {
    io.err << "mvutil: 'sound " << action << "' takes no arguments\n" << kSoundUsage;
    return kExitUsage;
  }
  if (action == "register") return Register(io);
  if (action == "unregister") return Unregister(io);
  if (action == "list") return List(io);
  io.err << "mvutil: unknown sound action '" << action << "'\n" << kSoundUsage;
  return kExitUsage;
}

}  // namespace mvutil

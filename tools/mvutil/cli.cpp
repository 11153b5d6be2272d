#include <ostream>

#include "command.h"
#include "config_command.h"
#include "config_location.h"
#include "crc_commands.h"
#ifdef _WIN32
#include "dialog_command.h"
#endif
#include "image_command.h"
#include "keys_command.h"
#include "log_command.h"
#include "ship_command.h"
#include "sound_command.h"
#include "tail_command.h"
#include "version.h"

namespace mvutil {
namespace {

void PrintToolHelp(std::ostream& out) {
  out << "Usage: mvutil VERB [OPTIONS] [ARGS...]\n"
         "The command-line tool of TavroMedivaneUtil "
      << kVersion
      << ".\n\n"
         "Verbs:\n";
  for (const Command& command : AllCommands()) {
    out << "  " << command.name << std::string(10 - std::char_traits<char>::length(command.name), ' ')
        << command.summary << "\n";
  }
  out << "\nRun 'mvutil VERB --help' for the options of one verb.\n"
         "Exit codes: 0 success, 1 some work failed, 2 wrong command line (verbs add their own).\n";
}

}  // namespace

bool IsHelpFlag(const std::string& arg) { return arg == "--help" || arg == "-h"; }

const std::vector<Command>& AllCommands() {
  static const std::vector<Command> kCommands = {
      {"crc32", "CRC-32 (ISO-HDLC) of files or standard input", kCrc32Usage, RunCrc32Command, false},
      {"crc16", "CRC-16/USB of files or standard input", kCrc16Usage, RunCrc16Command, false},
      {"config", "read and change the shared configuration file", kConfigUsage, RunConfigCommand, false},
      {"log", "write one entry to the shared log", kLogUsage, RunLogCommand, true},
      {"tail", "print the last entries of the shared log, and follow it", kTailUsage, RunTailCommand, true},
      {"ship", "send the shared log to a syslog collector", kShipUsage, RunShipCommand, true},
      {"keys", "check, show and send key press strings", kKeysUsage, RunKeysCommand, true},
      {"image", "convert, resize, inspect and copy images", kImageUsage, RunImageCommand, true},
      {"sound", "register, list and play the product's sound events", kSoundUsage, RunSoundCommand, true},
#ifdef _WIN32
      {"dialog", "show DlgResize laying out a sample dialog", kDialogUsage, RunDialogCommand, false},
#endif
  };
  return kCommands;
}

int Run(const Args& args, Io& io) {
  if (args.empty()) {
    PrintToolHelp(io.err);
    return kExitUsage;
  }
  const std::string& verb = args.front();
  if (IsHelpFlag(verb) || verb == "help") {
    PrintToolHelp(io.out);
    return kExitOk;
  }
  if (verb == "--version") {
    io.out << "mvutil " << kVersion << "\n";
    return kExitOk;
  }
  for (const Command& command : AllCommands()) {
    if (verb != command.name) continue;
    const Args rest(args.begin() + 1, args.end());
    if (!rest.empty() && IsHelpFlag(rest.front())) {
      io.out << command.usage;
      return kExitOk;
    }
    if (command.readsSharedConfig) WarnIfConfigMissing(DefaultConfigFile(), io.err);
    return command.run(rest, io);
  }
  io.err << "mvutil: unknown verb '" << verb << "'; run 'mvutil --help' for the list\n";
  return kExitUsage;
}

}  // namespace mvutil

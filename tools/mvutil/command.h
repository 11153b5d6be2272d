// The mvutil command table: each verb is a function from arguments to an exit code.
//
// Verbs read and write only through the streams they are given, so tests run them in-process.
#ifndef MVUTIL_COMMAND_H
#define MVUTIL_COMMAND_H

#include <iosfwd>
#include <string>
#include <vector>

namespace mvutil {

// Exit codes shared by every verb.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the verb ran, but some of its work failed
constexpr int kExitUsage = 2;    // the command line was wrong; nothing was done

struct Io {
  std::istream& in;  // binary standard input ("-" as a file name)
  std::ostream& out;
  std::ostream& err;
};

using Args = std::vector<std::string>;  // UTF-8, program and verb names removed

struct Command {
  const char* name;
  const char* summary;  // one line for `mvutil --help`
  const char* usage;    // the whole text of `mvutil VERB --help`
  int (*run)(const Args& args, Io& io);
  // The verb reads the shared configuration file or logs through the library, so a missing file
  // makes it wait: Run warns first (see config_location.h). `config` decides for itself, since
  // --file takes it to another file.
  bool readsSharedConfig;
};

// Every verb, in the order `mvutil --help` lists them.
const std::vector<Command>& AllCommands();

// Runs `mvutil ARGS...`; `args` excludes the program name. Before a verb that reads the shared
// configuration file runs (help aside), prints one warning on `io.err` when that file is missing.
int Run(const Args& args, Io& io);

// True when `arg` asks for help (`--help` or `-h`).
bool IsHelpFlag(const std::string& arg);

}  // namespace mvutil

#endif  // MVUTIL_COMMAND_H

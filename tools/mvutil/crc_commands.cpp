#include "crc_commands.h"

#include <cstdio>
#include <ostream>

#include "CRC16.h"
#include "Crc32.h"
#include "byte_source.h"

namespace mvutil {

const char kCrc32Usage[] =
    "Usage: mvutil crc32 [--init HEX] FILE...\n"
    "Prints the CRC-32 (ISO-HDLC, as zip uses) of each FILE as \"XXXXXXXX  FILE\".\n"
    "'-' reads standard input.\n\n"
    "  --init HEX   start value, also XORed into the result (default FFFFFFFF)\n";

const char kCrc16Usage[] =
    "Usage: mvutil crc16 FILE...\n"
    "Prints the CRC-16/USB of each FILE as \"XXXX  FILE\". '-' reads standard input.\n";

namespace {

// Parses up to eight hexadecimal digits, with an optional 0x prefix.
bool ParseHex32(std::string text, unsigned long& value) {
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text.erase(0, 2);
  if (text.empty() || text.size() > 8) return false;
  value = 0;
  for (const char c : text) {
    int digit;
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      digit = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      digit = c - 'A' + 10;
    } else {
      return false;
    }
    value = (value << 4) | static_cast<unsigned long>(digit);
  }
  return true;
}

std::string Hex(unsigned long value, int digits) {
  char text[17];
  std::snprintf(text, sizeof text, "%0*lX", digits, value);
  return text;
}

// Splits options from file names. "--" ends the options.
struct CrcArgs {
  unsigned long init = 0xFFFFFFFFUL;
  Args files;
};

bool ParseCrcArgs(const Args& args, bool allowInit, const char* verb, CrcArgs& parsed, std::ostream& err) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && allowInit && arg == "--init") {
      if (i + 1 >= args.size() || !ParseHex32(args[i + 1], parsed.init)) {
        err << "mvutil " << verb << ": --init needs a hexadecimal value of at most 8 digits\n";
        return false;
      }
      ++i;
    } else if (!optionsEnded && arg.size() > 1 && arg[0] == '-') {
      err << "mvutil " << verb << ": unknown option '" << arg << "'; see 'mvutil " << verb << " --help'\n";
      return false;
    } else {
      parsed.files.push_back(arg);
    }
  }
  if (parsed.files.empty()) {
    err << "mvutil " << verb << ": no FILE given; see 'mvutil " << verb << " --help'\n";
    return false;
  }
  return true;
}

// Runs `checksumOf` over each file and prints its line; returns the verb's exit code.
template <typename Checksum>
int ChecksumFiles(const char* verb, const Args& files, Io& io, int digits, Checksum checksumOf) {
  int exitCode = kExitOk;
  for (const std::string& name : files) {
    std::string error;
    unsigned long value = 0;
    if (!checksumOf(name, value, error)) {
      io.err << "mvutil " << verb << ": " << name << ": " << error << "\n";
      exitCode = kExitFailure;
      continue;
    }
    io.out << Hex(value, digits) << "  " << name << "\n";
  }
  return exitCode;
}

}  // namespace

int RunCrc32Command(const Args& args, Io& io) {
  CrcArgs parsed;
  if (!ParseCrcArgs(args, /*allowInit=*/true, "crc32", parsed, io.err)) return kExitUsage;
  return ChecksumFiles(
      "crc32", parsed.files, io, 8, [&](const std::string& name, unsigned long& value, std::string& error) {
        Tavro_KVO_Util::Crc32 crc(parsed.init);
        const bool ok = ForEachBlock(
            name, io.in,
            [&](const unsigned char* data, std::size_t length) {
              crc.ProcessBuffer(data, static_cast<unsigned int>(length));  // blocks are 64 KiB at most
            },
            error);
        value = crc.GetResult();
        return ok;
      });
}

int RunCrc16Command(const Args& args, Io& io) {
  CrcArgs parsed;
  if (!ParseCrcArgs(args, /*allowInit=*/false, "crc16", parsed, io.err)) return kExitUsage;
  return ChecksumFiles(
      "crc16", parsed.files, io, 4, [&](const std::string& name, unsigned long& value, std::string& error) {
        Tavro_KVO_Util::CRC16 crc;
        const bool ok = ForEachBlock(
            name, io.in, [&](const unsigned char* data, std::size_t length) { crc.Digest(data, length); },
            error);
        value = crc.Final();
        return ok;
      });
}

}  // namespace mvutil

#include "shipping/relp_frame.h"

namespace Tavro_KVO_Util::shipping {
namespace {

// RELP caps a command name at 32 characters and DATALEN at 9 digits.
constexpr std::size_t kMaxCommand = 32;
constexpr std::size_t kMaxDigits = 9;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads digits at `at` up to a blank (or, for DATALEN 0, the LF). kNeedMore when the bytes end
// first.
FrameParse ReadNumber(std::string_view bytes, std::size_t& at, std::uint64_t& value) {
  const std::size_t start = at;
  value = 0;
  while (at < bytes.size() && IsDigit(bytes[at])) {
    if (at - start == kMaxDigits) return FrameParse::kMalformed;
    value = value * 10 + static_cast<std::uint64_t>(bytes[at] - '0');
    ++at;
  }
  if (at == bytes.size()) return FrameParse::kNeedMore;
  return at > start ? FrameParse::kComplete : FrameParse::kMalformed;
}

}  // namespace

std::string EncodeRelpFrame(std::uint32_t txnr, std::string_view command, std::string_view data) {
  std::string frame;
  AppendRelpFrame(txnr, command, data, frame);
  return frame;
}

void AppendRelpFrame(std::uint32_t txnr, std::string_view command, std::string_view data, std::string& out) {
  out += std::to_string(txnr);
  out += ' ';
  out += command;
  out += ' ';
  out += std::to_string(data.size());
  if (!data.empty()) {
    out += ' ';
    out += data;
  }
  out += '\n';
}

std::uint32_t NextRelpTxnr(std::uint32_t txnr) { return txnr >= kMaxRelpTxnr ? 1 : txnr + 1; }

FrameParse ParseRelpFrame(std::string_view bytes, RelpFrame& frame, std::size_t& used) {
  std::size_t at = 0;
  std::uint64_t txnr = 0;
  FrameParse step = ReadNumber(bytes, at, txnr);
  if (step != FrameParse::kComplete) return step;
  if (bytes[at++] != ' ') return FrameParse::kMalformed;
  const std::size_t commandStart = at;
  while (at < bytes.size() && bytes[at] != ' ') {
    if (at - commandStart == kMaxCommand) return FrameParse::kMalformed;
    ++at;
  }
  if (at == bytes.size()) return FrameParse::kNeedMore;
  if (at == commandStart) return FrameParse::kMalformed;
  const std::string_view command = bytes.substr(commandStart, at - commandStart);
  ++at;
  std::uint64_t length = 0;
  step = ReadNumber(bytes, at, length);
  if (step != FrameParse::kComplete) return step;
  if (length > 0) {
    if (bytes[at++] != ' ') return FrameParse::kMalformed;
  }
  if (bytes.size() - at < length + 1) return FrameParse::kNeedMore;
  if (bytes[at + length] != '\n') return FrameParse::kMalformed;
  frame.txnr = static_cast<std::uint32_t>(txnr);
  frame.command.assign(command);
  frame.data.assign(bytes.substr(at, length));
  used = at + length + 1;
  return FrameParse::kComplete;
}

int RelpResponseCode(std::string_view data) {
  if (data.size() < 3 || !IsDigit(data[0]) || !IsDigit(data[1]) || !IsDigit(data[2])) return -1;
  if (data.size() > 3 && data[3] != ' ' && data[3] != '\n') return -1;
  return (data[0] - '0') * 100 + (data[1] - '0') * 10 + (data[2] - '0');
}

}  // namespace Tavro_KVO_Util::shipping

// RELP's framing (librelp's doc/relp.md): every frame is
//
//   TXNR SP COMMAND SP DATALEN [SP DATA] LF
//
// TXNR is the transaction number (1 to 999999999, then 1 again), DATALEN the number of bytes of
// DATA, which is left out with its blank when DATALEN is 0. A response is a frame with the
// command "rsp" and the number of the frame it answers; its data starts with a three-digit code
// (200: taken) and a text ("200 OK").
#ifndef TAVROMEDIVANEUTIL_SHIPPING_RELP_FRAME_H
#define TAVROMEDIVANEUTIL_SHIPPING_RELP_FRAME_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Tavro_KVO_Util::shipping {

constexpr std::uint32_t kMaxRelpTxnr = 999999999;

struct RelpFrame {
  std::uint32_t txnr = 0;
  std::string command;
  std::string data;
};

std::string EncodeRelpFrame(std::uint32_t txnr, std::string_view command, std::string_view data);
// The same frame, appended to `out` (no temporary string per frame).
void AppendRelpFrame(std::uint32_t txnr, std::string_view command, std::string_view data, std::string& out);

// The number after `txnr`: 999999999 is followed by 1.
std::uint32_t NextRelpTxnr(std::uint32_t txnr);

enum class FrameParse { kComplete, kNeedMore, kMalformed };

// Reads the frame at the start of `bytes`. kComplete sets `frame` and `used` (the frame's size).
FrameParse ParseRelpFrame(std::string_view bytes, RelpFrame& frame, std::size_t& used);

// The response code at the start of a "rsp" frame's data, or -1.
int RelpResponseCode(std::string_view data);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_RELP_FRAME_H

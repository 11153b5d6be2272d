#include "logging/torn_line.h"

#include <string>

namespace Tavro_KVO_Util {
namespace {

// Read from the end in pieces of this size, so that a long torn entry is not read whole.
constexpr unsigned long long kPiece = 64 * 1024;
constexpr char kLineEnd[] = {'\r', '\0', '\n', '\0'};
constexpr unsigned long long kLineEndSize = sizeof kLineEnd;

// The end of the last UTF-16LE CR LF that starts at an even offset before `size`, or 0 when there
// is none.
bool FindEndOfLastLine(platform::LogFile& file, unsigned long long size, unsigned long long& end) {
  end = 0;
  unsigned long long pieceEnd = size;
  std::string bytes;
  while (pieceEnd >= kLineEndSize) {
    // Pieces overlap by three bytes, so that a line end across their border is still seen.
    const unsigned long long pieceStart = pieceEnd > kPiece ? pieceEnd - kPiece : 0;
    if (!file.ReadAt(pieceStart, static_cast<std::size_t>(pieceEnd - pieceStart), bytes)) return false;
    if (bytes.size() != pieceEnd - pieceStart) return false;  // shorter than its size said
    for (std::size_t at = bytes.size() - kLineEndSize + 1; at-- > 0;) {
      if ((pieceStart + at) % 2 != 0) continue;
      if (bytes.compare(at, kLineEndSize, kLineEnd, kLineEndSize) == 0) {
        end = pieceStart + at + kLineEndSize;
        return true;
      }
    }
    if (pieceStart == 0) break;
    pieceEnd = pieceStart + kLineEndSize - 1;
  }
  return true;
}

}  // namespace

TornLineResult CutTornLastLine(platform::LogFile& file) {
  unsigned long long size = 0;
  if (!file.Size(size)) return TornLineResult::kFailed;
  unsigned long long end = 0;
  if (!FindEndOfLastLine(file, size, end)) return TornLineResult::kFailed;
  if (end == 0) {
    // No whole entry: keep the byte-order mark if it is whole.
    std::string start;
    if (!file.ReadAt(0, 2, start)) return TornLineResult::kFailed;
    end = start == std::string("\xFF\xFE", 2) ? 2 : 0;
  }
  if (end == size) return TornLineResult::kWhole;
  return file.CutBackTo(end) ? TornLineResult::kCut : TornLineResult::kFailed;
}

}  // namespace Tavro_KVO_Util

// The shipper's cursor: how far the collector has taken the log, kept in a small state file.
//
// The file holds the identity of the log file the last taken entry is in, the offset after that
// entry, the last bytes before that offset (so that a file emptied or replaced under the same
// identity is noticed), and the entry's timestamp (to say which times were lost when the file is
// gone). A checksum covers it all, so a damaged file is told from a good one. It is replaced
// atomically: a temporary file, then a rename over it.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_SHIP_CURSOR_H
#define TAVROMEDIVANEUTIL_SHIPPING_SHIP_CURSOR_H

#include <filesystem>
#include <string>

#include "log_watcher.h"
#include "platform/durable_file.h"

namespace Tavro_KVO_Util::shipping {

struct ShipCursor {
  mvutil::LogPosition position;
  std::string lastTimestamp;  // RFC 3339, or empty
};

// The file's text for `cursor`.
std::string EncodeShipCursor(const ShipCursor& cursor);

// False when `text` is not a whole, undamaged state file.
bool DecodeShipCursor(const std::string& text, ShipCursor& cursor);

enum class CursorLoad { kLoaded, kNone, kDamaged };

// kNone when there is no state file. kDamaged when it cannot be read or decoded: it is then
// renamed to "<path>.damaged" (replacing an older one), and `why` says what was wrong.
CursorLoad LoadShipCursor(const std::filesystem::path& path, ShipCursor& cursor, std::string& why);

// Replaces the state file atomically, as durably as asked. False with `why`.
bool SaveShipCursor(const std::filesystem::path& path, const ShipCursor& cursor,
                    platform::Durability durability, std::string& why);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_SHIP_CURSOR_H

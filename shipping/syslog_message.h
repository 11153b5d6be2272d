// Turns one log entry into one RFC 5424 syslog message.
//
//   <PRI>1 TIMESTAMP HOSTNAME APP-NAME PROCID MSGID [origin ...][tavro@N ...] BOM ENTRY
//
// - PRI is facility x 8 + severity; the severity comes from the level letter (R 5, F 2, E 3,
//   W 4, I 6, D 7, U 5), and is 5 when the template has no level or the entry does not fit it.
// - TIMESTAMP is the entry's own %D and %T with milliseconds and the UTC offset that local time
//   had then on this machine; without both fields (or an entry that does not fit), the time it
//   was read.
// - APP-NAME is the base name of the process path without its extension, PROCID the process id,
//   MSGID the area. Header fields are cut to RFC 5424's lengths, every character outside
//   printable ASCII becomes "_", and an absent or empty field is "-".
// - The structured data carries every field the template gives, escaped as RFC 5424 asks.
// - MSG is the whole entry line as written, UTF-8 behind a byte-order mark, so nothing is lost
//   whatever the template.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_SYSLOG_MESSAGE_H
#define TAVROMEDIVANEUTIL_SHIPPING_SYSLOG_MESSAGE_H

#include <string>
#include <string_view>

#include "shipping/entry_template.h"

namespace Tavro_KVO_Util::shipping {

constexpr int kDefaultFacility = 16;  // local0
constexpr char kDefaultEnterpriseNumber[] = "32473";
constexpr int kSeverityNotice = 5;
constexpr int kSeverityWarning = 4;

// What every message of one shipper has in common.
struct MessageContext {
  std::string hostname;  // the computer's name, or --hostname
  int facility = kDefaultFacility;
  std::string enterpriseNumber = kDefaultEnterpriseNumber;  // in the SD-ID "tavro@N"
  std::string softwareVersion;                              // origin swVersion
};

// The RFC 3339 text of a local time with its UTC offset: "2026-11-24T14:02:07.045+01:00".
std::string Rfc3339(int year, int month, int day, int hour, int minute, int second, int millisecond,
                    int offsetSeconds);

// The current local time as Rfc3339 renders it.
std::string CurrentTimestamp();

// The entry's timestamp: its %D and %T with the offset that local time had, or empty when the
// entry has no usable date and time.
std::string EntryTimestamp(const EntryFields& fields);

// The severity for a level letter (none: 5).
int SeverityOfLevel(std::optional<char> level);

// One message for `entry` (UTF-8, without its line end) read by `entryTemplate`.
// `timestamp` receives the TIMESTAMP used.
std::string FormatEntryMessage(std::string_view entry, const EntryTemplate& entryTemplate,
                               const MessageContext& context, std::string& timestamp);

// The TIMESTAMP field of a message made by FormatEntryMessage or FormatShipperMessage (the
// field after "<PRI>1 "), or empty when there is none.
std::string_view MessageTimestamp(std::string_view message);

// A message of the shipper itself (APP-NAME "mvutil", MSGID "LogShipping") at `severity`.
std::string FormatShipperMessage(int severity, std::string_view text, const MessageContext& context);

// Header text: printable ASCII only (others become "_"), at most `limit` bytes, "-" when empty.
std::string HeaderField(std::string_view text, std::size_t limit);

// A PARAM-VALUE: '"', '\' and ']' escaped with a backslash.
std::string EscapeParamValue(std::string_view value);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_SYSLOG_MESSAGE_H

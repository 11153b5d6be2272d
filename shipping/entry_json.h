// One log entry as one JSON object (one line of JSON Lines), for local pipelines such as jq or
// Vector. Fields carry Elastic Common Schema names where ECS has one, written as flat dotted
// keys; the log's own fields are under "tavro.":
//
//   @timestamp             RFC 3339 with the entry's UTC offset (as the syslog messages)
//   log.level              REPORT, FATAL, ERROR, WARN, INFO, DEBUG or UNKNOWN
//   message                the entry's message (%m); the whole line when the entry does not fit
//   process.pid            number (%p)
//   process.thread.id      number (%t)
//   process.executable     the process path (%P)
//   log.origin.file.name   the source file (%f)
//   log.origin.file.line   number (%l)
//   host.name              the computer's name
//   tavro.area, tavro.session, tavro.zone, tavro.data   (%A, %s, %Z, the ";DATA#" text)
//   tavro.entry            the whole line as written
//   tavro.parsed           false when the entry does not fit the template
//
// A field the template does not give is left out.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_ENTRY_JSON_H
#define TAVROMEDIVANEUTIL_SHIPPING_ENTRY_JSON_H

#include <string>
#include <string_view>

#include "shipping/entry_template.h"

namespace Tavro_KVO_Util::shipping {

// The object for `entry` (UTF-8, without its line end), without a line end.
std::string EntryJson(std::string_view entry, const EntryTemplate& entryTemplate,
                      const std::string& hostname);

// `text` as a JSON string, quotes included.
std::string JsonString(std::string_view text);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_ENTRY_JSON_H

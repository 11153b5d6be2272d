// Fills the store's map from the records of a whole file at once.
#ifndef TAVROMEDIVANEUTIL_CONFIG_KEY_MAP_BUILD_H
#define TAVROMEDIVANEUTIL_CONFIG_KEY_MAP_BUILD_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "Config.h"

namespace Tavro_KVO_Util::internal {

// What a line of the file is reported for once the whole file has been read.
enum class LineNote {
  kMalformed,   // "The following line is not formatted correctly and was ignored: %s"
  kOverriding,  // the key still had a value from an earlier line
  kNoValue,     // the line gives its key no value, which removes an earlier one
};

struct NotedLine {
  std::size_t line;  // index into the records, which is the line's place in the file
  LineNote note;
};

// Fills `map` (empty on entry) from the CFG_LINE_KEY_VALUE records of `lines` exactly as reading
// them top to bottom would: a later line of a key wins, and a line with a blank value removes the
// value the key had. Adds a kOverriding note for every line whose key still had a value, and a
// kNoValue note for every line with a blank value, to the notes of other lines already in `notes`,
// and leaves them all in the order of the lines.
//
// Every program parses the file at start-up. Sorting the key records once and filling the map in
// key order costs much less than inserting line by line: no tree search per line, and the compares
// run over one contiguous array instead of hopping between tree nodes.
void BuildKeyMap(const std::vector<ConfigLine>& lines, std::map<std::wstring, std::wstring>& map,
                 std::vector<NotedLine>& notes);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_KEY_MAP_BUILD_H

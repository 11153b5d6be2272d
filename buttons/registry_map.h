// What the two button-action registries do to their maps, written once for both.
//
// A registry's map holds pointers to heap copies of the caller's records and is the only owner
// of them. The registries call these helpers while they hold their lock; nothing here locks,
// logs or throws.
#ifndef TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_MAP_H
#define TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_MAP_H

#include <new>
#include <type_traits>
#include <vector>

namespace Tavro_KVO_Util::internal {

// The record type a registry map points to.
template <typename Map>
using RecordOf = std::remove_pointer_t<typename Map::mapped_type>;

enum class AddOutcome {
  kAdded,
  kKeyPresent,  // the stored record stays as it was
  kNoMemory,    // nothing changed
};

// Stores a heap copy of `info` under `key` unless the key is present: an entry is never replaced.
template <typename Map>
AddOutcome AddCopy(Map& map, const typename Map::key_type& key, const RecordOf<Map>& info) {
  auto* copy = new (std::nothrow) RecordOf<Map>(info);
  if (copy == nullptr) return AddOutcome::kNoMemory;
  try {
    if (map.try_emplace(key, copy).second) return AddOutcome::kAdded;
  } catch (const std::bad_alloc&) {
    // The map's own node could not be had: the registry stays as it was, as for the copy.
    delete copy;
    return AddOutcome::kNoMemory;
  }
  delete copy;
  return AddOutcome::kKeyPresent;
}

// The stored record of `key`, or null.
template <typename Map>
RecordOf<Map>* FindRecord(const Map& map, const typename Map::key_type& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : found->second;
}

// Appends copies of the records whose key satisfies `match`, walking the whole map in key order.
// Returns how many were appended; sets `outOfMemory` when `list` could not grow (the copies
// appended before stay).
template <typename Map, typename Match>
int AppendMatching(const Map& map, std::vector<RecordOf<Map>>& list, Match match, bool& outOfMemory) {
  int appended = 0;
  outOfMemory = false;
  try {
    for (const auto& entry : map) {
      if (!match(entry.first)) continue;
      list.push_back(*entry.second);
      ++appended;
    }
  } catch (const std::bad_alloc&) {
    outOfMemory = true;
  }
  return appended;
}

// Deletes every record, then the map itself. A null map is left alone.
template <typename Map>
void DeleteMapAndRecords(Map* map) {
  if (map == nullptr) return;
  for (auto& entry : *map) delete entry.second;
  delete map;
}

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_BUTTONS_REGISTRY_MAP_H

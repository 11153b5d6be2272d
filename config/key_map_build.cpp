#include "config/key_map_build.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>

namespace Tavro_KVO_Util::internal {

namespace {

// A key record as the sort sees it: small, so that the sort moves little memory, and carrying the
// first units of the key past the part every key shares, so that most compares never leave the
// array. Keys of one file share long beginnings ("/Tavro/MedivaneSDK/..."): compared from their
// first unit, every compare would read two strings from the heap that far.
struct KeyRef {
  // The units after the shared part, packed high to low, zero past the end: head[0] first.
  std::uint64_t head[2];
  const wchar_t* key;
  std::size_t size;
  std::size_t line;
  bool blank;  // the line gives no value
};

// How the head packs units: sixteen of 8 bits when no key has a unit above 0xFF (every 8-bit
// file), otherwise eight of 16 bits (units from a UTF-16 file), otherwise four of 32 bits.
struct HeadPacking {
  std::size_t shared;  // units at the start of every key
  int bits;
  std::size_t units;
};

HeadPacking PackingFor(const std::vector<ConfigLine>& lines) {
  const std::wstring* first = nullptr;
  std::size_t shared = 0;
  unsigned long widest = 0;
  for (const ConfigLine& line : lines) {
    if (line.type != CFG_LINE_KEY_VALUE) continue;
    for (const wchar_t unit : line.key) widest = std::max(widest, static_cast<unsigned long>(unit));
    if (first == nullptr) {
      first = &line.key;
      shared = first->size();
      continue;
    }
    // Mostly the key shares all of it, which one vectorised compare confirms.
    const std::size_t most = std::min(shared, line.key.size());
    if (std::wmemcmp(first->data(), line.key.data(), most) == 0) {
      shared = most;
      continue;
    }
    std::size_t same = 0;
    while ((*first)[same] == line.key[same]) ++same;
    shared = same;
  }
  if (widest <= 0xFF) return {shared, 8, 16};
  if (widest <= 0xFFFF) return {shared, 16, 8};
  return {shared, 32, 4};
}

void PackHead(const std::wstring& key, const HeadPacking& packing, std::uint64_t (&head)[2]) {
  const std::size_t perWord = packing.units / 2;
  for (std::size_t word = 0; word < 2; ++word) {
    std::uint64_t packed = 0;
    for (std::size_t i = 0; i < perWord; ++i) {
      const std::size_t at = packing.shared + word * perWord + i;
      const auto unit = at < key.size() ? static_cast<std::uint64_t>(static_cast<std::uint32_t>(key[at])) : 0;
      packed = (packed << packing.bits) | unit;
    }
    head[word] = packed;
  }
}

// Key order as std::less<std::wstring> has it, then file order among lines of the same key. Equal
// heads mean equal units up to `decided`, where a key that ends early reads as zeros; the compare
// goes on from there, or from the shorter key's end.
class KeyOrder {
 public:
  explicit KeyOrder(std::size_t decided) : mDecided(decided) {}

  bool operator()(const KeyRef& a, const KeyRef& b) const {
    if (a.head[0] != b.head[0]) return a.head[0] < b.head[0];
    if (a.head[1] != b.head[1]) return a.head[1] < b.head[1];
    const std::size_t common = std::min(a.size, b.size);
    const std::size_t from = std::min(mDecided, common);
    const int order = std::wmemcmp(a.key + from, b.key + from, common - from);
    if (order != 0) return order < 0;
    if (a.size != b.size) return a.size < b.size;
    return a.line < b.line;
  }

 private:
  std::size_t mDecided;
};

// Only the units past the part every key shares can differ. Neighbours in key order mostly differ
// in their last unit (".../Key480", ".../Key481"), so that one is looked at first.
bool SameKey(const KeyRef& a, const KeyRef& b, std::size_t shared) {
  if (a.head[0] != b.head[0] || a.head[1] != b.head[1] || a.size != b.size) return false;
  if (a.size > shared && a.key[a.size - 1] != b.key[a.size - 1]) return false;
  return std::wmemcmp(a.key + shared, b.key + shared, a.size - shared) == 0;
}

}  // namespace

void BuildKeyMap(const std::vector<ConfigLine>& lines, std::map<std::wstring, std::wstring>& map,
                 std::vector<NotedLine>& notes) {
  const HeadPacking packing = PackingFor(lines);
  std::vector<KeyRef> keys;
  keys.reserve(lines.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const ConfigLine& line = lines[i];
    if (line.type != CFG_LINE_KEY_VALUE) continue;
    KeyRef& ref = keys.emplace_back(KeyRef{{0, 0}, line.key.data(), line.key.size(), i, line.value.empty()});
    PackHead(line.key, packing, ref.head);
  }
  std::sort(keys.begin(), keys.end(), KeyOrder(packing.shared + packing.units));

  for (auto group = keys.begin(); group != keys.end();) {
    auto groupEnd = group + 1;
    while (groupEnd != keys.end() && SameKey(*group, *groupEnd, packing.shared)) ++groupEnd;
    // The lines of one key in file order: which of them gives the key its value after each.
    const KeyRef* holder = nullptr;
    for (auto at = group; at != groupEnd; ++at) {
      if (holder != nullptr) notes.push_back({at->line, LineNote::kOverriding});
      if (at->blank) {
        holder = nullptr;
        notes.push_back({at->line, LineNote::kNoValue});
      } else {
        holder = &*at;
      }
    }
    if (holder != nullptr) {
      // Keys read from a file (units up to 0xFFFF) come in std::less order, so the hint makes each
      // insertion one compare. A hint is only a hint: were the order ever different, the map would
      // still be right, as equal keys sit together in any consistent order.
      const ConfigLine& line = lines[holder->line];
      map.emplace_hint(map.end(), line.key, line.value);
    }
    group = groupEnd;
  }
  // Back into the order of the lines; a line's kOverriding stays ahead of its kNoValue.
  std::stable_sort(notes.begin(), notes.end(),
                   [](const NotedLine& a, const NotedLine& b) { return a.line < b.line; });
}

}  // namespace Tavro_KVO_Util::internal

// The Linux sound scheme as sound_scheme.cpp holds it in memory, and the text of the file that
// keeps it (see platform/sound_scheme.h for the format). Pure data and text: nothing here touches
// the file system, so the file handling beside it decides when to read, lock and replace.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_SOUND_SCHEME_TEXT_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_SOUND_SCHEME_TEXT_H

#include <map>
#include <string>
#include <vector>

namespace Tavro_KVO_Util::platform::scheme_text {

// A key's names folded to upper case, as the registry compares them; the root is the empty path.
using KeyPath = std::vector<std::wstring>;

struct KeyEntry {
  std::vector<std::wstring> names;  // as first written
  bool hasValue = false;
  unsigned long type = 0;
  std::wstring value;
};

// Ordered by folded names, so a key's subkeys follow it directly and in enumeration order.
using Store = std::map<KeyPath, KeyEntry>;

// `names` folded for comparison: full Unicode upper case through the built-in C.UTF-8 locale
// (the process's own locale is left alone), ASCII only if that locale is missing.
KeyPath FoldPath(const std::vector<std::wstring>& names);

// "A\\B\\C" into its names. One trailing "\\" is ignored; an empty name elsewhere (a leading or
// doubled "\\") makes the path unusable and gives false. "" is the root (no names, true).
bool SplitPath(const std::wstring& path, std::vector<std::wstring>& names);

// True when the key at folded `path` is in `store`; the root always is.
bool Exists(const Store& store, const KeyPath& path);

// Adds the key and its missing parents; parents that exist lend their spelling. True when
// something was added, so that the caller knows whether the file must be written again.
bool AddKey(Store& store, const std::vector<std::wstring>& names);

// The direct subkeys of `path`, in order. The pointers are valid until `store` changes.
std::vector<const KeyEntry*> Subkeys(const Store& store, const KeyPath& path);

// The whole file for `store`: UTF-16LE with its mark and CR LF line ends, the comment that says
// how to read it, then one section per key. ParseStore reads it back to the same store.
std::string EncodeStore(const Store& store);

// The store in `bytes` (UTF-16LE after its mark, else UTF-8). Lenient, so that a hand edit loses
// no more than the lines it spoiled: unknown lines, values outside a key and sections with an
// empty name are skipped; missing parents are added. Never fails; empty text is an empty store.
Store ParseStore(const std::string& bytes);

}  // namespace Tavro_KVO_Util::platform::scheme_text

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_SOUND_SCHEME_TEXT_H

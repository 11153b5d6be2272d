// The scheme's keys as SoundEvent writes and removes them: names, one key with its value, a whole
// subtree, and the full registration of the table.
#ifndef TAVROMEDIVANEUTIL_SOUND_SOUND_SCHEME_KEYS_H
#define TAVROMEDIVANEUTIL_SOUND_SOUND_SCHEME_KEYS_H

#include <string>

namespace Tavro_KVO_Util::internal {

// The application's node in the user's sound scheme, and the node earlier releases wrote.
inline constexpr wchar_t kSchemeNode[] = L"AppEvents\\Schemes\\Apps\\Tavro Korvina";
inline constexpr wchar_t kObsoleteSchemeNode[] = L"AppEvents\\Schemes\\Apps\\Tavro Medivane SDK";

// kSchemeNode, followed by "\\" and `eventName` unless it is null.
std::wstring SchemeKeyName(const wchar_t* eventName);

// Creates or opens `keyName` and sets its default value to `value` (expandable string, terminator
// counted). Returns the system's error code, 0 on success; failures are logged.
long CreateSchemeEntry(const std::wstring& keyName, const std::wstring& value);

// Deletes `keyName` and everything beneath it. False on success, true on failure (the inverted
// sense is what its recursion tests for). Failures are logged.
bool DeleteSchemeKeyTree(const std::wstring& keyName);

// Writes the ".Current" and ".Default" keys of the event named `eventName` with `wavPath`.
void CreateEventEntries(const wchar_t* eventName, const wchar_t* wavPath);

// Writes the ".Current" and ".Default" keys of every row, in table order.
void RegisterSchemeEntries();

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_SOUND_SOUND_SCHEME_KEYS_H

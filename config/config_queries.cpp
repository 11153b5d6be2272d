// Config: the section, matching-key and array queries.
//
// All of them answer from the effective values (mConfigMap) as they stand: no reload, no lock.
// Results are added to the caller's container with insert, so an entry the caller already holds
// is never replaced and nothing is cleared.
#include "Config.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "config/number_text.h"
#include "config/safe_profile.h"
#include "logging/log_levels.h"

namespace Tavro_KVO_Util {
namespace {

using internal::kLevelDebug;
using internal::kLevelError;
using internal::kLevelInfo;
using internal::kLevelWarn;

bool StartsWith(const std::wstring& text, const std::wstring& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// The text after the last "/" of `key`; false when the key holds no "/".
bool LastComponent(const std::wstring& key, std::wstring& component) {
  const std::size_t slash = key.rfind(L'/');
  if (slash == std::wstring::npos) return false;
  component = key.substr(slash + 1);
  return true;
}

bool LastComponentBeginsWith(const std::wstring& key, const std::wstring& keyName) {
  std::wstring component;
  return LastComponent(key, component) && StartsWith(component, keyName);
}

// "section[" whether or not the caller already wrote the bracket.
std::wstring ArrayPrefix(const std::wstring& section) {
  return section.back() == L'[' ? section : section + L'[';
}

// An index the old walk could not step past: negative, or zero read from text that does not
// start with "0" ("x]", "]", nothing at all).
bool IsUnreadableIndex(long index, const std::wstring& indexText) {
  return index < 0 || (index == 0 && (indexText.empty() || indexText[0] != L'0'));
}

}  // namespace

CFGStatus Config::GetSection(const std::wstring& section, std::map<std::wstring, std::wstring>& out) const {
  Log(kLevelDebug, __LINE__, L"*** Config::GetSection \u2013 Requested Section is: %s***", section.c_str());
  bool found = false;
  // Keys sharing a prefix are neighbours in the ordered map, so the first stranger ends the run.
  for (auto entry = mConfigMap.lower_bound(section);
       entry != mConfigMap.end() && StartsWith(entry->first, section); ++entry) {
    out.insert(*entry);
    found = true;
  }
  if (!found) {
    Log(kLevelInfo, __LINE__, L"Could not find the following section: %s***", section.c_str());
    return CFG_NOT_FOUND;
  }
  Log(kLevelDebug, __LINE__, L"Following section found: %s", section.c_str());
  return CFG_SUCCESS;
}

CFGStatus Config::GetSectionWithShortKeys(const std::wstring& section,
                                          std::map<std::wstring, std::wstring>& out) const {
  Log(kLevelDebug, __LINE__, L"*** Config::GetSectionWithShortKeys \u2013 Requested Section is: %s***",
      section.c_str());
  std::map<std::wstring, std::wstring> full;
  const CFGStatus status = GetSection(section, full);
  if (status != CFG_SUCCESS) return status;
  // Ascending key order with insert: of two keys with the same last component the first wins.
  for (const auto& [key, value] : full) {
    std::wstring shortKey;
    if (!LastComponent(key, shortKey) || shortKey.empty()) continue;
    out.insert({shortKey, value});
  }
  return CFG_SUCCESS;
}

CFGStatus Config::GetMatchingKeys(const std::wstring& section, const std::wstring& keyName,
                                  std::map<std::wstring, std::wstring>& out) const {
  Log(kLevelDebug, __LINE__, L"*** Config::GetMatchingKeys \u2013 Requested Section is: %s***",
      section.c_str());
  Log(kLevelDebug, __LINE__, L"*** Config::GetMatchingKeys \u2013 Requested Key is: %s***", keyName.c_str());
  bool found = false;
  // The walk goes on to the end of the map although no key past the section can match: that
  // costs time on a large file but changes no answer. Kept as the old code did it.
  for (auto entry = mConfigMap.lower_bound(section); entry != mConfigMap.end(); ++entry) {
    if (!StartsWith(entry->first, section) || !LastComponentBeginsWith(entry->first, keyName)) continue;
    out.insert(*entry);
    found = true;
  }
  if (!found) {
    Log(kLevelInfo, __LINE__, L"Could not make array from the following section: %s", section.c_str());
    return CFG_NOT_FOUND;
  }
  return CFG_SUCCESS;
}

CFGStatus Config::GetArrayIndices(const std::wstring& section, std::vector<unsigned int>& indices) const {
  // The old code aborted the process on an empty section. A library must not take its host down
  // for a bad argument, so the call is refused instead.
  if (section.empty()) {
    Log(kLevelError, __LINE__, L"Config::GetArrayIndices - empty section");
    return CFG_INVALID_PARAMETER;
  }
  const std::wstring prefix = ArrayPrefix(section);
  Log(kLevelDebug, __LINE__, L"*** Config::GetArrayIndices \u2013 Requested Section is: %s***",
      section.c_str());
  std::set<long> seen;
  bool appended = false;
  // Looked up only once a key without a valid index is met, so that a well-formed file is walked
  // exactly as it always was.
  std::optional<bool> safe;
  auto entry = mConfigMap.lower_bound(prefix);
  while (entry != mConfigMap.end()) {
    if (!StartsWith(entry->first, prefix)) {
      ++entry;
      continue;
    }
    const std::wstring indexText = entry->first.substr(prefix.size());
    const long index = internal::TextToLong(indexText);
    if (IsUnreadableIndex(index, indexText)) {
      if (!safe) safe = internal::SafeProfileOn(mConfigMap);
      if (*safe) {
        // The safe profile passes over the key and says which it was.
        Log(kLevelWarn, __LINE__,
            L"Config::GetArrayIndices - the key %s has no valid array index (negative or not a number) and "
            L"was passed over",
            entry->first.c_str());
        ++entry;
        continue;
      }
      // Deliberately kept (outside the safe profile): the old walk did not step past such a key and tested it
      // again forever, so the call never returns. Such keys ("section[x]", "section[-1]") must not stand in a
      // file queried this way. The call to the library's yield keeps the compiler from treating the loop as
      // one without effects (which it may assume ends) and leaves the host's other threads their share of the
      // processor.
      std::this_thread::yield();
      continue;
    }
    ++entry;
    if (!seen.insert(index).second) continue;
    indices.push_back(static_cast<unsigned int>(index));
    appended = true;
  }
  if (!appended) {
    Log(kLevelInfo, __LINE__, L"Could not get array indices from the following section: %s", section.c_str());
    return CFG_NOT_FOUND;
  }
  return CFG_SUCCESS;
}

}  // namespace Tavro_KVO_Util

#include "sound/sound_scheme_keys.h"

#include "logging/log_levels.h"
#include "platform/sound_scheme.h"
#include "sound/sound_event_table.h"
#include "sound/sound_log.h"

namespace Tavro_KVO_Util::internal {

namespace {

// RegEnumKeyExW's name buffer, in characters: the longest key name the registry allows.
constexpr std::size_t kSubkeyNameChars = 256;

}  // namespace

std::wstring SchemeKeyName(const wchar_t* eventName) {
  std::wstring keyName = kSchemeNode;
  if (eventName != nullptr) {
    keyName += L'\\';
    keyName += eventName;
  }
  return keyName;
}

long CreateSchemeEntry(const std::wstring& keyName, const std::wstring& value) {
  platform::SchemeKey key;
  const long created = platform::CreateSchemeKey(keyName, key);
  if (created != platform::kSchemeSuccess) {
    ReportSound(kLevelError, __LINE__, L"SoundEvent::CreateKey: Unable to create registry key=%s err=%d",
                keyName.c_str(), static_cast<int>(created));
    return created;
  }
  const long set = platform::SetSchemeDefaultValue(key, platform::kSchemeExpandString, value);
  key.Close();
  if (set != platform::kSchemeSuccess) {
    ReportSound(kLevelError, __LINE__,
                L"SoundEvent::CreateKey: Unable to set value=%s for registry key=%s err=%d", value.c_str(),
                keyName.c_str(), static_cast<int>(set));
  }
  return set;
}

bool DeleteSchemeKeyTree(const std::wstring& keyName) {
  platform::SchemeKey key;
  const long opened = platform::OpenSchemeKey(keyName, platform::kSchemeDeleteAccess, key);
  if (opened != platform::kSchemeSuccess) {
    ReportSound(kLevelError, __LINE__,
                L"SoundEvent::DeleteKeyRecursive: Unable to open registry key=%s err=%d", keyName.c_str(),
                static_cast<int>(opened));
    return true;
  }
  // A key without subkeys goes at the first attempt.
  if (platform::DeleteOpenSchemeKey(key) == platform::kSchemeSuccess) return false;

  // Always index 0: each pass deletes the subkey it found, so the next one moves up.
  std::wstring subkey;
  while (platform::EnumSchemeSubkey(key, 0, kSubkeyNameChars, subkey) == platform::kSchemeSuccess) {
    if (DeleteSchemeKeyTree(keyName + L"\\" + subkey)) break;
  }
  const long deleted = platform::DeleteOpenSchemeKey(key);
  if (deleted == platform::kSchemeSuccess) return false;
  ReportSound(kLevelError, __LINE__,
              L"SoundEvent::DeleteKeyRecursive: Unable to delete registry key=%s err=%d", keyName.c_str(),
              static_cast<int>(deleted));
  return true;
}

void CreateEventEntries(const wchar_t* eventName, const wchar_t* wavPath) {
  const std::wstring eventKey = SchemeKeyName(eventName);
  CreateSchemeEntry(eventKey + L"\\.Current", wavPath);
  CreateSchemeEntry(eventKey + L"\\.Default", wavPath);
}

void RegisterSchemeEntries() {
  for (const SoundEventTableEntry& row : kSoundEventTable) {
    ReportSound(kLevelInfo, __LINE__, L"SoundEvent::Register: Creating sound event entries for scheme='%s'",
                row.name);
    // A row that fails is logged by CreateSchemeEntry; the other rows are still written.
    CreateEventEntries(row.name, row.wavPath);
  }
}

}  // namespace Tavro_KVO_Util::internal

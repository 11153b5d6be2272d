#include "SoundEvent.h"

#include "sound/sound_event_table.h"
#include "sound/sound_playback.h"
#include "sound/sound_scheme_keys.h"

namespace Tavro_KVO_Util {

SoundEvent::SoundEvent() = default;
SoundEvent::~SoundEvent() = default;
SoundEvent& SoundEvent::operator=(const SoundEvent&) { return *this; }

void SoundEvent::Register() { internal::RegisterSchemeEntries(); }

void SoundEvent::Unregister() {
  // Nothing to report back: a failure has been logged.
  (void)DeleteKeyRecursive(internal::kSchemeNode);
}

void SoundEvent::Play(SoundEventType eventType, bool interrupt) {
  internal::PlaySoundEvent(eventType, interrupt);
}

const SoundEventTableEntry* SoundEvent::GetSoundEventEntry(SoundEventType eventType) {
  return internal::FindSoundEventRow(eventType);
}

void SoundEvent::GetSchemeKeyName(const wchar_t* eventName, std::wstring& keyName) {
  keyName = internal::SchemeKeyName(eventName);
}

long SoundEvent::CreateKey(const std::wstring& keyName, const std::wstring& value) {
  return internal::CreateSchemeEntry(keyName, value);
}

bool SoundEvent::DeleteKeyRecursive(const std::wstring& keyName) {
  return internal::DeleteSchemeKeyTree(keyName);
}

}  // namespace Tavro_KVO_Util

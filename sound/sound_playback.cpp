#include "sound/sound_playback.h"

#include <atomic>

#include "logging/log_levels.h"
#include "platform/environment.h"
#include "platform/sound_player.h"
#include "platform/sound_scheme.h"
#include "sound/sound_event_table.h"
#include "sound/sound_log.h"
#include "sound/sound_scheme_keys.h"

namespace Tavro_KVO_Util::internal {

namespace {

// The scheme value is read into 512 bytes (255 characters and the terminator) and expanded into
// 512 characters: a longer value is not played.
constexpr std::size_t kValueBytes = 512;
constexpr std::size_t kExpandedChars = 512;

std::atomic<PlayRecorderForTesting*> gPlayRecorder{nullptr};

// Opens the event's ".Current" key, repairing the scheme first when the key is missing.
long OpenCurrentKey(const SoundEventTableEntry& row, const std::wstring& keyName, platform::SchemeKey& key) {
  if (platform::OpenSchemeKey(keyName, platform::kSchemeReadAccess, key) == platform::kSchemeSuccess) {
    return platform::kSchemeSuccess;
  }
  platform::SchemeKey probe;
  if (platform::OpenSchemeKey(kObsoleteSchemeNode, platform::kSchemeReadAccess, probe) ==
      platform::kSchemeSuccess) {
    probe.Close();
    ReportSound(kLevelInfo, __LINE__, L"SoundEvent::Play: Deleting obsolete registry keys.");
    DeleteSchemeKeyTree(kObsoleteSchemeNode);
  }
  if (platform::OpenSchemeKey(kSchemeNode, platform::kSchemeReadAccess, probe) != platform::kSchemeSuccess) {
    RegisterSchemeEntries();
  } else {
    probe.Close();
    ReportSound(kLevelInfo, __LINE__, L"SoundEvent::Play: Creating sound event entries for scheme='%s'",
                row.name);
    CreateEventEntries(row.name, row.wavPath);
  }
  return platform::OpenSchemeKey(keyName, platform::kSchemeReadAccess, key);
}

void HandToPlayer(const std::wstring& path, unsigned long flags) {
  if (PlayRecorderForTesting* recorder = gPlayRecorder.load()) {
    recorder->Record({path, flags});
    return;
  }
  std::wstring whyNot;
  if (platform::PlaySoundFile(path, flags, whyNot) == platform::PlayOutcome::kFailed) {
    // Only the Linux player knows when nothing will play; Windows leaves that to its fall-back.
    ReportSound(kLevelError, __LINE__, L"SoundEvent::Play: Unable to play sound '%s': %s", path.c_str(),
                whyNot.c_str());
  }
}

}  // namespace

void PlaySoundEvent(SoundEventType eventType, bool interrupt) {
  const SoundEventTableEntry* row = FindSoundEventRow(eventType);
  if (row == nullptr) {
    ReportSound(kLevelError, __LINE__, L"SoundEvent::Play: no entry for eventType=%d",
                static_cast<int>(eventType));
    return;
  }
  const std::wstring keyName = SchemeKeyName(row->name) + L"\\.Current";
  platform::SchemeKey key;
  const long opened = OpenCurrentKey(*row, keyName, key);
  if (opened != platform::kSchemeSuccess) {
    ReportSound(kLevelError, __LINE__, L"SoundEvent::Play: Unable to open registry key='%s' err=%d",
                keyName.c_str(), static_cast<int>(opened));
    return;
  }
  unsigned long type = 0;
  std::wstring value;
  const long read = platform::ReadSchemeDefaultValue(key, kValueBytes, type, value);
  if (read != platform::kSchemeSuccess) {
    ReportSound(kLevelError, __LINE__, L"SoundEvent::Play: Unable to read registry key='%s' err=%d",
                keyName.c_str(), static_cast<int>(read));
    return;
  }
  unsigned long flags = platform::kPlayFileName | platform::kPlayAsync;
  if (!interrupt) flags |= platform::kPlayNoStop;

  std::wstring path = value;
  if (type == platform::kSchemeExpandString) {
    if (!platform::ExpandEnvironmentText(value, kExpandedChars, path)) {
      ReportSound(kLevelError, __LINE__, L"SoundEvent::Play: Unable to expand '%s' in %d characters",
                  value.c_str(), static_cast<int>(kExpandedChars));
      return;
    }
  }
  ReportSound(kLevelDebug, __LINE__, L"SoundEvent::Play: Playing sound '%s' ('%s').", row->name,
              path.c_str());
  HandToPlayer(path, flags);
}

PlayRecorderForTesting::PlayRecorderForTesting() : mPrevious(gPlayRecorder.exchange(this)) {}
PlayRecorderForTesting::~PlayRecorderForTesting() { gPlayRecorder.store(mPrevious); }

std::vector<PlayRequest> PlayRecorderForTesting::Requests() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mRequests;
}

void PlayRecorderForTesting::Record(PlayRequest request) {
  std::lock_guard<std::mutex> lock(mMutex);
  mRequests.push_back(std::move(request));
}

}  // namespace Tavro_KVO_Util::internal

#include "sound/sound_playback.h"

#include <atomic>
#include <cstdint>

#include "logging/log_levels.h"
#include "platform/environment.h"
#include "platform/sound_player.h"
#include "platform/sound_scheme.h"
#include "sound/sound_event_table.h"
#include "sound/sound_log.h"
#include "sound/sound_scheme_keys.h"

namespace Tavro_KVO_Util::internal {

namespace {

// The scheme value is read into 512 bytes (255 characters and the terminator): a longer value is
// not played. It is expanded into 512 characters; a longer expansion is played cut, as Windows
// leaves it, and the player's fall-back to the default sound takes care of the missing file.
constexpr std::size_t kValueBytes = 512;
constexpr std::size_t kExpandedChars = 512;

std::atomic<PlayRecorderForTesting*> gPlayRecorder{nullptr};

// One bit for each event whose unplayable file the process has reported already: a program that
// plays a missing sound at every button press says so once, not at every press.
std::atomic<std::uint32_t> gUnplayableReported{0};
static_assert(kSoundEventRows <= 32, "one bit per event, whose values are 0 to 26");

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

// A file that cannot be played is not an error of the call: the platform plays its default sound
// instead (Windows says nothing of it; the Linux player says why). Reported once per event, at WARN.
void ReportUnplayableOnce(const SoundEventTableEntry& row, const std::wstring& path,
                          const std::wstring& why) {
  const std::uint32_t bit = std::uint32_t{1} << static_cast<unsigned>(row.type);
  if ((gUnplayableReported.fetch_or(bit) & bit) != 0) return;
  ReportSound(kLevelWarn, __LINE__,
              L"SoundEvent::Play: Unable to play sound '%s' for '%s': %s (said once per event)", path.c_str(),
              row.name, why.c_str());
}

void HandToPlayer(const SoundEventTableEntry& row, const std::wstring& path, unsigned long flags) {
  if (PlayRecorderForTesting* recorder = gPlayRecorder.load()) {
    recorder->Record({path, flags});
    return;
  }
  std::wstring whyNot;
  switch (platform::PlaySoundFile(path, flags, whyNot)) {
    case platform::PlayOutcome::kHandedOver:
    case platform::PlayOutcome::kDropped:
      return;
    case platform::PlayOutcome::kDefaultPlayed:
    case platform::PlayOutcome::kFailed:
      ReportUnplayableOnce(row, path, whyNot);
      return;
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

  const std::wstring path = type == platform::kSchemeExpandString
                                ? platform::ExpandEnvironmentTextInBuffer(value, kExpandedChars)
                                : value;
  ReportSound(kLevelDebug, __LINE__, L"SoundEvent::Play: Playing sound '%s' ('%s').", row->name,
              path.c_str());
  HandToPlayer(*row, path, flags);
}

void ForgetUnplayableReportsForTesting() { gUnplayableReported.store(0); }

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

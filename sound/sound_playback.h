// SoundEvent::Play's work: look the event's sound up in the scheme, repair the scheme where the
// event's entry is missing, and hand the file to the platform's player.
#ifndef TAVROMEDIVANEUTIL_SOUND_SOUND_PLAYBACK_H
#define TAVROMEDIVANEUTIL_SOUND_SOUND_PLAYBACK_H

#include <mutex>
#include <string>
#include <vector>

#include "SoundEvent.h"

namespace Tavro_KVO_Util::internal {

void PlaySoundEvent(SoundEventType eventType, bool interrupt);

// What Play handed to the player, as a test sees it.
struct PlayRequest {
  std::wstring path;
  unsigned long flags;
};

// Test seam: while an object of this class lives, every path and flag set that Play would hand to
// the player is recorded here instead, and nothing is played. Recorders nest (the newest records).
// Whether the sound is really heard is for the tests that record the sound server's output.
class PlayRecorderForTesting {
 public:
  PlayRecorderForTesting();
  ~PlayRecorderForTesting();
  PlayRecorderForTesting(const PlayRecorderForTesting&) = delete;
  PlayRecorderForTesting& operator=(const PlayRecorderForTesting&) = delete;

  std::vector<PlayRequest> Requests() const;
  void Record(PlayRequest request);

 private:
  PlayRecorderForTesting* mPrevious;
  mutable std::mutex mMutex;
  std::vector<PlayRequest> mRequests;
};

// Test seam: forgets which events' unplayable files were reported, so that a test sees the first
// report of each event again.
void ForgetUnplayableReportsForTesting();

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_SOUND_SOUND_PLAYBACK_H

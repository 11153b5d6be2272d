#include "platform/sound_player.h"

#include <canberra.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <utility>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

// Every sound of the process plays under this id, so that one cancel stops whatever plays and one
// question tells whether anything still plays.
constexpr std::uint32_t kSoundId = 1;

struct Player {
  std::mutex lock;
  ca_context* context = nullptr;  // open, or null until the next request opens one
  bool atExitRegistered = false;
  bool ended = false;  // the process is exiting and the context is gone for good
};

Player& ThePlayer() {
  // Never destroyed: a request from a static destructor or a thread still running at exit must
  // find the mutex intact. The context itself is destroyed at exit (DestroyContextAtExit).
  static auto* player = new Player();
  return *player;
}

// Stops the sound server connection and libcanberra's thread before the process ends, so that
// nothing of it is left running while static destructors and the leak checker do their work.
void DestroyContextAtExit() {
  Player& player = ThePlayer();
  const std::lock_guard<std::mutex> guard(player.lock);
  player.ended = true;
  if (player.context != nullptr) ca_context_destroy(std::exchange(player.context, nullptr));
}

// Errors after which a new context may succeed where the old one fails: the server went away or
// was restarted (the old connection stays broken), or none was reachable when it was opened. In a
// forked child libcanberra refuses every call on the parent's context, destroy too, so that one
// stays unreleased there.
bool WorthANewContext(int error) {
  return error == CA_ERROR_STATE || error == CA_ERROR_DISCONNECTED || error == CA_ERROR_NOTAVAILABLE ||
         error == CA_ERROR_NODRIVER || error == CA_ERROR_FORKED;
}

// "<what>: <libcanberra's text> (<the server asked for>)".
std::wstring Describe(const std::wstring& what, int error) {
  const char* server = std::getenv("PULSE_SERVER");
  const std::string asked = server != nullptr && *server != '\0' ? std::string("PULSE_SERVER=") + server
                                                                 : std::string("the default sound server");
  return what + L": " + Utf8ToWide(ca_strerror(error)) + L" (libcanberra, " + Utf8ToWide(asked) + L")";
}

// A new context connected to the sound server, or null with the reason in `whyNot`.
ca_context* OpenContext(std::wstring& whyNot) {
  ca_context* context = nullptr;
  int result = ca_context_create(&context);
  if (result == CA_SUCCESS) {
    result = ca_context_change_props(context, CA_PROP_APPLICATION_NAME, "TavroMedivaneUtil", nullptr);
  }
  // Connects at once, so that an unreachable server shows here and not in the first play.
  if (result == CA_SUCCESS) result = ca_context_open(context);
  if (result == CA_SUCCESS) return context;
  if (context != nullptr) ca_context_destroy(context);
  whyNot = Describe(L"no sound server: ca_context_open failed", result);
  return nullptr;
}

// Plays the sound that the one property `name` = `value` names: a file, or an event of the theme.
int PlaySound(ca_context* context, const char* name, const std::string& value) {
  ca_proplist* properties = nullptr;
  int result = ca_proplist_create(&properties);
  if (result != CA_SUCCESS) return result;
  result = ca_proplist_sets(properties, name, value.c_str());
  if (result == CA_SUCCESS) result = ca_proplist_sets(properties, CA_PROP_CANBERRA_CACHE_CONTROL, "never");
  if (result == CA_SUCCESS) {
    result = ca_context_play_full(context, kSoundId, properties, /*cb=*/nullptr, /*userdata=*/nullptr);
  }
  ca_proplist_destroy(properties);
  return result;
}

// The file could not be played (`why`): the default sound plays in its place, as Windows plays
// its own for a file it cannot play.
PlayOutcome PlayDefaultInstead(ca_context* context, const std::wstring& why, std::wstring& whyNot) {
  const int result = PlaySound(context, CA_PROP_EVENT_ID, kDefaultSoundEventId);
  if (result == CA_SUCCESS) {
    whyNot = why + L"; the default sound plays instead";
    return PlayOutcome::kDefaultPlayed;
  }
  whyNot =
      why + L"; " +
      Describe(L"the default sound \"" + Utf8ToWide(kDefaultSoundEventId) + L"\" cannot be played either",
               result);
  return PlayOutcome::kFailed;
}

// Under the player's lock. A context that fails in a way a new one might not is replaced once.
PlayOutcome PlayLocked(Player& player, const std::string& file, unsigned long flags, std::wstring& whyNot) {
  for (int attempt = 0;; ++attempt) {
    if (player.context == nullptr) {
      player.context = OpenContext(whyNot);
      if (player.context == nullptr) return PlayOutcome::kFailed;
      if (!player.atExitRegistered) player.atExitRegistered = std::atexit(DestroyContextAtExit) == 0;
    }
    if ((flags & kPlayNoStop) != 0) {
      int playing = 0;
      if (ca_context_playing(player.context, kSoundId, &playing) == CA_SUCCESS && playing != 0) {
        return PlayOutcome::kDropped;
      }
    } else {
      // Fails harmlessly when nothing plays; a broken connection shows in the play that follows.
      ca_context_cancel(player.context, kSoundId);
    }
    if (file.empty()) return PlayDefaultInstead(player.context, L"no file name", whyNot);
    const int result = PlaySound(player.context, CA_PROP_MEDIA_FILENAME, file);
    if (result == CA_SUCCESS) {
      whyNot.clear();  // an earlier attempt's reason no longer applies
      return PlayOutcome::kHandedOver;
    }
    const std::wstring why = Describe(L"ca_context_play failed for \"" + Utf8ToWide(file) + L"\"", result);
    if (!WorthANewContext(result)) return PlayDefaultInstead(player.context, why, whyNot);
    whyNot = why;
    if (attempt > 0) return PlayOutcome::kFailed;
    ca_context_destroy(std::exchange(player.context, nullptr));
  }
}

PlayOutcome Play(const std::wstring& path, unsigned long flags, std::wstring& whyNot) {
  std::string file = WideToUtf8(path);
  for (char& c : file) {
    if (c == '\\') c = '/';
  }
  Player& player = ThePlayer();
  const std::lock_guard<std::mutex> guard(player.lock);
  if (player.ended) {
    whyNot = L"the process is exiting";
    return PlayOutcome::kFailed;
  }
  return PlayLocked(player, file, flags, whyNot);
}

}  // namespace

PlayOutcome PlaySoundFile(const std::wstring& path, unsigned long flags, std::wstring& whyNot) {
  whyNot.clear();
  try {
    return Play(path, flags, whyNot);
  } catch (const std::exception&) {  // only allocations throw here
    try {
      whyNot = L"out of memory";
    } catch (const std::exception&) {
      whyNot.clear();
    }
    return PlayOutcome::kFailed;
  }
}

}  // namespace Tavro_KVO_Util::platform

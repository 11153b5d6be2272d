// The safe profile: one opt-in switch that turns off hazards the library otherwise keeps on
// purpose, because the programs built on it depend on them (see the README, "Safe profile").
//
// It is on when the environment variable KVO_SAFE_PROFILE is "1" (which works without a
// configuration file), or when the shared configuration holds
// "/Tavro/MedivaneSDK/SafeProfile=true". Anything else leaves today's behaviour exactly as it is.
#ifndef TAVROMEDIVANEUTIL_CONFIG_SAFE_PROFILE_H
#define TAVROMEDIVANEUTIL_CONFIG_SAFE_PROFILE_H

#include <map>
#include <string>

namespace Tavro_KVO_Util::internal {

constexpr wchar_t kSafeProfileKey[] = L"/Tavro/MedivaneSDK/SafeProfile";

// True when KVO_SAFE_PROFILE is exactly "1".
bool SafeProfileInEnvironment();

// True when the environment asks for it, or `settings` (a store's effective values) holds the key
// with the value "true" exactly. Reads no file and logs nothing.
bool SafeProfileOn(const std::map<std::wstring, std::wstring>& settings);

// The logger notes here whether the shared configuration switches the profile on, each time it
// reads its settings, so that code that reads no configuration itself (the event-log report)
// follows the same switch.
void NoteSafeProfileInConfiguration(bool on);

// True when the environment asks for the profile, or the configuration did when last noted.
bool SafeProfileActive();

// While one is alive, a store's parse on the same thread opens its file once, without the pauses
// and further attempts that otherwise wait out another process's replacement of the file (the
// safe profile's logger, which must not wait a second at every call when the file is missing).
class SingleOpenAttempt {
 public:
  SingleOpenAttempt();
  ~SingleOpenAttempt();
  SingleOpenAttempt(const SingleOpenAttempt&) = delete;
  SingleOpenAttempt& operator=(const SingleOpenAttempt&) = delete;

 private:
  bool mOuter;
};

// True while a SingleOpenAttempt is alive on this thread.
bool SingleOpenAttemptRequested();

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_SAFE_PROFILE_H

#include "config/safe_profile.h"

#include <atomic>

#include "platform/environment.h"

namespace Tavro_KVO_Util::internal {
namespace {

thread_local bool tSingleOpenAttempt = false;
std::atomic<bool> gInConfiguration{false};

}  // namespace

bool SafeProfileInEnvironment() {
  std::wstring value;
  // A variable that does not exist stays "%KVO_SAFE_PROFILE%", which is not "1".
  return platform::ExpandEnvironmentText(L"%KVO_SAFE_PROFILE%", 64, value) && value == L"1";
}

bool SafeProfileOn(const std::map<std::wstring, std::wstring>& settings) {
  if (SafeProfileInEnvironment()) return true;
  const auto key = settings.find(kSafeProfileKey);
  return key != settings.end() && key->second == L"true";
}

void NoteSafeProfileInConfiguration(bool on) { gInConfiguration.store(on); }

bool SafeProfileActive() { return gInConfiguration.load() || SafeProfileInEnvironment(); }

SingleOpenAttempt::SingleOpenAttempt() : mOuter(tSingleOpenAttempt) { tSingleOpenAttempt = true; }

SingleOpenAttempt::~SingleOpenAttempt() { tSingleOpenAttempt = mOuter; }

bool SingleOpenAttemptRequested() { return tSingleOpenAttempt; }

}  // namespace Tavro_KVO_Util::internal

// The safe profile's switch: the environment variable, or the key as the logger last read it.
#include "config/safe_profile.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/environment.h"

namespace Tavro_KVO_Util::internal {
namespace {

using testing::ScopedEnvironmentVariable;
using Settings = std::map<std::wstring, std::wstring>;

TEST(SafeProfile, TheEnvironmentSwitchesItOnWithOneOnly) {
  {
    const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
    EXPECT_TRUE(SafeProfileInEnvironment());
    EXPECT_TRUE(SafeProfileOn(Settings{}));
  }
  for (const char* other : {"0", "true", "yes", " 1", ""}) {
    const ScopedEnvironmentVariable set("KVO_SAFE_PROFILE", other);
    EXPECT_FALSE(SafeProfileInEnvironment()) << other;
  }
  const ScopedEnvironmentVariable unset("KVO_SAFE_PROFILE", std::nullopt);
  EXPECT_FALSE(SafeProfileInEnvironment());
}

TEST(SafeProfile, TheKeySwitchesItOnWithTrueExactly) {
  const ScopedEnvironmentVariable unset("KVO_SAFE_PROFILE", std::nullopt);
  EXPECT_TRUE(SafeProfileOn(Settings{{L"/Tavro/MedivaneSDK/SafeProfile", L"true"}}));
  EXPECT_FALSE(SafeProfileOn(Settings{{L"/Tavro/MedivaneSDK/SafeProfile", L"TRUE"}}));
  EXPECT_FALSE(SafeProfileOn(Settings{{L"/Tavro/MedivaneSDK/SafeProfile", L"false"}}));
  EXPECT_FALSE(SafeProfileOn(Settings{{L"/Tavro/MedivaneSDK/Logging/SafeProfile", L"true"}}));
}

// The event-log report follows the configuration as the logger last read it.
TEST(SafeProfile, TheNotedConfigurationCountsUntilNotedOtherwise) {
  const ScopedEnvironmentVariable unset("KVO_SAFE_PROFILE", std::nullopt);
  NoteSafeProfileInConfiguration(true);
  EXPECT_TRUE(SafeProfileActive());
  NoteSafeProfileInConfiguration(false);
  EXPECT_FALSE(SafeProfileActive());
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  EXPECT_TRUE(SafeProfileActive());
}

TEST(SafeProfile, ASingleOpenAttemptHoldsOnItsThreadWhileItLives) {
  EXPECT_FALSE(SingleOpenAttemptRequested());
  {
    const SingleOpenAttempt once;
    EXPECT_TRUE(SingleOpenAttemptRequested());
    {
      const SingleOpenAttempt nested;
      EXPECT_TRUE(SingleOpenAttemptRequested());
    }
    EXPECT_TRUE(SingleOpenAttemptRequested());
  }
  EXPECT_FALSE(SingleOpenAttemptRequested());
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal

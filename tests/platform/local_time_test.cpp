#include "platform/local_time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <regex>
#include <string>
#include <utility>

#include "support/scoped_zone.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// "YYYY-MM-DD HH:MM:SS" of `when` in the C runtime's local zone.
std::string CRuntimeLocalText(std::time_t when) {
  const std::tm* parts = std::localtime(&when);
  char buffer[32] = {};
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", parts);
  return buffer;
}

TEST(LocalTime, TimeAndDateHaveTheLogFormats) {
  const LocalTimeTexts texts = CurrentLocalTimeTexts();
  EXPECT_TRUE(std::regex_match(Narrow(texts.time), std::regex(R"(\d\d:\d\d:\d\d\.\d\d\d)")))
      << Narrow(texts.time);
  EXPECT_TRUE(std::regex_match(Narrow(texts.date), std::regex(R"(\d{4}-\d\d-\d\d)"))) << Narrow(texts.date);
}

TEST(LocalTime, ZoneIsNamed) { EXPECT_FALSE(CurrentLocalTimeTexts().zone.empty()); }

TEST(LocalTime, AgreesWithTheCRuntimeClock) {
  // The reading falls between two of the C runtime's, which are at most a second apart unless the
  // test is very slow; it must then show one of their seconds.
  // The system clock, not time(): glibc's time() reads a coarse clock that may still show the
  // previous second for a few milliseconds after the precise clock the logger reads has moved on.
  const std::time_t before = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const LocalTimeTexts texts = CurrentLocalTimeTexts();
  const std::time_t after = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::string shown = Narrow(texts.date) + " " + Narrow(texts.time.substr(0, 8));
  if (after - before <= 1) {
    EXPECT_TRUE(shown == CRuntimeLocalText(before) || shown == CRuntimeLocalText(after))
        << shown << " vs " << CRuntimeLocalText(before) << " / " << CRuntimeLocalText(after);
  }
}

#ifndef _WIN32
using testing::ScopedZone;

TEST(LocalTime, ZoneIsTheAbbreviationOnLinux) {
  {
    const ScopedZone zone("UTC0");
    EXPECT_EQ(CurrentLocalTimeTexts().zone, L"UTC");
  }
  {
    // Central European time: "CET" in winter, "CEST" in summer.
    const ScopedZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const std::wstring name = CurrentLocalTimeTexts().zone;
    EXPECT_TRUE(name == L"CET" || name == L"CEST") << Narrow(name);
  }
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util::platform

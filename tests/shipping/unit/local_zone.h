// The local zone for the tests of timestamps. On Linux TZ sets it, and the tests run in Central
// European time, whose rules and change days they spell out. On Windows the zone is the system's
// and TZ has no say: tests that need particular rules are Linux-only there, and the others expect
// the offset the system gives.
#ifndef TAVROMEDIVANEUTIL_TESTS_SHIPPING_UNIT_LOCAL_ZONE_H
#define TAVROMEDIVANEUTIL_TESTS_SHIPPING_UNIT_LOCAL_ZONE_H

#include <gtest/gtest.h>

#include <string>

#include "platform/time_zone.h"
#include "shipping/syslog_message.h"
#include "support/scoped_zone.h"

namespace Tavro_KVO_Util::shipping {

#ifndef _WIN32
using Tavro_KVO_Util::testing::ScopedZone;
#endif

// Tests of whole messages: in Berlin on Linux.
class InBerlin : public ::testing::Test {
#ifndef _WIN32
 private:
  ScopedZone mZone{"Europe/Berlin"};
#endif
};

// The TIMESTAMP of the local time 2026-07-01 12:00:00.045: Berlin's summer time on Linux; on
// Windows, the offset the system's zone had then.
inline std::string JulyNoonTimestamp() {
#ifdef _WIN32
  int offset = 0;
  platform::LocalTimeUtcOffset({2026, 7, 1, 12, 0, 0, 45}, std::string(), offset);
  return Rfc3339(2026, 7, 1, 12, 0, 0, 45, offset);
#else
  return "2026-07-01T12:00:00.045+02:00";
#endif
}

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_TESTS_SHIPPING_UNIT_LOCAL_ZONE_H

// Sets the local zone (TZ) for the life of a test on Linux, then restores it. tzset makes the C
// library read TZ again both ways. Windows takes its zone from the system, not from TZ.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_SCOPED_ZONE_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_SCOPED_ZONE_H

#ifndef _WIN32

#include <time.h>

#include <optional>
#include <string>
#include <utility>

#include "support/environment.h"

namespace Tavro_KVO_Util::testing {

class ScopedZone {
 public:
  explicit ScopedZone(const char* zone) : mVariable(std::in_place, "TZ", std::string(zone)) { tzset(); }
  ~ScopedZone() {
    mVariable.reset();
    tzset();
  }
  ScopedZone(const ScopedZone&) = delete;
  ScopedZone& operator=(const ScopedZone&) = delete;

 private:
  std::optional<ScopedEnvironmentVariable> mVariable;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // _WIN32

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_SCOPED_ZONE_H

// Deadlines of the calls that wait on a peer (TCP, TLS, RELP): each call gets a time point by
// which it must be done, and every wait inside it asks how much of that time is left.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_DEADLINE_H
#define TAVROMEDIVANEUTIL_PLATFORM_DEADLINE_H

#include <chrono>

namespace Tavro_KVO_Util::platform {

// The milliseconds left until `deadline`, as poll(), WSAPoll() and the collector links take
// them: 0 once it has passed.
inline int MillisecondsLeft(std::chrono::steady_clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now())
          .count();
  return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_DEADLINE_H

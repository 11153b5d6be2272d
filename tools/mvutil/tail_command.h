// mvutil tail: prints the last entries of the shared log, and follows it.
#ifndef MVUTIL_TAIL_COMMAND_H
#define MVUTIL_TAIL_COMMAND_H

#include <chrono>
#include <functional>

#include "command.h"

namespace mvutil {

extern const char kTailUsage[];

// How -f follows. The command itself follows until it is stopped (or its output fails); tests
// stop it through `keepFollowing` and shorten the interval.
struct FollowOptions {
  std::chrono::milliseconds interval{200};
  // Asked before each look at the log, after the pause: false makes that look the last one. A
  // test may write entries here; the look that follows sees them.
  std::function<bool()> keepFollowing = [] { return true; };
};

// mvutil tail [-n N] [-f] [--level LEVEL] [--area AREA]
int RunTailCommand(const Args& args, Io& io);

// The same with the follow options given.
int RunTail(const Args& args, Io& io, const FollowOptions& follow);

}  // namespace mvutil

#endif  // MVUTIL_TAIL_COMMAND_H

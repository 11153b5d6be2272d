// The fuzzers' check: a property that must hold did not, so stop here and libFuzzer keeps the
// input as a reproducer.
#ifndef TAVROMEDIVANEUTIL_FUZZ_FUZZ_CHECK_H
#define TAVROMEDIVANEUTIL_FUZZ_FUZZ_CHECK_H

#include <cstdio>

#define FUZZ_CHECK(condition)                                                             \
  do {                                                                                    \
    if (!(condition)) {                                                                   \
      std::fprintf(stderr, "check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
      __builtin_trap();                                                                   \
    }                                                                                     \
  } while (0)

#endif  // TAVROMEDIVANEUTIL_FUZZ_FUZZ_CHECK_H

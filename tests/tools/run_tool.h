// Runs one mvutil command line in-process and keeps what it printed.
#ifndef MVUTIL_TESTS_RUN_TOOL_H
#define MVUTIL_TESTS_RUN_TOOL_H

#include <sstream>
#include <string>

#include "command.h"

namespace mvutil {

struct Result {
  int code;
  std::string out;
  std::string err;
};

// `mvutil ARGS...` with `standardInput` as its standard input.
inline Result RunTool(const Args& args, const std::string& standardInput = "") {
  std::istringstream in(standardInput);
  std::ostringstream out;
  std::ostringstream err;
  Io io{in, out, err};
  const int code = Run(args, io);
  return {code, out.str(), err.str()};
}

}  // namespace mvutil

#endif  // MVUTIL_TESTS_RUN_TOOL_H

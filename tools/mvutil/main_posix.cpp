// mvutil entry point on Linux: arguments are already UTF-8 bytes.
#include <iostream>

#include "command.h"

int main(int argc, char** argv) {
  const mvutil::Args args(argv + 1, argv + argc);
  mvutil::Io io{std::cin, std::cout, std::cerr};
  return mvutil::Run(args, io);
}

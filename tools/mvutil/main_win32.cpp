// mvutil entry point on Windows: takes the UTF-16 command line and hands the verbs UTF-8, and
// reads standard input in binary mode so that checksums see the bytes unchanged.
#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>

#include "command.h"
#include "wide_text.h"

int wmain(int argc, wchar_t** argv) {
  _setmode(_fileno(stdin), _O_BINARY);
  mvutil::Args args;
  for (int i = 1; i < argc; ++i) args.push_back(mvutil::WideToUtf8(argv[i]));
  mvutil::Io io{std::cin, std::cout, std::cerr};
  return mvutil::Run(args, io);
}

// mvutil entry point on Windows: takes the UTF-16 command line and hands the verbs UTF-8, and
// reads standard input in binary mode so that checksums see the bytes unchanged.
#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "command.h"
#include "platform/win32/windows_include.h"

namespace {

std::string Utf16ToUtf8(const wchar_t* text) {
  const int bytes = WideCharToMultiByte(CP_UTF8, /*dwFlags=*/0, text, /*cchWideChar=*/-1, nullptr, 0,
                                        /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
  if (bytes <= 1) return std::string();
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), bytes, nullptr, nullptr);
  utf8.resize(static_cast<std::size_t>(bytes) - 1);  // drop the terminating NUL
  return utf8;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  _setmode(_fileno(stdin), _O_BINARY);
  mvutil::Args args;
  for (int i = 1; i < argc; ++i) args.push_back(Utf16ToUtf8(argv[i]));
  mvutil::Io io{std::cin, std::cout, std::cerr};
  return mvutil::Run(args, io);
}

// A program of the tablet, as far as the shipper's scenarios need one: writes COUNT entries
// "TAG-NNNNN" through the library's logger, at INFO in the area "Writer", one every INTERVAL
// microseconds (0: as fast as the logger goes). Several of them at once make the log roll under
// the shipper while it follows.
//
//   ship_writer TAG COUNT [INTERVAL_US]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "Logger.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: ship_writer TAG COUNT [INTERVAL_US]\n");
    return 2;
  }
  const std::string tag = argv[1];
  const long count = std::strtol(argv[2], nullptr, 10);
  const long interval = argc > 3 ? std::strtol(argv[3], nullptr, 10) : 0;
  Tavro_KVO_Util::Logger* log = Tavro_KVO_Util::Logger::GetInstance();
  if (log == nullptr) return 1;
  const std::wstring wideTag(tag.begin(), tag.end());
  const auto start = std::chrono::steady_clock::now();
  for (long i = 1; i <= count; ++i) {
    wchar_t number[16];
    std::swprintf(number, 16, L"-%05ld", i);
    log->Log(L"Writer", 4, (wideTag + number).c_str(), L".\\ship_writer.cpp", 42);
    // Paced by the clock, not by sleeps alone, so a slow entry does not slow the whole run.
    if (interval > 0) std::this_thread::sleep_until(start + std::chrono::microseconds(interval * i));
  }
  return 0;
}

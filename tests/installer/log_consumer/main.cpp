// Writes one entry, "MESSAGE", at INFO in the area "Consumer" through the installed library. Where
// the entry goes is the installed configuration's to say. Usage: log_consumer MESSAGE
#include <Logger.h>

#include <cstdio>

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fwprintf(stderr, L"usage: log_consumer MESSAGE\n");
    return 2;
  }
  Tavro_KVO_Util::Logger* log = Tavro_KVO_Util::Logger::GetInstance();
  if (log == nullptr) return 1;
  log->Log(L"Consumer", 4, argv[1], L".\\log_consumer", 1);
  return 0;
}

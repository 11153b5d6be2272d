#include <TavroMedivaneUtil.h>

#include <cstdio>

int main() {
  using namespace Tavro_KVO_Util;
  const unsigned char check[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  Crc32 crc32;
  crc32.ProcessBuffer(check, sizeof check);
  CRC16 crc16;
  crc16.Digest(check, sizeof check);

  OsCriticalSection section;
  bool locked = false;
  {
    OsAutoLock guard(&section);
    locked = section.Lock(false);  // recursive entry by the owner
    if (locked) section.Unlock();
  }
  std::printf("consumer: %08lX %04X %08lX %s\n", crc32.GetResult(), crc16.Final(),
              static_cast<unsigned long>(Crc32::mCrc32Table[1]), locked ? "locked" : "not-locked");
  return 0;
}

/* Prints two checksums, a registry count and a status text, all through the C interface. */
#include <stdio.h>

#include "TavroMedivaneUtil_c.h"

int main(void) {
  tmu_button_pid_list* list = NULL;
  tmu_button_pid_action action = {42, 1, 7, 0, 0};
  size_t count;
  if (tmu_button_pid_list_create(&list) != TMU_OK || tmu_button_pid_list_add(list, &action) != TMU_OK)
    return 1;
  count = tmu_button_pid_list_count(list);
  tmu_button_pid_list_destroy(list);
  printf("c_consumer: %08X %04X %u %s\n", (unsigned)tmu_crc32("123456789", 9),
         (unsigned)tmu_crc16("123456789", 9), (unsigned)count, tmu_status_text(TMU_NOT_FOUND));
  return 0;
}

/* CRC-32 and CRC-16 through the C interface: one-shot, in pieces, and the classes' rules. */
#include "c_test.h"

static const char digits[] = "123456789";

static void crc32_of_the_check_string(void) {
  CHECK_INT(0xCBF43926u, tmu_crc32(digits, 9));
  CHECK_INT(0, tmu_crc32(digits, 0));
  CHECK_INT(0, tmu_crc32(NULL, 0));
  CHECK_INT(0, tmu_crc32(NULL, 5)); /* logged, not read */
}

static void crc32_in_pieces_keeps_its_state_between_results(void) {
  tmu_crc32_state state;
  CHECK_INT(TMU_OK, tmu_crc32_begin(&state, 0xFFFFFFFFu));
  CHECK_INT(TMU_OK, tmu_crc32_update(&state, digits, 4));
  CHECK_INT(tmu_crc32("1234", 4), tmu_crc32_result(&state));
  CHECK_INT(TMU_OK, tmu_crc32_update(&state, NULL, 0));
  CHECK_INT(TMU_OK, tmu_crc32_update(&state, digits + 4, 5));
  CHECK_INT(0xCBF43926u, tmu_crc32_result(&state));
  CHECK_INT(0xCBF43926u, tmu_crc32_result(&state));
}

static void crc32_start_value_is_also_the_final_xor(void) {
  tmu_crc32_state state;
  tmu_crc32_state copy;
  CHECK_INT(TMU_OK, tmu_crc32_begin(&state, 0));
  CHECK_INT(0, tmu_crc32_result(&state));
  CHECK_INT(TMU_OK, tmu_crc32_update(&state, digits, 9));
  CHECK_INT(0x2DFD2D88u, tmu_crc32_result(&state));
  /* The state is a plain structure: a copy goes on from where the original was. */
  copy = state;
  CHECK_INT(0x2DFD2D88u, tmu_crc32_result(&copy));
}

static void crc32_state_and_data_are_checked(void) {
  tmu_crc32_state state;
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc32_begin(NULL, 1));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc32_update(NULL, digits, 9));
  CHECK_INT(TMU_OK, tmu_crc32_begin(&state, 0xFFFFFFFFu));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc32_update(&state, NULL, 9));
  CHECK_INT(0, tmu_crc32_result(&state));
  CHECK_INT(0, tmu_crc32_result(NULL));
}

static void crc16_of_the_check_string(void) {
  CHECK_INT(0xB4C8, tmu_crc16(digits, 9));
  CHECK_INT(0, tmu_crc16(digits, 0));
  CHECK_INT(0, tmu_crc16(NULL, 9));
}

static void crc16_final_starts_again(void) {
  tmu_crc16_state state;
  CHECK_INT(TMU_OK, tmu_crc16_begin(&state));
  CHECK_INT(TMU_OK, tmu_crc16_update(&state, digits, 3));
  CHECK_INT(TMU_OK, tmu_crc16_update(&state, digits + 3, 6));
  CHECK_INT(0xB4C8, tmu_crc16_final(&state));
  CHECK_INT(0, tmu_crc16_final(&state));
  CHECK_INT(TMU_OK, tmu_crc16_update(&state, digits, 9));
  CHECK_INT(0xB4C8, tmu_crc16_final(&state));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc16_begin(NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc16_update(NULL, digits, 1));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc16_update(&state, NULL, 1));
  CHECK_INT(0, tmu_crc16_final(NULL));
}

const c_test_case c_checksum_cases[] = {
    {"crc32_of_the_check_string", crc32_of_the_check_string},
    {"crc32_in_pieces_keeps_its_state_between_results", crc32_in_pieces_keeps_its_state_between_results},
    {"crc32_start_value_is_also_the_final_xor", crc32_start_value_is_also_the_final_xor},
    {"crc32_state_and_data_are_checked", crc32_state_and_data_are_checked},
    {"crc16_of_the_check_string", crc16_of_the_check_string},
    {"crc16_final_starts_again", crc16_final_starts_again},
    {NULL, NULL}};

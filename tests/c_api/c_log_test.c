/* Log entries through the C interface, read back from the file the logger wrote. */
#include "c_test.h"

static void an_entry_is_written_with_its_area_file_and_line(void) {
  char line[512];
  CHECK_INT(TMU_OK, tmu_log(TMU_LOG_INFO, "CArea", "plain entry", NULL, "c_log_test.c", 7));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK_STR("I CArea c_log_test.c 7 plain entry", line);
}

static void data_follows_the_message(void) {
  char line[512];
  CHECK_INT(TMU_OK, tmu_log(TMU_LOG_ERROR, "CArea", "with data", "value 1", "c_log_test.c", 12));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK_STR("E CArea c_log_test.c 12 with data;DATA#value 1", line);
}

static void utf8_text_is_written_as_utf16(void) {
  static const unsigned char expected[] = {'I',  0,    ' ',  0,    'C',  0, ' ',  0, 'f',  0,
                                           ' ',  0,    '1',  0,    ' ',  0, 0xE9, 0, 0xAC, 0x20,
                                           0x3D, 0xD8, 0x00, 0xDE, '\r', 0, '\n', 0};
  unsigned char bytes[256];
  long size;
  CHECK_INT(TMU_OK, tmu_log(TMU_LOG_INFO, "C", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", NULL, "f", 1));
  size = c_test_read_file(c_test_log_path(), bytes, sizeof bytes);
  CHECK(size >= (long)sizeof expected &&
        memcmp(bytes + size - (long)sizeof expected, expected, sizeof expected) == 0);
}

static void levels_above_the_threshold_are_not_written(void) {
  char line[512];
  CHECK_INT(TMU_OK, tmu_log(TMU_LOG_INFO, "CArea", "kept", NULL, "f", 1));
  CHECK_INT(TMU_OK, tmu_log(TMU_LOG_DEBUG, "CArea", "dropped", NULL, "f", 2));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK_STR("I CArea f 1 kept", line);
  CHECK_INT(1, tmu_log_is_loggable("CArea", TMU_LOG_INFO));
  CHECK_INT(1, tmu_log_is_loggable("CArea", TMU_LOG_REPORT));
  CHECK_INT(0, tmu_log_is_loggable("CArea", TMU_LOG_DEBUG));
  CHECK_INT(0, tmu_log_is_loggable(NULL, TMU_LOG_INFO));
  CHECK_INT(0, tmu_log_is_loggable("\xFF", TMU_LOG_INFO));
}

static void a_refused_entry_is_not_written(void) {
  char line[512];
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_log(TMU_LOG_INFO, NULL, "m", NULL, "f", 1));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_log(TMU_LOG_INFO, "A", NULL, NULL, "f", 1));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_log(TMU_LOG_INFO, "A", "m", NULL, NULL, 1));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_log(TMU_LOG_INFO, "A", "m", "\xC3", "f", 1));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK(c_test_is_c_api_report(line, "tmu_log: data is not UTF-8"));
}

const c_test_case c_log_cases[] = {
    {"log_an_entry_is_written_with_its_area_file_and_line", an_entry_is_written_with_its_area_file_and_line},
    {"log_data_follows_the_message", data_follows_the_message},
    {"log_utf8_text_is_written_as_utf16", utf8_text_is_written_as_utf16},
    {"log_levels_above_the_threshold_are_not_written", levels_above_the_threshold_are_not_written},
    {"log_a_refused_entry_is_not_written", a_refused_entry_is_not_written},
    {NULL, NULL}};

/* Status texts, tmu_free, and the C interface's own argument checks as the log records them. */
#include <stdlib.h>

#include "c_test.h"

static void status_text_names_every_code(void) {
  CHECK_STR("TMU_OK: success", tmu_status_text(TMU_OK));
  CHECK_STR("TMU_BUFFER_TOO_SMALL: the output does not fit in the buffer",
            tmu_status_text(TMU_BUFFER_TOO_SMALL));
  CHECK_STR("TMU_CFG_FILE_OPEN_FAILED: the configuration file could not be opened",
            tmu_status_text(TMU_CFG_FILE_OPEN_FAILED));
  CHECK_STR("TMU_CFG_FILE_UTF8: the configuration file has a UTF-8 byte-order mark",
            tmu_status_text(TMU_CFG_FILE_UTF8));
  CHECK_STR("TMU_CFG_CONVERSION_FAILED: the value does not convert to that type",
            tmu_status_text(TMU_CFG_CONVERSION_FAILED));
  CHECK_STR("TMU_NOT_FOUND: no such key, section, array or entry", tmu_status_text(TMU_CFG_NOT_FOUND));
  CHECK_STR("TMU_CFG_WRITE_NOT_ALLOWED: the configuration was opened read-only",
            tmu_status_text(TMU_CFG_WRITE_NOT_ALLOWED));
  CHECK_STR("TMU_CFG_WRITE_FAILED: the configuration file could not be written",
            tmu_status_text(TMU_CFG_WRITE_FAILED));
  CHECK_STR("TMU_INVALID_ARGUMENT: a required argument is null, empty or not UTF-8",
            tmu_status_text(TMU_CFG_INVALID_PARAMETER));
  CHECK_STR("TMU_KPS_INVALID_FORMAT: the key string is not valid", tmu_status_text(TMU_KPS_INVALID_FORMAT));
  CHECK_STR("TMU_KPS_SEND_FAILED: the system refused the key presses", tmu_status_text(TMU_KPS_SEND_FAILED));
  CHECK_STR("TMU_FAILED: the operation failed; the log says why", tmu_status_text(TMU_FAILED));
  CHECK_STR("TMU_OUT_OF_MEMORY: memory ran out", tmu_status_text(TMU_OUT_OF_MEMORY));
  CHECK_STR("TMU_INTERNAL_ERROR: the library failed unexpectedly; the log says why",
            tmu_status_text(TMU_INTERNAL_ERROR));
  CHECK_STR("unknown status", tmu_status_text(-3));
  CHECK_STR("unknown status", tmu_status_text(1));
}

static void free_takes_null_and_what_the_library_gave(void) {
  uint8_t* output = NULL;
  size_t length = 0;
  static const unsigned char junk[16] = {1, 2, 3};
  tmu_free(NULL);
  /* A stretch of bytes that do not decode gives the class's empty output: nothing to free. */
  CHECK_INT(TMU_OK, tmu_image_resize(junk, sizeof junk, 4, 4, &output, &length));
  CHECK(output == NULL);
  CHECK_INT(0, length);
  tmu_free(output);
}

static void a_null_argument_is_refused_and_logged(void) {
  char line[512];
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_crc32_begin(NULL, 0));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK(c_test_is_c_api_report(line, "tmu_crc32_begin: state is null"));
}

static void text_that_is_not_utf8_is_refused_and_logged(void) {
  char line[512];
  size_t length = 99;
  tmu_config* config = NULL;
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open_default(0, 0, &config));
  /* A lone continuation byte, an overlong slash, an encoded surrogate, a sequence cut short. */
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_text(config, "\x80", NULL, 0, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_text(config, "\xC0\xAF", NULL, 0, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_text(config, "\xED\xA0\x80", NULL, 0, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_text(config, "ab\xE2\x82", NULL, 0, &length));
  CHECK(c_test_last_utf16_line(c_test_log_path(), line, sizeof line));
  CHECK(c_test_is_c_api_report(line, "tmu_config_get_text: key is not UTF-8"));
  /* Well-formed text of every length is taken: 2, 3 and 4 bytes. */
  CHECK_INT(TMU_CFG_NOT_FOUND,
            tmu_config_get_text(config, "/\xC3\xA9/\xE2\x82\xAC/\xF0\x9F\x98\x80", NULL, 0, &length));
  CHECK_INT(0, length);
  tmu_config_close(config);
  tmu_config_close(NULL);
}

const c_test_case c_general_cases[] = {
    {"status_text_names_every_code", status_text_names_every_code},
    {"free_takes_null_and_what_the_library_gave", free_takes_null_and_what_the_library_gave},
    {"a_null_argument_is_refused_and_logged", a_null_argument_is_refused_and_logged},
    {"text_that_is_not_utf8_is_refused_and_logged", text_that_is_not_utf8_is_refused_and_logged},
    {NULL, NULL}};

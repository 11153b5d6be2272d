/* The configuration store through the C interface, on files written here. */
#include <stdlib.h>

#include "c_test.h"

static const char sample[] =
    "// sample\r\n"
    "/Tavro/App/Name=Korvina\r\n"
    "/Tavro/App/Count=42\r\n"
    "/Tavro/App/Ratio=2.5\r\n"
    "/Tavro/App/Mask=0xFF\r\n"
    "/Tavro/App/Word=abc\r\n"
    "/Tavro/App/Zero=00\r\n"
    "/Tavro/App/Blank=\r\n"
    "/Tavro/Other/Name=x\r\n"
    "/Tavro/List[3]/Id=c\r\n"
    "/Tavro/List[1]/Id=a\r\n"
    "/Tavro/List[3]/Name=c\r\n";

/* Opens the sample, written to "sample.cfg". */
static tmu_config* open_sample(int writable, char* path, size_t capacity) {
  tmu_config* config = NULL;
  CHECK(c_test_write_utf16_file(c_test_path("sample.cfg", path, capacity), sample));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open(path, 0, writable, &config));
  CHECK(config != NULL);
  return config;
}

static void text_goes_into_a_buffer_that_fits(void) {
  char path[1100];
  char buffer[16];
  size_t length = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_text(config, "/Tavro/App/Name", buffer, sizeof buffer, &length));
  CHECK_STR("Korvina", buffer);
  CHECK_INT(7, length);
  /* Exactly the text and its NUL fit. */
  memset(buffer, '#', sizeof buffer);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_text(config, "/Tavro/App/Name", buffer, 8, &length));
  CHECK_STR("Korvina", buffer);
  /* One byte less is too small: the length is reported and the buffer left alone. */
  memset(buffer, '#', sizeof buffer);
  CHECK_INT(TMU_CFG_BUFFER_TOO_SMALL, tmu_config_get_text(config, "/Tavro/App/Name", buffer, 7, &length));
  CHECK_INT(7, length);
  CHECK_INT('#', buffer[0]);
  /* A null buffer only asks. */
  length = 0;
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_config_get_text(config, "/Tavro/App/Name", NULL, 0, &length));
  CHECK_INT(7, length);
  tmu_config_close(config);
}

static void missing_blank_and_empty_keys_are_not_found(void) {
  char path[1100];
  char buffer[16];
  size_t length = 5;
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK_INT(TMU_CFG_NOT_FOUND,
            tmu_config_get_text(config, "/Tavro/App/Nope", buffer, sizeof buffer, &length));
  CHECK_INT(0, length);
  CHECK_INT(TMU_CFG_NOT_FOUND,
            tmu_config_get_text(config, "/Tavro/App/Blank", buffer, sizeof buffer, &length));
  CHECK_INT(TMU_CFG_NOT_FOUND, tmu_config_get_text(config, "", buffer, sizeof buffer, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_text(config, NULL, buffer, sizeof buffer, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT,
            tmu_config_get_text(config, "/Tavro/App/Name", buffer, sizeof buffer, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT,
            tmu_config_get_text(NULL, "/Tavro/App/Name", buffer, sizeof buffer, &length));
  tmu_config_close(config);
}

static void numbers_convert_as_the_store_reads_them(void) {
  char path[1100];
  int64_t number = -1;
  double ratio = 0;
  uint64_t mask = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_long(config, "/Tavro/App/Count", &number));
  CHECK_INT(42, number);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_double(config, "/Tavro/App/Ratio", &ratio));
  CHECK(ratio == 2.5);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_uint64(config, "/Tavro/App/Mask", 16, &mask));
  CHECK_INT(255, mask);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_uint64(config, "/Tavro/App/Mask", 0, &mask));
  CHECK_INT(255, mask);
  /* "abc" and "00" do not convert, and the value is left as it was. */
  number = 7;
  CHECK_INT(TMU_CFG_CONVERSION_FAILED, tmu_config_get_long(config, "/Tavro/App/Word", &number));
  CHECK_INT(TMU_CFG_CONVERSION_FAILED, tmu_config_get_long(config, "/Tavro/App/Zero", &number));
  CHECK_INT(7, number);
  CHECK_INT(TMU_CFG_CONVERSION_FAILED, tmu_config_get_double(config, "/Tavro/App/Word", &ratio));
  CHECK_INT(TMU_CFG_NOT_FOUND, tmu_config_get_long(config, "/Tavro/App/Nope", &number));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_long(config, "/Tavro/App/Count", NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_double(config, "/Tavro/App/Ratio", NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_get_uint64(config, "/Tavro/App/Mask", 16, NULL));
  tmu_config_close(config);
}

static void set_writes_the_file_as_utf16(void) {
  /* The store keeps the empty file's one blank line and joins lines with CR LF, none after the
   * last. */
  static const unsigned char expected[] = {0xFF, 0xFE, '\r', 0,    '\n', 0,    '/',  0,    'A',  0,   '=',
                                           0,    'Z',  0,    0xFC, 0,    'r',  0,    'i',  0,    'c', 0,
                                           'h',  0,    ' ',  0,    0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE};
  unsigned char bytes[256];
  char path[1100];
  char buffer[64];
  size_t length = 0;
  long size;
  tmu_config* config = NULL;
  CHECK(c_test_write_utf16_file(c_test_path("set.cfg", path, sizeof path), ""));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open(path, 0, 1, &config));
  /* "Zürich €😀": one, two and four bytes of UTF-8 become UTF-16 units in the file. */
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_set(config, "/A", "Z\xC3\xBCrich \xE2\x82\xAC\xF0\x9F\x98\x80"));
  size = c_test_read_file(path, bytes, sizeof bytes);
  CHECK_INT(sizeof expected, size);
  CHECK(size == (long)sizeof expected && memcmp(bytes, expected, sizeof expected) == 0);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_text(config, "/A", buffer, sizeof buffer, &length));
  CHECK_STR("Z\xC3\xBCrich \xE2\x82\xAC\xF0\x9F\x98\x80", buffer);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_set(config, "/A", NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_set(config, "/A", "\xFF"));
  tmu_config_close(config);
}

static void set_on_a_read_only_handle_is_not_allowed(void) {
  char path[1100];
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK_INT(TMU_CFG_WRITE_NOT_ALLOWED, tmu_config_set(config, "/Tavro/App/Name", "x"));
  tmu_config_close(config);
}

static void section_lists_whole_keys_with_their_values(void) {
  static const char expected[] =
      "/Tavro/App/Count\0"
      "42\0/Tavro/App/Mask\0"
      "0xFF\0/Tavro/App/Name\0Korvina\0"
      "/Tavro/App/Ratio\0"
      "2.5\0/Tavro/App/Word\0"
      "abc\0/Tavro/App/Zero\0"
      "00";
  char path[1100];
  char* pairs = NULL;
  size_t count = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  /* A key with a blank value has no value to list. */
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_section(config, "/Tavro/App/", &pairs, &count));
  CHECK_INT(6, count);
  CHECK(pairs != NULL && memcmp(pairs, expected, sizeof expected) == 0);
  tmu_free(pairs);
  pairs = (char*)&count;
  CHECK_INT(TMU_CFG_NOT_FOUND, tmu_config_section(config, "/Nope", &pairs, &count));
  CHECK(pairs == NULL);
  CHECK_INT(0, count);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_section(config, "/Tavro", NULL, &count));
  tmu_config_close(config);
}

static void match_lists_keys_whose_last_component_begins_so(void) {
  static const char expected[] = "/Tavro/App/Name\0Korvina\0/Tavro/List[3]/Name\0c\0/Tavro/Other/Name\0x";
  char path[1100];
  char* pairs = NULL;
  size_t count = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_match(config, "/Tavro", "Na", &pairs, &count));
  CHECK_INT(3, count);
  CHECK(pairs != NULL && memcmp(pairs, expected, sizeof expected) == 0);
  tmu_free(pairs);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_match(config, "/Tavro", NULL, &pairs, &count));
  tmu_config_close(config);
}

static void array_indices_come_in_the_order_of_the_keys(void) {
  char path[1100];
  uint32_t indices[4] = {0, 0, 0, 0};
  size_t count = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  /* The keys are met in their sorted order: "/Tavro/List[1]/Id" before "/Tavro/List[3]/Id". */
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_array_indices(config, "/Tavro/List", indices, 4, &count));
  CHECK_INT(2, count);
  CHECK_INT(1, indices[0]);
  CHECK_INT(3, indices[1]);
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_config_array_indices(config, "/Tavro/List", indices, 1, &count));
  CHECK_INT(2, count);
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_config_array_indices(config, "/Tavro/List", NULL, 0, &count));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_array_indices(config, "/Tavro/List", NULL, 2, &count));
  tmu_config_close(config);
}

static void reload_reads_a_changed_file(void) {
  char path[1100];
  int64_t number = 0;
  tmu_config* config = open_sample(0, path, sizeof path);
  CHECK(c_test_write_utf16_file(path, "/Tavro/App/Count=43\r\n"));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_reload(config, 1));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_long(config, "/Tavro/App/Count", &number));
  CHECK_INT(43, number);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_reload(NULL, 1));
  tmu_config_close(config);
}

static void the_default_file_is_found_through_the_install_folder(void) {
  char buffer[64];
  size_t length = 0;
  tmu_config* config = NULL;
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open_default(0, 0, &config));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_text(config, "/Tavro/MedivaneSDK/Logging/LogFileName", buffer,
                                                 sizeof buffer, &length));
  CHECK_STR("c_api.log", buffer);
  tmu_config_close(config);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_open_default(0, 0, NULL));
}

static void a_path_that_cannot_be_opened_gives_the_default_file(void) {
  char path[1100];
  char buffer[64];
  size_t length = 0;
  tmu_config* config = NULL;
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open(c_test_path("missing.cfg", path, sizeof path), 0, 0, &config));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_get_text(config, "/Tavro/MedivaneSDK/Logging/LogFileName", buffer,
                                                 sizeof buffer, &length));
  CHECK_STR("c_api.log", buffer);
  tmu_config_close(config);
  config = (tmu_config*)buffer;
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_config_open(NULL, 0, 0, &config));
  CHECK(config == NULL);
}

static void a_refused_file_opens_empty_and_reload_says_why(void) {
  static const char utf8[] = "\xEF\xBB\xBF/Tavro/App/Name=Korvina\r\n";
  char path[1100];
  char buffer[16];
  size_t length = 0;
  tmu_config* config = NULL;
  CHECK(c_test_write_file(c_test_path("utf8.cfg", path, sizeof path), utf8, sizeof utf8 - 1));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open(path, 0, 0, &config));
  CHECK_INT(TMU_CFG_NOT_FOUND,
            tmu_config_get_text(config, "/Tavro/App/Name", buffer, sizeof buffer, &length));
  CHECK_INT(TMU_CFG_FILE_UTF8, tmu_config_reload(config, 0));
  tmu_config_close(config);
}

const c_test_case c_config_cases[] = {
    {"config_text_goes_into_a_buffer_that_fits", text_goes_into_a_buffer_that_fits},
    {"config_missing_blank_and_empty_keys_are_not_found", missing_blank_and_empty_keys_are_not_found},
    {"config_numbers_convert_as_the_store_reads_them", numbers_convert_as_the_store_reads_them},
    {"config_set_writes_the_file_as_utf16", set_writes_the_file_as_utf16},
    {"config_set_on_a_read_only_handle_is_not_allowed", set_on_a_read_only_handle_is_not_allowed},
    {"config_section_lists_whole_keys_with_their_values", section_lists_whole_keys_with_their_values},
    {"config_match_lists_keys_whose_last_component_begins_so",
     match_lists_keys_whose_last_component_begins_so},
    {"config_array_indices_come_in_the_order_of_the_keys", array_indices_come_in_the_order_of_the_keys},
    {"config_reload_reads_a_changed_file", reload_reads_a_changed_file},
    {"config_the_default_file_is_found_through_the_install_folder",
     the_default_file_is_found_through_the_install_folder},
    {"config_a_path_that_cannot_be_opened_gives_the_default_file",
     a_path_that_cannot_be_opened_gives_the_default_file},
    {"config_a_refused_file_opens_empty_and_reload_says_why", a_refused_file_opens_empty_and_reload_says_why},
    {NULL, NULL}};

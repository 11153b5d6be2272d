/* A small harness for the C interface's tests, in C99: checks that count failures, the table of
 * cases main runs by name, and the few file and environment services the cases need. */
#ifndef TAVROMEDIVANEUTIL_TESTS_C_API_C_TEST_H
#define TAVROMEDIVANEUTIL_TESTS_C_API_C_TEST_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "TavroMedivaneUtil_c.h"

extern int c_test_failures;

void c_test_fail(const char* file, int line, const char* what);

#define CHECK(condition)                                           \
  do {                                                             \
    if (!(condition)) c_test_fail(__FILE__, __LINE__, #condition); \
  } while (0)

/* Equality of two integers, printing both on failure. */
#define CHECK_INT(expected, actual)                                                                   \
  do {                                                                                                \
    const long long c_test_expected = (long long)(expected);                                          \
    const long long c_test_actual = (long long)(actual);                                              \
    if (c_test_expected != c_test_actual) {                                                           \
      fprintf(stderr, "  expected %lld (0x%llx), got %lld (0x%llx)\n", c_test_expected,               \
              (unsigned long long)c_test_expected, c_test_actual, (unsigned long long)c_test_actual); \
      c_test_fail(__FILE__, __LINE__, #expected " == " #actual);                                      \
    }                                                                                                 \
  } while (0)

#define CHECK_STR(expected, actual)                                                                         \
  do {                                                                                                      \
    const char* c_test_e = (expected);                                                                      \
    const char* c_test_a = (actual);                                                                        \
    if (c_test_a == NULL || strcmp(c_test_e, c_test_a) != 0) {                                              \
      fprintf(stderr, "  expected \"%s\", got \"%s\"\n", c_test_e, c_test_a == NULL ? "(null)" : c_test_a); \
      c_test_fail(__FILE__, __LINE__, #expected " == " #actual);                                            \
    }                                                                                                       \
  } while (0)

typedef struct c_test_case {
  const char* name;
  void (*run)(void);
} c_test_case;

/* The cases of each file, ended by a {NULL, NULL} entry. */
extern const c_test_case c_checksum_cases[];
extern const c_test_case c_config_cases[];
extern const c_test_case c_log_cases[];
extern const c_test_case c_button_cases[];
extern const c_test_case c_key_cases[];
extern const c_test_case c_image_cases[];
extern const c_test_case c_sound_cases[];
extern const c_test_case c_dialog_cases[];
extern const c_test_case c_general_cases[];

/* A folder of this run's own, made before the case runs and removed (with the files the case
 * named through c_test_path) after it. KVO_INSTALL_DIR names it, its Bin folder exists, and on
 * Linux XDG_CONFIG_HOME names its "xdg" folder. */
const char* c_test_dir(void);

/* c_test_dir() + separator + `name` (a relative path with '/' between folders, written with the
 * system's separator), in a static buffer of the caller's choosing. Files made there are removed
 * afterwards when their names were asked for here. */
const char* c_test_path(const char* name, char* buffer, size_t capacity);

/* Writes `length` bytes to `path` (whole file), or reads up to `capacity` bytes; the read gives
 * the byte count, or -1. */
int c_test_write_file(const char* path, const void* bytes, size_t length);
long c_test_read_file(const char* path, void* bytes, size_t capacity);

/* Writes `text` (ASCII) to `path` as UTF-16LE with a byte-order mark, as the configuration
 * store's files are. */
int c_test_write_utf16_file(const char* path, const char* text);

/* The last line of a UTF-16LE text file holding only ASCII, without its CR LF, in `line`; 0 when
 * the file cannot be read or holds no line. */
int c_test_last_utf16_line(const char* path, char* line, size_t capacity);

/* Writes the log settings into Bin/TavroMedivane.cfg: the log goes to "logs/c_api.log" under the
 * test folder, each line "<level letter> <area> <file> <line> <message>[;DATA#<data>]", at
 * `level` and above. Main does it with "INFO" before every case, so that no log call waits for a
 * missing configuration. */
void c_test_configure_log(const char* level);

/* True when `line` is an ERROR entry of the C interface itself with `message`:
 * "E TavroMedivaneUtil_c .\TavroMedivaneUtil_c.cpp <line> <message>" (the line number is the
 * library's own business and is not compared). */
int c_test_is_c_api_report(const char* line, const char* message);

/* The path of the log file c_test_configure_log chose. */
const char* c_test_log_path(void);

#endif /* TAVROMEDIVANEUTIL_TESTS_C_API_C_TEST_H */

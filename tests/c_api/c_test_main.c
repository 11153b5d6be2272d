/* Runs one case of the C interface's tests, named on the command line, in a folder of its own. */
#if !defined(_WIN32)
#define _XOPEN_SOURCE 700
#endif

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "c_test.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

int c_test_failures = 0;

static char test_dir[1024];
static char log_path[1100];

#if defined(_WIN32)
static const char separator = '\\';
#else
static const char separator = '/';
#endif

void c_test_fail(const char* file, int line, const char* what) {
  fprintf(stderr, "%s:%d: check failed: %s\n", file, line, what);
  ++c_test_failures;
}

const char* c_test_dir(void) { return test_dir; }

const char* c_test_path(const char* name, char* buffer, size_t capacity) {
  size_t at;
  if ((size_t)snprintf(buffer, capacity, "%s%c%s", test_dir, separator, name) >= capacity) {
    fprintf(stderr, "path too long for its buffer: %s\n", name);
    exit(2);
  }
  for (at = strlen(test_dir); buffer[at] != '\0'; ++at) {
    if (buffer[at] == '/') buffer[at] = separator;
  }
  return buffer;
}

int c_test_write_file(const char* path, const void* bytes, size_t length) {
  FILE* file = fopen(path, "wb");
  int written;
  if (file == NULL) return 0;
  written = fwrite(bytes, 1, length, file) == length;
  return fclose(file) == 0 && written;
}

long c_test_read_file(const char* path, void* bytes, size_t capacity) {
  FILE* file = fopen(path, "rb");
  size_t read;
  if (file == NULL) return -1;
  read = fread(bytes, 1, capacity, file);
  fclose(file);
  return (long)read;
}

int c_test_write_utf16_file(const char* path, const char* text) {
  static unsigned char bytes[65536];
  size_t length = strlen(text);
  size_t i;
  if (2 + 2 * length > sizeof bytes) return 0;
  bytes[0] = 0xFF;
  bytes[1] = 0xFE;
  for (i = 0; i < length; ++i) {
    bytes[2 + 2 * i] = (unsigned char)text[i];
    bytes[3 + 2 * i] = 0;
  }
  return c_test_write_file(path, bytes, 2 + 2 * length);
}

int c_test_last_utf16_line(const char* path, char* line, size_t capacity) {
  static unsigned char bytes[1 << 20];
  static char text[1 << 19];
  long size = c_test_read_file(path, bytes, sizeof bytes);
  long i;
  size_t length = 0;
  char* end;
  char* start;
  if (size < 0) return 0;
  for (i = (size >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) ? 2 : 0; i + 1 < size; i += 2) {
    text[length++] = bytes[i + 1] == 0 && bytes[i] < 0x80 ? (char)bytes[i] : '?';
  }
  text[length] = '\0';
  if (length < 2 || strcmp(text + length - 2, "\r\n") != 0) return 0;
  end = text + length - 2;
  *end = '\0';
  start = end;
  while (start > text && start[-1] != '\n') --start;
  if ((size_t)(end - start) >= capacity) return 0;
  memcpy(line, start, (size_t)(end - start) + 1);
  return 1;
}

void c_test_configure_log(const char* level) {
  static char settings[4096];
  char logs[1100];
  char cfg[1100];
  snprintf(settings, sizeof settings,
           "/Tavro/MedivaneSDK/Logging/LogFileLocation=%s\r\n"
           "/Tavro/MedivaneSDK/Logging/LogFileName=c_api.log\r\n"
           "/Tavro/MedivaneSDK/Logging/DefaultLevel=%s\r\n"
           "/Tavro/MedivaneSDK/Logging/FormatString=%%L %%A %%f %%l %%m\r\n"
           "/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n"
           "/Tavro/MedivaneSDK/Logging/WriteErrorsToEventLog=false\r\n",
           c_test_path("logs", logs, sizeof logs), level);
  if (!c_test_write_utf16_file(c_test_path("Bin/TavroMedivane.cfg", cfg, sizeof cfg), settings)) {
    fprintf(stderr, "could not write %s\n", cfg);
    exit(2);
  }
  c_test_path("logs/c_api.log", log_path, sizeof log_path);
}

const char* c_test_log_path(void) { return log_path; }

int c_test_is_c_api_report(const char* line, const char* message) {
  static const char prefix[] = "E TavroMedivaneUtil_c .\\TavroMedivaneUtil_c.cpp ";
  const char* at = line;
  if (strncmp(at, prefix, sizeof prefix - 1) != 0) return 0;
  at += sizeof prefix - 1;
  if (*at < '1' || *at > '9') return 0;
  while (*at >= '0' && *at <= '9') ++at;
  return *at == ' ' && strcmp(at + 1, message) == 0;
}

#if defined(_WIN32)

static int make_folder(const char* path) { return CreateDirectoryA(path, NULL) != 0; }

static int set_variable(const char* name, const char* value) {
  return SetEnvironmentVariableA(name, value) != 0;
}

static int make_test_dir(void) {
  char temp[MAX_PATH];
  if (GetTempPathA(sizeof temp, temp) == 0) return 0;
  snprintf(test_dir, sizeof test_dir, "%stmu-c-%lu-%lu", temp, (unsigned long)GetCurrentProcessId(),
           (unsigned long)GetTickCount());
  return make_folder(test_dir);
}

static void remove_tree(const char* path) {
  char pattern[MAX_PATH + 4];
  char child[MAX_PATH * 2];
  WIN32_FIND_DATAA found;
  HANDLE search;
  snprintf(pattern, sizeof pattern, "%s\\*", path);
  search = FindFirstFileA(pattern, &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      if (strcmp(found.cFileName, ".") == 0 || strcmp(found.cFileName, "..") == 0) continue;
      snprintf(child, sizeof child, "%s\\%s", path, found.cFileName);
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        remove_tree(child);
      } else {
        DeleteFileA(child);
      }
    } while (FindNextFileA(search, &found));
    FindClose(search);
  }
  RemoveDirectoryA(path);
}

#else

static int make_folder(const char* path) { return mkdir(path, 0700) == 0; }

static int set_variable(const char* name, const char* value) { return setenv(name, value, 1) == 0; }

static int make_test_dir(void) {
  const char* temp = getenv("TMPDIR");
  snprintf(test_dir, sizeof test_dir, "%s/tmu-c-XXXXXX", temp != NULL && temp[0] != '\0' ? temp : "/tmp");
  return mkdtemp(test_dir) != NULL;
}

static int remove_entry(const char* path, const struct stat* status, int type, struct FTW* walk) {
  (void)status;
  (void)type;
  (void)walk;
  return remove(path);
}

static void remove_tree(const char* path) { nftw(path, remove_entry, 16, FTW_DEPTH | FTW_PHYS); }

#endif

/* Every file's cases, in the order --list gives them. */
static const c_test_case* const case_tables[] = {c_general_cases, c_checksum_cases, c_config_cases,
                                                 c_log_cases,     c_button_cases,   c_key_cases,
                                                 c_image_cases,   c_sound_cases,    c_dialog_cases};

/* The case called `name`, or with `name` null every case printed; null when none is found. */
static const c_test_case* find_or_list(const char* name) {
  size_t t;
  const c_test_case* entry;
  for (t = 0; t < sizeof case_tables / sizeof case_tables[0]; ++t) {
    for (entry = case_tables[t]; entry->name != NULL; ++entry) {
      if (name == NULL) {
        printf("%s\n", entry->name);
      } else if (strcmp(entry->name, name) == 0) {
        return entry;
      }
    }
  }
  return NULL;
}

int main(int argc, char** argv) {
  const c_test_case* chosen;
  char folder[1100];
  if (argc == 2 && strcmp(argv[1], "--list") == 0) {
    find_or_list(NULL);
    return 0;
  }
  if (argc != 2 || (chosen = find_or_list(argv[1])) == NULL) {
    fprintf(stderr, "usage: c_api_test CASE (or --list)\n");
    return 2;
  }
  if (!make_test_dir() || !make_folder(c_test_path("Bin", folder, sizeof folder)) ||
      !make_folder(c_test_path("logs", folder, sizeof folder)) ||
      !make_folder(c_test_path("xdg", folder, sizeof folder)) || !set_variable("KVO_INSTALL_DIR", test_dir) ||
      !set_variable("XDG_CONFIG_HOME", c_test_path("xdg", folder, sizeof folder))) {
    fprintf(stderr, "could not make the test folder %s\n", test_dir);
    return 2;
  }
  c_test_configure_log("INFO");
  chosen->run();
  remove_tree(test_dir);
  if (c_test_failures != 0) {
    fprintf(stderr, "%s: %d check(s) failed\n", chosen->name, c_test_failures);
    return 1;
  }
  printf("%s: passed\n", chosen->name);
  return 0;
}

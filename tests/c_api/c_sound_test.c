/* Sound events through the C interface: the scheme as the store holds it, and the names. */
#include "c_test.h"

#if defined(_WIN32)
#include <windows.h>
#endif

static const char error_key[] = "AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error\\.Current";
static const char error_path[] = "%KVO_INSTALL_DIR%Sounds\\Error.wav";

/* The ".Current" value of "Error" as the store holds it, in `value`; 0 when there is none. */
static int stored_error_value(char* value, size_t capacity) {
#if defined(_WIN32)
  HKEY key;
  DWORD type = 0;
  DWORD size = (DWORD)capacity;
  LONG status;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, error_key, 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
  status = RegQueryValueExA(key, NULL, NULL, &type, (BYTE*)value, &size);
  RegCloseKey(key);
  return status == ERROR_SUCCESS && type == REG_EXPAND_SZ;
#else
  /* The Linux store: one UTF-16LE file; the value stands after its section's header. */
  static unsigned char bytes[1 << 16];
  static char text[1 << 15];
  char path[1100];
  const char* section;
  const char* line;
  long size = c_test_read_file(c_test_path("xdg/TavroMedivane/sound-scheme.ini", path, sizeof path), bytes,
                               sizeof bytes);
  long i;
  size_t length = 0;
  size_t end;
  if (size < 0) return 0;
  for (i = 2; i + 1 < size; i += 2) text[length++] = bytes[i + 1] == 0 ? (char)bytes[i] : '?';
  text[length] = '\0';
  section = strstr(text, "[AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error\\.Current]\r\n");
  if (section == NULL) return 0;
  line = strstr(section, "@=REG_EXPAND_SZ:");
  if (line == NULL) return 0;
  line += strlen("@=REG_EXPAND_SZ:");
  end = strcspn(line, "\r\n");
  if (end >= capacity) return 0;
  memcpy(value, line, end);
  value[end] = '\0';
  return 1;
#endif
}

static void register_writes_the_scheme_and_unregister_removes_it(void) {
  char value[512];
  CHECK_INT(TMU_OK, tmu_sound_register());
  CHECK(stored_error_value(value, sizeof value));
  CHECK_STR(error_path, value);
  CHECK_INT(TMU_OK, tmu_sound_unregister());
  CHECK(!stored_error_value(value, sizeof value));
  (void)error_key;
}

static void play_gives_ok_for_an_event_and_for_a_value_outside_the_table(void) {
  CHECK_INT(TMU_OK, tmu_sound_register());
  CHECK_INT(TMU_OK, tmu_sound_play(1, 1));
  CHECK_INT(TMU_OK, tmu_sound_play(27, 0));
  CHECK_INT(TMU_OK, tmu_sound_unregister());
}

static void events_are_found_by_their_scheme_names(void) {
  int32_t event = -1;
  CHECK_INT(TMU_OK, tmu_sound_event_by_name("Error", &event));
  CHECK_INT(1, event);
  CHECK_INT(TMU_OK, tmu_sound_event_by_name(".Default", &event));
  CHECK_INT(0, event);
  /* Two events share this name: the lower number. */
  CHECK_INT(TMU_OK, tmu_sound_event_by_name("Barcode Scan Stop Found", &event));
  CHECK_INT(15, event);
  CHECK_INT(TMU_OK, tmu_sound_event_by_name("Inappropriate Button Click", &event));
  CHECK_INT(26, event);
  event = -1;
  CHECK_INT(TMU_NOT_FOUND, tmu_sound_event_by_name("error", &event));
  CHECK_INT(-1, event);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_sound_event_by_name(NULL, &event));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_sound_event_by_name("Error", NULL));
}

const c_test_case c_sound_cases[] = {
    {"sound_register_writes_the_scheme_and_unregister_removes_it",
     register_writes_the_scheme_and_unregister_removes_it},
    {"sound_play_gives_ok_for_an_event_and_for_a_value_outside_the_table",
     play_gives_ok_for_an_event_and_for_a_value_outside_the_table},
    {"sound_events_are_found_by_their_scheme_names", events_are_found_by_their_scheme_names},
    {NULL, NULL}};

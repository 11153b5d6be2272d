/* The button registries through the C interface. */
#include "c_test.h"

static void* window(uintptr_t value) { return (void*)value; }

static void window_registry_adds_gets_reports_and_removes(void) {
  tmu_button_list* list = NULL;
  tmu_button_action first = {NULL, 2, 7, 11, 12};
  tmu_button_action second = {NULL, 1, -3, 21, 22};
  tmu_button_action other = {NULL, 1, 9, 0, 0};
  tmu_button_action found;
  tmu_button_action all[2];
  size_t count = 0;
  size_t length = 0;
  char report[256];
  first.window = second.window = window(0x1234);
  other.window = window(0xABC);
  CHECK_INT(TMU_OK, tmu_button_list_create(&list));
  CHECK_INT(TMU_OK, tmu_button_list_add(list, &first));
  CHECK_INT(TMU_OK, tmu_button_list_add(list, &second));
  CHECK_INT(TMU_OK, tmu_button_list_add(list, &other));
  CHECK_INT(3, tmu_button_list_count(list));
  /* A key that has an entry keeps it: remove it first to replace it. */
  first.button_action = 8;
  CHECK_INT(TMU_FAILED, tmu_button_list_add(list, &first));
  first.button_action = 7;
  CHECK_INT(3, tmu_button_list_count(list));

  CHECK_INT(TMU_OK, tmu_button_list_get(list, window(0x1234), 2, &found));
  CHECK(found.window == window(0x1234));
  CHECK_INT(2, found.button_type);
  CHECK_INT(7, found.button_action);
  CHECK_INT(11, found.action_data1);
  CHECK_INT(12, found.action_data2);
  CHECK_INT(TMU_NOT_FOUND, tmu_button_list_get(list, window(0x1234), 3, &found));

  /* Every entry of one window, in button-type order. */
  CHECK_INT(TMU_OK, tmu_button_list_get_all(list, window(0x1234), all, 2, &count));
  CHECK_INT(2, count);
  CHECK_INT(1, all[0].button_type);
  CHECK_INT(-3, all[0].button_action);
  CHECK_INT(2, all[1].button_type);
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_button_list_get_all(list, window(0x1234), all, 1, &count));
  CHECK_INT(2, count);

  CHECK_INT(TMU_OK, tmu_button_list_report(list, report, sizeof report, &length));
  CHECK_STR(
      "Total Actions: 3\n"
      "HWND: 0000000000000ABC, Button Type: 1, Button Action: 9\n"
      "HWND: 0000000000001234, Button Type: 1, Button Action: -3\n"
      "HWND: 0000000000001234, Button Type: 2, Button Action: 7\n",
      report);
  CHECK_INT(strlen(report), length);
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_button_list_report(list, report, 10, &length));
  CHECK_INT(189, length);

  CHECK_INT(TMU_OK, tmu_button_list_remove(list, window(0x1234), 2));
  CHECK_INT(TMU_NOT_FOUND, tmu_button_list_remove(list, window(0x1234), 2));
  CHECK_INT(2, tmu_button_list_count(list));
  tmu_button_list_destroy(list);
  tmu_button_list_destroy(NULL);
}

static void window_registry_checks_its_arguments(void) {
  tmu_button_list* list = NULL;
  tmu_button_action action = {NULL, 1, 1, 0, 0};
  size_t count = 0;
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_create(NULL));
  CHECK_INT(TMU_OK, tmu_button_list_create(&list));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_add(NULL, &action));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_add(list, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_get(list, NULL, 1, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_get_all(list, NULL, NULL, 1, &count));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_report(list, NULL, 0, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_list_remove(NULL, NULL, 1));
  CHECK_INT(0, tmu_button_list_count(NULL));
  /* An empty registry reports its header line; a null buffer asks for the length. */
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_button_list_report(list, NULL, 0, &count));
  CHECK_INT(17, count);
  tmu_button_list_destroy(list);
}

static void process_registry_adds_gets_reports_and_removes(void) {
  tmu_button_pid_list* list = NULL;
  tmu_button_pid_action a = {4000000000u, 3, 5, 1, 2};
  tmu_button_pid_action b = {17, 1, 6, 3, 4};
  tmu_button_pid_action c = {17, 2, 8, 5, 6};
  tmu_button_pid_action found;
  tmu_button_pid_action all[3];
  size_t count = 0;
  size_t length = 0;
  char report[256];
  CHECK_INT(TMU_OK, tmu_button_pid_list_create(&list));
  CHECK_INT(TMU_OK, tmu_button_pid_list_add(list, &a));
  CHECK_INT(TMU_OK, tmu_button_pid_list_add(list, &c));
  CHECK_INT(TMU_OK, tmu_button_pid_list_add(list, &b));
  CHECK_INT(3, tmu_button_pid_list_count(list));
  CHECK_INT(TMU_FAILED, tmu_button_pid_list_add(list, &b));
  CHECK_INT(TMU_OK, tmu_button_pid_list_get(list, 4000000000u, 3, &found));
  CHECK_INT(4000000000u, found.pid);
  CHECK_INT(5, found.button_action);
  CHECK_INT(1, found.action_data1);
  CHECK_INT(2, found.action_data2);
  CHECK_INT(TMU_NOT_FOUND, tmu_button_pid_list_get(list, 18, 1, &found));

  CHECK_INT(TMU_OK, tmu_button_pid_list_get_all(list, 17, all, 3, &count));
  CHECK_INT(2, count);
  CHECK_INT(1, all[0].button_type);
  CHECK_INT(2, all[1].button_type);
  CHECK_INT(TMU_OK, tmu_button_pid_list_get_every(list, all, 3, &count));
  CHECK_INT(3, count);
  CHECK_INT(17, all[0].pid);
  CHECK_INT(17, all[1].pid);
  CHECK_INT(4000000000u, all[2].pid);
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_button_pid_list_get_every(list, all, 2, &count));
  CHECK_INT(3, count);

  CHECK_INT(TMU_OK, tmu_button_pid_list_report(list, report, sizeof report, &length));
  CHECK_STR(
      "Total Actions: 3\n"
      "PID: 17, Button Type: 1, Button Action: 6\n"
      "PID: 17, Button Type: 2, Button Action: 8\n"
      "PID: 4000000000, Button Type: 3, Button Action: 5\n",
      report);
  CHECK_INT(TMU_OK, tmu_button_pid_list_remove(list, 17, 1));
  CHECK_INT(TMU_NOT_FOUND, tmu_button_pid_list_remove(list, 17, 1));
  CHECK_INT(2, tmu_button_pid_list_count(list));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_create(NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_add(list, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_get(list, 17, 1, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_get_all(list, 17, NULL, 1, &count));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_get_every(list, NULL, 1, &count));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_report(NULL, report, sizeof report, &length));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_button_pid_list_remove(NULL, 17, 1));
  CHECK_INT(0, tmu_button_pid_list_count(NULL));
  tmu_button_pid_list_destroy(list);
  tmu_button_pid_list_destroy(NULL);
}

static void a_long_report_is_whole(void) {
  /* 200 entries: a report of 8819 characters, sized from the count. */
  tmu_button_pid_list* list = NULL;
  tmu_button_pid_action action = {0, 1, 1, 0, 0};
  static char report[16384];
  size_t length = 0;
  uint32_t pid;
  CHECK_INT(TMU_OK, tmu_button_pid_list_create(&list));
  for (pid = 1000; pid < 1200; ++pid) {
    action.pid = pid;
    CHECK_INT(TMU_OK, tmu_button_pid_list_add(list, &action));
  }
  CHECK_INT(TMU_OK, tmu_button_pid_list_report(list, report, sizeof report, &length));
  /* "Total Actions: 200\n" and 200 lines "PID: 1xxx, Button Type: 1, Button Action: 1\n" of 44. */
  CHECK_INT(19 + 200 * 44, length);
  CHECK(strncmp(report + length - 44, "PID: 1199, Button Type: 1, Button Action: 1\n", 44) == 0);
  tmu_button_pid_list_destroy(list);
}

static void a_report_of_the_longest_lines_is_whole(void) {
  /* 300 entries whose lines are as long as lines get: 16 hexadecimal digits and two numbers of
   * eleven characters, 77 characters a line. */
  tmu_button_list* list = NULL;
  tmu_button_action action = {NULL, 0, INT32_MIN, 0, 0};
  static char report[32768];
  static const char last[] = "HWND: FFFFFFFFFFFFFFFF, Button Type: -2147483349, Button Action: -2147483648\n";
  size_t length = 0;
  int32_t i;
  CHECK_INT(TMU_OK, tmu_button_list_create(&list));
  action.window = (void*)UINTPTR_MAX;
  for (i = 0; i < 300; ++i) {
    action.button_type = INT32_MIN + i;
    CHECK_INT(TMU_OK, tmu_button_list_add(list, &action));
  }
  CHECK_INT(TMU_OK, tmu_button_list_report(list, report, sizeof report, &length));
  CHECK_INT(19 + 300 * 77, length);
  CHECK_INT(77, sizeof last - 1);
  CHECK(strncmp(report + length - 77, last, 77) == 0);
  tmu_button_list_destroy(list);
}

const c_test_case c_button_cases[] = {
    {"buttons_window_registry_adds_gets_reports_and_removes", window_registry_adds_gets_reports_and_removes},
    {"buttons_window_registry_checks_its_arguments", window_registry_checks_its_arguments},
    {"buttons_process_registry_adds_gets_reports_and_removes",
     process_registry_adds_gets_reports_and_removes},
    {"buttons_a_long_report_is_whole", a_long_report_is_whole},
    {"buttons_a_report_of_the_longest_lines_is_whole", a_report_of_the_longest_lines_is_whole},
    {NULL, NULL}};

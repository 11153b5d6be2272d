/* Key press strings through the C interface. */
#include "c_test.h"

static void validate_accepts_chords_and_refuses_unknown_names(void) {
  CHECK_INT(TMU_KPS_OK, tmu_keys_validate("{CONTROL}+{ALT}+d", "CKeys"));
  CHECK_INT(TMU_KPS_OK, tmu_keys_validate("", "CKeys"));
  CHECK_INT(TMU_KPS_INVALID_FORMAT, tmu_keys_validate("{NOPE}", "CKeys"));
  CHECK_INT(TMU_KPS_INVALID_FORMAT, tmu_keys_validate("a b", "CKeys"));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_keys_validate(NULL, "CKeys"));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_keys_validate("a", NULL));
}

static void records_go_down_in_order_then_up_in_order(void) {
  /* Virtual keys and US scan codes: CONTROL 0x11/29, ALT (MENU) 0x12/56, D 0x44/32. */
  static const tmu_key_record expected[6] = {{0x11, 29, 0}, {0x12, 56, 0}, {0x44, 32, 0},
                                             {0x11, 29, 2}, {0x12, 56, 2}, {0x44, 32, 2}};
  tmu_key_record records[8];
  size_t count = 0;
  size_t i;
  CHECK_INT(TMU_KPS_OK, tmu_keys_records("{CONTROL}+{ALT}+d", 0, "CKeys", records, 8, &count));
  CHECK_INT(6, count);
  for (i = 0; i < 6 && i < count; ++i) {
    CHECK_INT(expected[i].virtual_key, records[i].virtual_key);
    CHECK_INT(expected[i].scan_code, records[i].scan_code);
    CHECK_INT(expected[i].flags, records[i].flags);
  }
  CHECK_INT(TMU_BUFFER_TOO_SMALL, tmu_keys_records("{CONTROL}+{ALT}+d", 0, "CKeys", records, 5, &count));
  CHECK_INT(6, count);
  CHECK_INT(TMU_KPS_OK, tmu_keys_records("", 0, "CKeys", NULL, 0, &count));
  CHECK_INT(0, count);
}

static void a_string_that_does_not_parse_gives_no_records(void) {
  tmu_key_record records[4];
  size_t count = 9;
  CHECK_INT(TMU_KPS_INVALID_FORMAT, tmu_keys_records("{NOPE}", 0, "CKeys", records, 4, &count));
  CHECK_INT(0, count);
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_keys_records("a", 0, "CKeys", NULL, 4, &count));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_keys_records("a", 0, "CKeys", records, 4, NULL));
}

static void records_of_a_configuration_key_follow_its_value(void) {
  tmu_config* config = NULL;
  tmu_key_record records[4];
  size_t count = 0;
  /* The simulator reads the default configuration: give it a key there. */
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_open_default(0, 1, &config));
  CHECK_INT(TMU_CFG_SUCCESS, tmu_config_set(config, "/Tavro/Keys/Save", "s"));
  tmu_config_close(config);
  CHECK_INT(TMU_KPS_OK, tmu_keys_records("/Tavro/Keys/Save", 1, "CKeys", records, 4, &count));
  CHECK_INT(2, count);
  CHECK_INT(0x53, records[0].virtual_key);
  CHECK_INT(0, records[0].flags);
  CHECK_INT(0x53, records[1].virtual_key);
  CHECK_INT(2, records[1].flags);
  /* A missing key means no keystrokes. */
  CHECK_INT(TMU_KPS_OK, tmu_keys_records("/Tavro/Keys/Missing", 1, "CKeys", records, 4, &count));
  CHECK_INT(0, count);
}

static void send_hands_the_records_to_the_system(void) {
  CHECK_INT(TMU_KPS_OK, tmu_keys_send("", 0, "CKeys"));
  CHECK_INT(TMU_KPS_INVALID_FORMAT, tmu_keys_send("{NOPE}", 0, "CKeys"));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_keys_send(NULL, 0, "CKeys"));
#if defined(_WIN32)
  CHECK_INT(TMU_KPS_OK, tmu_keys_send("{SHIFT}", 0, "CKeys"));
#else
  /* Linux has no input back end. */
  CHECK_INT(TMU_KPS_SEND_FAILED, tmu_keys_send("{SHIFT}", 0, "CKeys"));
#endif
}

const c_test_case c_key_cases[] = {
    {"keys_validate_accepts_chords_and_refuses_unknown_names",
     validate_accepts_chords_and_refuses_unknown_names},
    {"keys_records_go_down_in_order_then_up_in_order", records_go_down_in_order_then_up_in_order},
    {"keys_a_string_that_does_not_parse_gives_no_records", a_string_that_does_not_parse_gives_no_records},
    {"keys_records_of_a_configuration_key_follow_its_value", records_of_a_configuration_key_follow_its_value},
    {"keys_send_hands_the_records_to_the_system", send_hands_the_records_to_the_system},
    {NULL, NULL}};

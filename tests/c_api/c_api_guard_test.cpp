// The C interface's guard, seen from inside the library: nothing thrown below an entry point leaves
// it, running out of memory anywhere gives TMU_OUT_OF_MEMORY, and every refusal is reported with
// its area, level and source file exactly.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "logging/library_log.h"
#include "support/allocation_failures.h"
#include "support/private_install_dir.h"

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using testing::AllocationsUntilFailure;
using testing::FailNthAllocation;

std::vector<std::wstring> Lines(const ReportRecorderForTesting& recorder) {
  std::vector<std::wstring> lines;
  for (const auto& entry : recorder.Entries()) {
    lines.push_back(entry.area + L"|" + std::to_wstring(entry.level) + L"|" + entry.file + L"|" +
                    entry.message);
  }
  return lines;
}

TEST(CApiGuard, AnExceptionBecomesAnInternalErrorAndIsReported) {
  ReportRecorderForTesting recorder;
  EXPECT_EQ(c_api::Guarded("tmu_example", []() -> tmu_status { throw std::runtime_error("boom"); }),
            TMU_INTERNAL_ERROR);
  EXPECT_EQ(c_api::Guarded("tmu_example", []() -> tmu_status { throw 42; }), TMU_INTERNAL_ERROR);
  EXPECT_EQ(c_api::GuardedValue("tmu_value", 7, []() -> int { throw std::logic_error("bad"); }), 7);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_example: boom",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_example: unknown exception",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_value: bad",
            }));
}

TEST(CApiGuard, RunningOutOfMemoryIsReportedAsSuchAndNotLogged) {
  ReportRecorderForTesting recorder;
  EXPECT_EQ(c_api::Guarded("tmu_example", []() -> tmu_status { throw std::bad_alloc(); }), TMU_OUT_OF_MEMORY);
  EXPECT_TRUE(recorder.Entries().empty());
}

TEST(CApiGuard, EveryRefusedArgumentIsReportedWithItsName) {
  ReportRecorderForTesting recorder;
  std::size_t length = 0;
  EXPECT_EQ(tmu_log(TMU_LOG_INFO, "A", "m", nullptr, nullptr, 1), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_keys_validate("\xF5\x80\x80\x80", "A"), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_button_list_report(nullptr, nullptr, 0, &length), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_image_convert("x", 1, TMU_IMAGE_PNG, nullptr, 0, nullptr, &length), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_crc32(nullptr, 3), 0u);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_log: file is null",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_keys_validate: keys is not UTF-8",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_button_list_report: list is null",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_image_convert: output is null",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_crc32: data is null",
            }));
}

TEST(CApiGuard, UtfEightIsCheckedByTheRulesOfUnicode) {
  using c_api::IsWellFormedUtf8;
  const auto ok = [](const std::string& text) { return IsWellFormedUtf8(text.data(), text.size()); };
  EXPECT_TRUE(ok(""));
  EXPECT_TRUE(ok("\x7F"));
  EXPECT_TRUE(ok("\xC2\x80"));           // U+0080, the first two-byte character
  EXPECT_TRUE(ok("\xE0\xA0\x80"));       // U+0800
  EXPECT_TRUE(ok("\xED\x9F\xBF"));       // U+D7FF, just below the surrogates
  EXPECT_TRUE(ok("\xEE\x80\x80"));       // U+E000, just above them
  EXPECT_TRUE(ok("\xF0\x90\x80\x80"));   // U+10000
  EXPECT_TRUE(ok("\xF4\x8F\xBF\xBF"));   // U+10FFFF, the last character
  EXPECT_FALSE(ok("\x80"));              // a continuation byte alone
  EXPECT_FALSE(ok("\xC1\xBF"));          // overlong U+007F
  EXPECT_FALSE(ok("\xE0\x9F\xBF"));      // overlong U+07FF
  EXPECT_FALSE(ok("\xED\xA0\x80"));      // U+D800, a surrogate
  EXPECT_FALSE(ok("\xF0\x8F\xBF\xBF"));  // overlong U+FFFF
  EXPECT_FALSE(ok("\xF4\x90\x80\x80"));  // U+110000
  EXPECT_FALSE(ok("\xF5\x80\x80\x80"));  // a lead byte that never starts a sequence
  EXPECT_FALSE(ok("\xE2\x82"));          // cut short by the end
  EXPECT_FALSE(ok("\xE2\x82x"));         // cut short by a byte that does not continue it
  EXPECT_FALSE(ok(std::string("a\0b", 3).substr(0, 1) + "\xFF"));
}

// Each entry point, with the n-th allocation of the call failing for every n up to the first call
// that needs fewer: the result is TMU_OUT_OF_MEMORY or the ordinary one, and the next call, with
// memory back, gives the ordinary result.
class CApiOutOfMemory : public ::testing::Test {
 protected:
  template <typename Call>
  void SweepAllocations(tmu_status ordinary, Call&& call) {
    for (int n = 1; n < 10000; ++n) {
      SCOPED_TRACE(n);
      FailNthAllocation(n);
      const tmu_status status = call();
      const bool reached = AllocationsUntilFailure() == 0;
      FailNthAllocation(0);
      if (!reached) {
        EXPECT_EQ(status, ordinary);
        EXPECT_GT(n, 1) << "the call allocates nothing";
        return;
      }
      EXPECT_TRUE(status == TMU_OUT_OF_MEMORY || status == ordinary) << status;
      EXPECT_EQ(call(), ordinary);
    }
    ADD_FAILURE() << "the call never finished without reaching the failing allocation";
  }

  testing::PrivateInstallDir install;
};

TEST_F(CApiOutOfMemory, ConfigurationCalls) {
  tmu_config* config = nullptr;
  ASSERT_EQ(tmu_config_open_default(0, 0, &config), TMU_CFG_SUCCESS);
  char value[64];
  std::size_t length = 0;
  SweepAllocations(TMU_CFG_SUCCESS, [&] {
    return tmu_config_get_text(config, "/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum", value, sizeof value,
                               &length);
  });
  char* pairs = nullptr;
  std::size_t count = 0;
  SweepAllocations(TMU_CFG_SUCCESS, [&] {
    const tmu_status status = tmu_config_section(config, "/Tavro", &pairs, &count);
    tmu_free(pairs);
    return status;
  });
  tmu_config_close(config);
  SweepAllocations(TMU_CFG_SUCCESS, [&] {
    tmu_config* opened = nullptr;
    const tmu_status status = tmu_config_open_default(0, 0, &opened);
    tmu_config_close(opened);
    return status;
  });
}

TEST_F(CApiOutOfMemory, RegistriesKeysAndChecksums) {
  tmu_button_pid_list* list = nullptr;
  ASSERT_EQ(tmu_button_pid_list_create(&list), TMU_OK);
  const tmu_button_pid_action action{5, 1, 2, 3, 4};
  ASSERT_EQ(tmu_button_pid_list_add(list, &action), TMU_OK);
  char report[256];
  std::size_t length = 0;
  SweepAllocations(TMU_OK, [&] { return tmu_button_pid_list_report(list, report, sizeof report, &length); });
  tmu_button_pid_list_destroy(list);
  tmu_key_record records[8];
  std::size_t count = 0;
  SweepAllocations(TMU_KPS_OK, [&] { return tmu_keys_records("{CONTROL}+c", 0, "A", records, 8, &count); });
  EXPECT_EQ(count, 4u);
}

TEST_F(CApiOutOfMemory, TheFirstAllocationOfEachCallGivesOutOfMemory) {
  tmu_config* config = nullptr;
  FailNthAllocation(1);
  EXPECT_EQ(tmu_config_open_default(0, 0, &config), TMU_OUT_OF_MEMORY);
  EXPECT_EQ(config, nullptr);
  FailNthAllocation(1);
  tmu_button_list* list = nullptr;
  EXPECT_EQ(tmu_button_list_create(&list), TMU_OUT_OF_MEMORY);
  EXPECT_EQ(list, nullptr);
  FailNthAllocation(1);
  EXPECT_EQ(tmu_keys_validate("a", "A"), TMU_OUT_OF_MEMORY);
  FailNthAllocation(1);
  EXPECT_EQ(tmu_log(TMU_LOG_INFO, "A", "m", nullptr, "f", 1), TMU_OUT_OF_MEMORY);
  FailNthAllocation(0);
}

}  // namespace
}  // namespace Tavro_KVO_Util

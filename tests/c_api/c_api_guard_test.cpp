// The C interface's guard, seen from inside the library: nothing thrown below an entry point leaves
// it, running out of memory anywhere gives TMU_OUT_OF_MEMORY, and every refusal is reported with
// its area, level and source file exactly.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "image/destination_copy.h"
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

TEST(CApiGuard, ANullImageSourceIsARefusedArgument) {
  testing::PrivateInstallDir install;
  ReportRecorderForTesting recorder;
  std::uint8_t* output = nullptr;
  std::size_t length = 7;
  EXPECT_EQ(tmu_image_convert(nullptr, 10, TMU_IMAGE_PNG, nullptr, 0, &output, &length),
            TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_image_resize(nullptr, 10, 2, 2, &output, &length), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(tmu_image_to_clipboard(nullptr, 10), TMU_INVALID_ARGUMENT);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_image_convert: source is null",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_image_resize: source is null",
                L"TavroMedivaneUtil_c|2|.\\TavroMedivaneUtil_c.cpp|tmu_image_to_clipboard: source is null",
            }));
}

// The class says only false when its output cannot be allocated; the C layer tells that path by
// the length the class stores before the allocation, and gives TMU_OUT_OF_MEMORY.
TEST(CApiGuard, AnImageOutputThatCannotBeAllocatedIsOutOfMemory) {
  testing::PrivateInstallDir install;
  // One red pixel, 24 bits, its row padded to four bytes.
  std::vector<std::uint8_t> bmp(58, 0);
  const auto put32 = [&](std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bmp[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
  };
  bmp[0] = 'B';
  bmp[1] = 'M';
  put32(2, 58);   // file size
  put32(10, 54);  // pixels start
  put32(14, 40);  // information header size
  put32(18, 1);   // width
  put32(22, 1);   // height
  bmp[26] = 1;    // planes
  bmp[28] = 24;   // bits per pixel
  put32(34, 4);   // image size
  bmp[56] = 255;  // red
  // Each call on a thread of its own: on Windows that path leaves the thread's compound file in
  // place until the process ends (as it always has), so a later call on the same thread could not
  // create it again.
  const auto onItsOwnThread = [](auto call) {
    tmu_status status = TMU_INTERNAL_ERROR;
    std::thread([&] { status = call(); }).join();
    return status;
  };
  ReportRecorderForTesting recorder;
  std::uint8_t* output = nullptr;
  std::size_t length = 7;
  {
    internal::DestinationAllocationFailureForTesting noMemory;
    EXPECT_EQ(onItsOwnThread([&] {
                return tmu_image_convert(bmp.data(), bmp.size(), TMU_IMAGE_PNG, nullptr, 0, &output, &length);
              }),
              TMU_OUT_OF_MEMORY);
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(
        onItsOwnThread([&] { return tmu_image_resize(bmp.data(), bmp.size(), 4, 4, &output, &length); }),
        TMU_OUT_OF_MEMORY);
  }
  std::vector<std::wstring> errors;
  for (const auto& entry : recorder.Entries()) {
    if (entry.level == 2) errors.push_back(entry.area + L"|" + entry.message);
  }
  EXPECT_EQ(errors,
            (std::vector<std::wstring>{L"ImageUtil::SetImageFormat|Destination buffer is NULL!",
                                       L"ImageUtil::SetImageDimensions|Destination buffer is NULL!"}));
  // With memory back the same call converts.
  EXPECT_EQ(onItsOwnThread([&] {
              return tmu_image_convert(bmp.data(), bmp.size(), TMU_IMAGE_PNG, nullptr, 0, &output, &length);
            }),
            TMU_OK);
  EXPECT_GT(length, 8u);
  tmu_free(output);
  // A failure that is not about memory stays TMU_FAILED.
  const std::uint8_t junk[16] = {1, 2, 3};
  EXPECT_EQ(onItsOwnThread([&] {
              return tmu_image_convert(junk, sizeof junk, TMU_IMAGE_PNG, nullptr, 0, &output, &length);
            }),
            TMU_FAILED);
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

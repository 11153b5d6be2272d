// Formats whose widths and precisions ask for gigabytes, through the real exports (the DLL under
// Wine): MV_LogFmt and Logger::LogFmt log "LogFmtVA() failed, String too large." at once, and the
// log takes the next ordinary entry as usual.
//
// The logger fixes its folder for the life of the process once it has read it, so every test of
// the program logs into one private folder, made on first use with KVO_INSTALL_DIR pointing at
// it; each test looks only at the lines it added.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "Logger.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/log_lines.h"

namespace Tavro_KVO_Util {
namespace {

namespace support = testing;

constexpr wchar_t kArea[] = L"H";
constexpr wchar_t kFile[] = L".\\x";
constexpr wchar_t kTooLarge[] = L"E H LogFmtVA() failed, String too large.";
constexpr wchar_t kOrdinary[] = L"I H after the hostile format 1";

class PrivateLogFolder {
 public:
  static PrivateLogFolder& Get() {
    static PrivateLogFolder folder;
    return folder;
  }
  std::filesystem::path LogFile() const { return mRoot / "logs" / "hostile.log"; }

 private:
  PrivateLogFolder()
      : mRoot(std::filesystem::temp_directory_path() /
              ("tavro-hostile-format-" + std::to_string(std::random_device()()))),
        mInstallDir("KVO_INSTALL_DIR", mRoot.string()) {
    std::filesystem::create_directories(mRoot / "Bin");
    std::filesystem::create_directories(mRoot / "logs");
    // Every logging key, so that no read fails: entries are "%L %A %m", free space is never short.
    const std::wstring settings[][2] = {{L"MaxLogFileBackups", L"5"},
                                        {L"MaxLogFileSize", L"10000000"},
                                        {L"LogFileLocation", (mRoot / "logs").wstring()},
                                        {L"DefaultLevel", L"DEBUG"},
                                        {L"SysDefaultLevel", L"FATAL"},
                                        {L"LogFileName", L"hostile.log"},
                                        {L"FreeSpaceMinimum", L"0"},
                                        {L"ThresholdExceeded", L"deleteOld"},
                                        {L"FormatString", L"%L %A %m"},
                                        {L"WriteErrorsToEventLog", L"false"},
                                        {L"DebugAreas", L"NoSuchArea"}};
    std::wstring text;
    for (const auto& setting : settings) {
      text.append(L"/Tavro/MedivaneSDK/Logging/").append(setting[0]).append(L"=").append(setting[1]);
      text.append(L"\r\n");
    }
    support::WriteBytes(mRoot / "Bin" / "TavroMedivane.cfg", support::Utf16LeBytes(text));
  }
  ~PrivateLogFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mRoot, ignored);
  }

  std::filesystem::path mRoot;
  support::ScopedEnvironmentVariable mInstallDir;
};

// The log's lines from the `skip`-th on.
std::vector<std::wstring> LinesAfter(std::size_t skip) {
  const std::filesystem::path file = PrivateLogFolder::Get().LogFile();
  std::vector<std::wstring> lines;
  if (std::filesystem::exists(file)) lines = support::ReadLogLines(file);
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(skip, lines.size())));
  return lines;
}

enum class Route { kMvLogFmt, kLoggerLogFmt };

template <typename... Args>
void LogAtLevelTwo(Route route, const wchar_t* format, Args... args) {
  if (route == Route::kMvLogFmt) {
    MV_LogFmt(kArea, 2, kFile, 1, format, args...);
  } else {
    Logger::GetInstance()->LogFmt(kArea, 2, kFile, 1, format, args...);
  }
}

struct HostileFormat {
  const char* name;
  void (*log)(Route route);
};

// For failure messages.
void PrintTo(const HostileFormat& hostile, std::ostream* out) { *out << hostile.name; }
void PrintTo(Route route, std::ostream* out) {
  *out << (route == Route::kMvLogFmt ? "MV_LogFmt" : "Logger::LogFmt");
}

const HostileFormat kHostileFormats[] = {
    {"PrecisionIntMaxF", [](Route r) { LogAtLevelTwo(r, L"%.2147483647f", 1.5); }},
    {"StarPrecisionIntMaxF", [](Route r) { LogAtLevelTwo(r, L"%.*f", INT_MAX, 1.5); }},
    {"WidthIntMaxD", [](Route r) { LogAtLevelTwo(r, L"%2147483647d", 1); }},
    {"StarWidthIntMaxD", [](Route r) { LogAtLevelTwo(r, L"%*d", INT_MAX, 1); }},
    {"WidthTwoBillionS", [](Route r) { LogAtLevelTwo(r, L"%2000000000s", L"x"); }},
    {"LeftWidthNearIntMaxD", [](Route r) { LogAtLevelTwo(r, L"%-2147483640d", 1); }},
    {"PrecisionIntMaxE", [](Route r) { LogAtLevelTwo(r, L"%.2147483647e", 1.5); }},
    {"AlternatePrecisionIntMaxG", [](Route r) { LogAtLevelTwo(r, L"%#.2147483647g", 1.5); }},
    {"PrecisionIntMaxA", [](Route r) { LogAtLevelTwo(r, L"%.2147483647a", 1.5); }},
    {"PrecisionIntMaxLongDouble", [](Route r) { LogAtLevelTwo(r, L"%.2147483647Lf", 1.5L); }},
    {"WidthAndPrecisionIntMaxF", [](Route r) { LogAtLevelTwo(r, L"%*.*f", INT_MAX, INT_MAX, -1.5); }},
    {"PrecisionIntMaxD", [](Route r) { LogAtLevelTwo(r, L"%.2147483647d", 7); }},
    {"ZeroPaddedStarWidthD", [](Route r) { LogAtLevelTwo(r, L"%0*d", INT_MAX, -5); }},
};

class HostileFormatThroughTheExports : public ::testing::TestWithParam<std::tuple<HostileFormat, Route>> {
 protected:
  void SetUp() override { PrivateLogFolder::Get(); }
};

TEST_P(HostileFormatThroughTheExports, IsReportedAsTooLargeAndTheNextEntryArrives) {
  const auto& [hostile, route] = GetParam();
  const std::size_t before = LinesAfter(0).size();
  const auto start = std::chrono::steady_clock::now();
  hostile.log(route);
  // Bounded by the 10000-character limit, not by the format's gigabytes.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  MV_LogFmt(kArea, 4, kFile, 2, L"after the hostile format %d", 1);
  EXPECT_EQ(LinesAfter(before), (std::vector<std::wstring>{kTooLarge, kOrdinary}));
}

INSTANTIATE_TEST_SUITE_P(Formats, HostileFormatThroughTheExports,
                         ::testing::Combine(::testing::ValuesIn(kHostileFormats),
                                            ::testing::Values(Route::kMvLogFmt, Route::kLoggerLogFmt)),
                         [](const ::testing::TestParamInfo<std::tuple<HostileFormat, Route>>& info) {
                           return std::string(std::get<0>(info.param).name) +
                                  (std::get<1>(info.param) == Route::kMvLogFmt ? "_MvLogFmt"
                                                                               : "_LoggerLogFmt");
                         });

class HostileFormatLog : public ::testing::Test {
 protected:
  void SetUp() override { PrivateLogFolder::Get(); }
};

TEST_F(HostileFormatLog, HugePrecisionOfAShortTextIsLoggedAsItStands) {
  const std::size_t before = LinesAfter(0).size();
  MV_LogFmt(kArea, 2, kFile, 1, L"%.2147483647g|%.2147483647s|%.*hs", 1.5, L"abc", INT_MAX, "de");
  Logger::GetInstance()->LogFmt(kArea, 2, kFile, 1, L"%.*g", INT_MAX, 0x1p-20);
  EXPECT_EQ(LinesAfter(before), (std::vector<std::wstring>{L"E H 1.5|abc|de", L"E H 9.5367431640625e-007"}));
}

TEST_F(HostileFormatLog, TextJustInsideTheBufferIsStillWritten) {
  // The 7-character format's buffer starts at 1031 characters and grows by 1024 to 9223 (one more
  // step would pass 10000), keeping room for the terminator: 9222 characters fit, 9223 do not.
  // A message over 255 characters loses its last one in the entry.
  const std::size_t before = LinesAfter(0).size();
  MV_LogFmt(kArea, 2, kFile, 1, L"%-*dEnd", 9219, 1);
  MV_LogFmt(kArea, 2, kFile, 1, L"%-*dEnd", 9220, 1);
  EXPECT_EQ(LinesAfter(before),
            (std::vector<std::wstring>{L"E H 1" + std::wstring(9218, L' ') + L"En", kTooLarge}));
}

}  // namespace
}  // namespace Tavro_KVO_Util

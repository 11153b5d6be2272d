#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "command.h"
#include "run_tool.h"
#include "support/temp_dir.h"

namespace mvutil {
namespace {

using Tavro_KVO_Util::testing::TempDir;

TEST(MvutilCrc32, PrintsCheckValueAndNameOfEachFile) {
  TempDir dir;
  const auto check = dir.WriteFile("check.txt", "123456789").u8string();
  const auto empty = dir.WriteFile("empty.bin", "").u8string();
  const Result result = RunTool({"crc32", check, empty});
  EXPECT_EQ(result.code, kExitOk);
  EXPECT_EQ(result.out, "CBF43926  " + check + "\n00000000  " + empty + "\n");
  EXPECT_EQ(result.err, "");
}

TEST(MvutilCrc32, DashReadsStandardInput) {
  const Result result = RunTool({"crc32", "-"}, "123456789");
  EXPECT_EQ(result.code, kExitOk);
  EXPECT_EQ(result.out, "CBF43926  -\n");
}

TEST(MvutilCrc32, InitOptionSetsStartValueAndFinalXor) {
  // Start 0 and no final XOR: the raw register over "123456789".
  EXPECT_EQ(RunTool({"crc32", "--init", "0", "-"}, "123456789").out, "2DFD2D88  -\n");
  EXPECT_EQ(RunTool({"crc32", "--init", "0xFFFFFFFF", "-"}, "123456789").out, "CBF43926  -\n");
  EXPECT_EQ(RunTool({"crc32", "--init", "12345678", "-"}, "").out, "00000000  -\n");
}

TEST(MvutilCrc32, BadInitValueIsAUsageError) {
  for (const char* bad : {"xyz", "123456789", ""}) {
    const Result result = RunTool({"crc32", "--init", bad, "-"});
    EXPECT_EQ(result.code, kExitUsage) << bad;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "mvutil crc32: --init needs a hexadecimal value of at most 8 digits\n");
  }
  EXPECT_EQ(RunTool({"crc32", "--init"}).code, kExitUsage);
}

TEST(MvutilCrc32, UnreadableFileIsReportedAndOthersAreStillProcessed) {
  TempDir dir;
  const auto missing = (dir.path() / "missing.bin").u8string();
  const auto check = dir.WriteFile("check.txt", "123456789").u8string();
  const Result result = RunTool({"crc32", missing, check, dir.path().u8string()});
  EXPECT_EQ(result.code, kExitFailure);
  EXPECT_EQ(result.out, "CBF43926  " + check + "\n");
  EXPECT_EQ(result.err, "mvutil crc32: " + missing + ": No such file or directory\n" +
                            "mvutil crc32: " + dir.path().u8string() + ": Is a directory\n");
}

TEST(MvutilCrc32, LargeFileIsReadInBlocksWithTheSameResult) {
  TempDir dir;
  // 200,000 bytes spans several read blocks; its CRC-32 was computed independently (zlib).
  std::string bytes(200000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + 3);
  const auto file = dir.WriteFile("large.bin", bytes).u8string();
  const Result viaFile = RunTool({"crc32", file});
  const Result viaStdin = RunTool({"crc32", "-"}, bytes);
  EXPECT_EQ(viaFile.out.substr(0, 8), viaStdin.out.substr(0, 8));
  EXPECT_EQ(viaFile.out.substr(0, 8), "DEFA9E47");
}

TEST(MvutilCrc32, NoFileIsAUsageError) {
  const Result result = RunTool({"crc32"});
  EXPECT_EQ(result.code, kExitUsage);
  EXPECT_EQ(result.err, "mvutil crc32: no FILE given; see 'mvutil crc32 --help'\n");
}

TEST(MvutilCrc32, DoubleDashEndsOptions) {
  TempDir dir;
  const Result result = RunTool({"crc32", "--", "--init"});
  EXPECT_EQ(result.code, kExitFailure);
  EXPECT_EQ(result.err, "mvutil crc32: --init: No such file or directory\n");
}

TEST(MvutilCrc16, PrintsFourHexDigitsAndName) {
  TempDir dir;
  const auto check = dir.WriteFile("check.txt", "123456789").u8string();
  const Result result = RunTool({"crc16", check, "-"}, "");
  EXPECT_EQ(result.code, kExitOk);
  // An empty input gives the complement of the start value 0xFFFF.
  EXPECT_EQ(result.out, "B4C8  " + check + "\n0000  -\n");
}

TEST(MvutilCrc16, RejectsInitOption) {
  const Result result = RunTool({"crc16", "--init", "0", "-"});
  EXPECT_EQ(result.code, kExitUsage);
  EXPECT_EQ(result.err, "mvutil crc16: unknown option '--init'; see 'mvutil crc16 --help'\n");
}

TEST(MvutilCrc16, UnreadableFileIsReportedAndOthersAreStillProcessed) {
  TempDir dir;
  const auto missing = (dir.path() / "missing.bin").u8string();
  const Result result = RunTool({"crc16", missing, "-"}, "123456789");
  EXPECT_EQ(result.code, kExitFailure);
  EXPECT_EQ(result.out, "B4C8  -\n");
  EXPECT_EQ(result.err, "mvutil crc16: " + missing + ": No such file or directory\n");
}

}  // namespace
}  // namespace mvutil

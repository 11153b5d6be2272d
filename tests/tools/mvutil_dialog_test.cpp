// mvutil dialog, run in-process: the sample window is real (Wine's null graphics driver makes
// windows and the tab control work without a display) and laid out by the library's DlgResize.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "run_tool.h"

namespace mvutil {
namespace {

using Box = std::array<long, 4>;  // left, top, right, bottom

// The sample dialog at 400x300, as the verb builds it.
constexpr Box kTab{10, 10, 390, 250};
struct Sample {
  const char* name;
  Box rect;
  bool lockedSize;
};
const Sample kLaidOverTheTab[] = {
    {"name", {30, 60, 370, 85}, false},
    {"notes", {30, 95, 370, 230}, false},
    {"ok", {220, 260, 300, 290}, true},
    {"cancel", {310, 260, 390, 290}, false},
};

long Scaled(long value, long current, long initial) {
  const double scale = static_cast<double>(current) / static_cast<double>(initial);
  return static_cast<long>(value * scale);
}

std::string Line(const char* name, const Box& box) {
  char text[128];
  std::snprintf(text, sizeof text, "  %-8s (%ld,%ld)-(%ld,%ld) %ldx%ld\n", name, box[0], box[1], box[2],
                box[3], box[2] - box[0], box[3] - box[1]);
  return text;
}

// The display area the verb printed in the block of `width`x`height`.
bool PrintedDisplayArea(const std::string& out, long width, long height, Box& display) {
  const std::string header = "client " + std::to_string(width) + "x" + std::to_string(height) + "\n";
  const std::size_t block = out.find(header);
  if (block == std::string::npos) return false;
  const std::size_t line = out.find("  display  (", block);
  if (line == std::string::npos) return false;
  return std::sscanf(out.c_str() + line, "  display  (%ld,%ld)-(%ld,%ld)", &display[0], &display[1],
                     &display[2], &display[3]) == 4;
}

// The block the verb must print at `width`x`height`, the arithmetic written out by hand: the tab
// scales with the client area, everything else with the display area `display` (recorded at
// `initial`, relative to its corner).
std::string ExpectedBlock(long width, long height, const Box& initial, const Box& display) {
  std::string block = "client " + std::to_string(width) + "x" + std::to_string(height) + "\n";
  const long tabLeft = Scaled(kTab[0], width, 400);
  const long tabTop = Scaled(kTab[1], height, 300);
  block += Line("tab", {tabLeft, tabTop, tabLeft + Scaled(kTab[2] - kTab[0], width, 400),
                        tabTop + Scaled(kTab[3] - kTab[1], height, 300)});
  block += Line("display", display);
  const long w0 = initial[2] - initial[0];
  const long h0 = initial[3] - initial[1];
  const long w = display[2] - display[0];
  const long h = display[3] - display[1];
  for (const Sample& sample : kLaidOverTheTab) {
    const Box& r = sample.rect;
    const long x = Scaled(r[0] - initial[0], w, w0) + display[0];
    const long y = Scaled(r[1] - initial[1], h, h0) + display[1];
    const long cx = sample.lockedSize ? r[2] - r[0] : Scaled(r[2] - r[0], w, w0);
    const long cy = sample.lockedSize ? r[3] - r[1] : Scaled(r[3] - r[1], h, h0);
    block += Line(sample.name, {x, y, x + cx, y + cy});
  }
  return block;
}

TEST(MvutilDialog, DemoPrintsEveryControlAtEverySizeExactly) {
  const Result result = RunTool({"dialog", "demo"});
  ASSERT_EQ(result.code, kExitOk) << result.err;
  EXPECT_EQ(result.err, "");

  Box initial{};
  ASSERT_TRUE(PrintedDisplayArea(result.out, 400, 300, initial)) << result.out;
  // At the initial size nothing moved: every control is where the verb created it.
  std::string expected = "client 400x300\n" + Line("tab", kTab) + Line("display", initial);
  for (const Sample& sample : kLaidOverTheTab) expected += Line(sample.name, sample.rect);

  const long sizes[][2] = {{800, 600}, {500, 300}, {300, 450}};
  for (const auto& size : sizes) {
    Box display{};
    ASSERT_TRUE(PrintedDisplayArea(result.out, size[0], size[1], display)) << result.out;
    expected += ExpectedBlock(size[0], size[1], initial, display);
  }
  expected += "client 400x300\n" + Line("tab", kTab) + Line("display", initial);  // back: no drift
  for (const Sample& sample : kLaidOverTheTab) expected += Line(sample.name, sample.rect);
  EXPECT_EQ(result.out, expected);
}

TEST(MvutilDialog, TheDisplayAreaKeepsTheTabsMarginsAtEverySize) {
  const Result result = RunTool({"dialog", "demo"});
  ASSERT_EQ(result.code, kExitOk) << result.err;
  Box initial{};
  Box doubled{};
  ASSERT_TRUE(PrintedDisplayArea(result.out, 400, 300, initial));
  ASSERT_TRUE(PrintedDisplayArea(result.out, 800, 600, doubled));
  // The tab is at (10,10)-(390,250), then at (20,20)-(780,500): the same margins around both.
  EXPECT_EQ(doubled, (Box{initial[0] + 10, initial[1] + 10, initial[2] + 390, initial[3] + 250}));
  // Below the row of tabs, inside the tab's border.
  EXPECT_GT(initial[0], 10);
  EXPECT_GT(initial[1], 20);
  EXPECT_LT(initial[2], 390);
  EXPECT_LT(initial[3], 250);
}

TEST(MvutilDialog, TheDoubledLayoutHasTheseNumbers) {
  const Result result = RunTool({"dialog", "demo"});
  ASSERT_EQ(result.code, kExitOk) << result.err;
  EXPECT_NE(result.out.find("client 800x600\n" + Line("tab", {20, 20, 780, 500})), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("client 500x300\n" + Line("tab", {12, 10, 487, 250})), std::string::npos)
      << result.out;
}

TEST(MvutilDialog, WithoutDemoItIsAUsageError) {
  for (const Args& args : std::vector<Args>{{"dialog"}, {"dialog", "show"}, {"dialog", "demo", "--stay"}}) {
    const Result result = RunTool(args);
    EXPECT_EQ(result.code, kExitUsage) << args.size();
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("Usage: mvutil dialog demo [--hold]"), std::string::npos);
  }
}

}  // namespace
}  // namespace mvutil

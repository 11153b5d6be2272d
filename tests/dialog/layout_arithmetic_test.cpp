#include "dialog/layout_arithmetic.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>

namespace Tavro_KVO_Util::internal {
namespace {

constexpr LayoutLocks kNoLocks{false, false, false, false};
// The button of a dialog whose client area is 400x300.
constexpr LayoutRect kButton{10, 10, 110, 40};

void ExpectPlacement(const LayoutPlacement& actual, long x, long y, long width, long height) {
  EXPECT_EQ(actual.x, x);
  EXPECT_EQ(actual.y, y);
  EXPECT_EQ(actual.width, width);
  EXPECT_EQ(actual.height, height);
}

LayoutPlacement ResizeDialog(const LayoutRect& control, long width, long height, const LayoutLocks& locks) {
  return ScaleLayoutRect(control, 0, 0, LayoutScale(width, 400), LayoutScale(height, 300), locks);
}

TEST(LayoutArithmetic, DoubledDialogDoublesPositionAndSize) {
  ExpectPlacement(ResizeDialog(kButton, 800, 600, kNoLocks), 20, 20, 200, 60);
}

TEST(LayoutArithmetic, WiderDialogTruncatesTheLeftEdge) {
  // 10 * 1.25 = 12.5 -> 12; 100 * 1.25 = 125.
  ExpectPlacement(ResizeDialog(kButton, 500, 300, kNoLocks), 12, 10, 125, 30);
}

TEST(LayoutArithmetic, LockedSizeKeepsWidthAndHeightWhilePositionScales) {
  ExpectPlacement(ResizeDialog(kButton, 800, 600, {false, false, true, true}), 20, 20, 100, 30);
  ExpectPlacement(ResizeDialog(kButton, 500, 300, {false, false, true, true}), 12, 10, 100, 30);
}

TEST(LayoutArithmetic, LockedLeftEdgeStaysWhateverTheWidth) {
  const LayoutLocks lockX{true, false, false, false};
  ExpectPlacement(ResizeDialog(kButton, 800, 600, lockX), 10, 20, 200, 60);
  ExpectPlacement(ResizeDialog(kButton, 500, 300, lockX), 10, 10, 125, 30);
  ExpectPlacement(ResizeDialog(kButton, 123, 300, lockX), 10, 10, 30, 30);  // 30.75 -> 30
  ExpectPlacement(ResizeDialog(kButton, 4000, 300, lockX), 10, 10, 1000, 30);
}

TEST(LayoutArithmetic, LockedTopEdgeStaysWhateverTheHeight) {
  ExpectPlacement(ResizeDialog(kButton, 800, 600, {false, true, false, false}), 20, 10, 200, 60);
}

TEST(LayoutArithmetic, LockedEdgesAreStillShiftedByTheOffset) {
  const LayoutPlacement placement = ScaleLayoutRect(kButton, 7, -3, 2.0, 2.0, {true, true, true, true});
  ExpectPlacement(placement, 17, 7, 100, 30);
}

TEST(LayoutArithmetic, ScaleOneIsTheIdentity) {
  for (const LayoutRect& rect : {kButton, LayoutRect{0, 0, 0, 0}, LayoutRect{-37, -5, 12, 999},
                                 LayoutRect{2147483000, -2147483000, 2147483600, -2147482000}}) {
    const LayoutPlacement placement = ScaleLayoutRect(rect, 0, 0, 1.0, 1.0, kNoLocks);
    ExpectPlacement(placement, rect.left, rect.top, static_cast<long>(rect.right) - rect.left,
                    static_cast<long>(rect.bottom) - rect.top);
  }
}

TEST(LayoutArithmetic, ZeroOffsetsLeaveTheScaledCorner) {
  ExpectPlacement(ScaleLayoutRect({30, 40, 130, 70}, 0, 0, 1.5, 0.5, kNoLocks), 45, 20, 150, 15);
}

TEST(LayoutArithmetic, PositiveOffsetsAreAddedAfterScaling) {
  // The offset is the display area's corner; it is not scaled.
  ExpectPlacement(ScaleLayoutRect({30, 40, 130, 70}, 12, 33, 1.5, 0.5, kNoLocks), 57, 53, 150, 15);
}

TEST(LayoutArithmetic, NegativeOffsetsMoveLeftAndUp) {
  ExpectPlacement(ScaleLayoutRect({30, 40, 130, 70}, -50, -25, 2.0, 2.0, kNoLocks), 10, 55, 200, 60);
  ExpectPlacement(ScaleLayoutRect({30, 40, 130, 70}, -100, -100, 1.0, 1.0, kNoLocks), -70, -60, 100, 30);
}

TEST(LayoutArithmetic, NegativeRectanglesScaleAroundTheFrameCorner) {
  // A control left of and above the frame's corner (a button outside a tab's display area).
  ExpectPlacement(ScaleLayoutRect({-40, -20, -10, 0}, 0, 0, 2.0, 3.0, kNoLocks), -80, -60, 60, 60);
  ExpectPlacement(ScaleLayoutRect({-40, -20, -10, 0}, 5, 5, 0.5, 0.5, kNoLocks), -15, -5, 15, 10);
}

TEST(LayoutArithmetic, NegativeProductsTruncateTowardZero) {
  // -25 * 0.5 = -12.5 -> -12 (not -13, as flooring would give); -5 * 1.25 = -6.25 -> -6.
  ExpectPlacement(ScaleLayoutRect({-25, -5, 0, 0}, 0, 0, 0.5, 1.25, kNoLocks), -12, -6, 12, 6);
  EXPECT_EQ(TruncateTowardZero(-12.5), -12);
  EXPECT_EQ(TruncateTowardZero(-0.999), 0);
  EXPECT_EQ(TruncateTowardZero(12.5), 12);
  EXPECT_EQ(TruncateTowardZero(12.999999), 12);
}

TEST(LayoutArithmetic, ExtentsAreTruncatedOnTheirOwnNotFromTheTruncatedEdges) {
  // left 15 * 0.5 = 7.5 -> 7, right 45 * 0.5 = 22.5 -> 22, but the width is 30 * 0.5 = 15.
  ExpectPlacement(ScaleLayoutRect({15, 15, 45, 45}, 0, 0, 0.5, 0.5, kNoLocks), 7, 7, 15, 15);
}

TEST(LayoutArithmetic, ScaleIsTheRatioOfCurrentToInitial) {
  EXPECT_EQ(LayoutScale(800, 400), 2.0);
  EXPECT_EQ(LayoutScale(500, 400), 1.25);
  EXPECT_EQ(LayoutScale(300, 300), 1.0);
  EXPECT_EQ(LayoutScale(150, 300), 0.5);
  EXPECT_EQ(LayoutScale(0, 300), 0.0);
}

TEST(LayoutArithmetic, OutOfRangeProductsSaturateInsteadOfOverflowing) {
  const long highest = std::numeric_limits<std::int32_t>::max();
  const long lowest = std::numeric_limits<std::int32_t>::min();
  EXPECT_EQ(TruncateTowardZero(1e300), highest);
  EXPECT_EQ(TruncateTowardZero(-1e300), lowest);
  EXPECT_EQ(TruncateTowardZero(std::numeric_limits<double>::infinity()), highest);
  EXPECT_EQ(TruncateTowardZero(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(LayoutArithmetic, AThousandResizesBackToTheStartGiveTheExactRecordedRectangles) {
  // Every size change starts from the recorded rectangles, never from the previous placement.
  const LayoutRect controls[] = {kButton, {17, 233, 391, 289}, {-3, 7, 33, 41}, {141, 59, 142, 60}};
  std::mt19937 random(20240607u);
  std::uniform_int_distribution<long> extent(1, 3000);
  for (int resize = 0; resize < 1000; ++resize) {
    const long width = extent(random);
    const long height = extent(random);
    for (const LayoutRect& control : controls) {
      const LayoutPlacement placement = ResizeDialog(control, width, height, kNoLocks);
      EXPECT_GE(placement.width, 0);
      EXPECT_GE(placement.height, 0);
    }
  }
  for (const LayoutRect& control : controls) {
    ExpectPlacement(ResizeDialog(control, 400, 300, kNoLocks), control.left, control.top,
                    control.right - control.left, control.bottom - control.top);
  }
}

TEST(LayoutArithmetic, FeedingPlacementsBackWouldDriftWhichIsWhyTheRecordIsKept) {
  // The reason for recording: scaling the current rectangle step by step loses pixels
  // (400 -> 500 -> 400 turns 10 into 12 and then 9).
  const LayoutPlacement wider = ResizeDialog(kButton, 500, 300, kNoLocks);
  const LayoutRect current{static_cast<std::int32_t>(wider.x), 10,
                           static_cast<std::int32_t>(wider.x + wider.width), 40};
  const LayoutPlacement back =
      ScaleLayoutRect(current, 0, 0, LayoutScale(400, 500), LayoutScale(300, 300), kNoLocks);
  EXPECT_EQ(back.x, 9);
  ExpectPlacement(ResizeDialog(kButton, 400, 300, kNoLocks), 10, 10, 100, 30);
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal

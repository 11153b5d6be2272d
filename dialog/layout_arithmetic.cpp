#include "dialog/layout_arithmetic.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Tavro_KVO_Util::internal {

long TruncateTowardZero(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  if (std::isnan(value)) return 0;
  if (value <= kLowest) return static_cast<long>(std::numeric_limits<std::int32_t>::min());
  if (value >= kHighest) return static_cast<long>(std::numeric_limits<std::int32_t>::max());
  return static_cast<long>(value);  // the conversion itself truncates toward zero
}

double LayoutScale(long current, long initial) {
  return static_cast<double>(current) / static_cast<double>(initial);
}

LayoutPlacement ScaleLayoutRect(const LayoutRect& initial, long offsetX, long offsetY, double scaleX,
                                double scaleY, const LayoutLocks& locks) {
  // Extents in 64 bits: right - left of two extreme int32 values does not fit in 32.
  const std::int64_t width = static_cast<std::int64_t>(initial.right) - initial.left;
  const std::int64_t height = static_cast<std::int64_t>(initial.bottom) - initial.top;
  LayoutPlacement placement{};
  placement.x = (locks.x ? initial.left : TruncateTowardZero(initial.left * scaleX)) + offsetX;
  placement.y = (locks.y ? initial.top : TruncateTowardZero(initial.top * scaleY)) + offsetY;
  placement.width =
      locks.width ? static_cast<long>(width) : TruncateTowardZero(static_cast<double>(width) * scaleX);
  placement.height =
      locks.height ? static_cast<long>(height) : TruncateTowardZero(static_cast<double>(height) * scaleY);
  return placement;
}

}  // namespace Tavro_KVO_Util::internal

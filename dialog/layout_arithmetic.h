// The arithmetic of the proportional dialog layout (DlgResize), without any window handle.
//
// DlgResize records each control's rectangle once, when the dialog is initialised, and on every
// size change places the control from that recorded rectangle, the ratio between the current and
// the initial size of the area the control is laid out against, and the current top-left corner
// of that area. Scaling always starts from the recorded rectangle, so any number of size changes
// that end at the initial size put every control back exactly where it started.
//
// Portable and free of <windows.h>, so the host build tests every rounding rule; not part of the
// shared library's interface.
#ifndef TAVROMEDIVANEUTIL_DIALOG_LAYOUT_ARITHMETIC_H
#define TAVROMEDIVANEUTIL_DIALOG_LAYOUT_ARITHMETIC_H

#include <cstdint>

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(hidden)
#endif

namespace Tavro_KVO_Util::internal {

// A rectangle as the Windows RECT holds it: right and bottom are one past the last pixel.
struct LayoutRect {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;
};

// Which parts of a recorded rectangle are exempt from scaling. All false scales everything.
struct LayoutLocks {
  bool x;       // the left edge is only shifted by the area's offset, not scaled
  bool y;       // the top edge is only shifted by the area's offset, not scaled
  bool width;   // the width keeps its recorded value
  bool height;  // the height keeps its recorded value
};

// Where a control goes: the four arguments of MoveWindow.
struct LayoutPlacement {
  long x;
  long y;
  long width;
  long height;
};

// `value` truncated toward zero (12.5 -> 12, -12.5 -> -12). Window coordinates are int, so a
// value outside the int32 range saturates at its end and NaN gives 0, instead of the undefined
// behaviour of converting such a double to an integer.
long TruncateTowardZero(double value);

// current / initial, in double. Zero for an initial extent of 0 is not guarded: the result is
// then infinite or NaN, and TruncateTowardZero saturates what it multiplies.
double LayoutScale(long current, long initial);

// The placement of a control recorded at `initial`, for an area now scaled by `scaleX` and
// `scaleY` whose top-left corner is at (`offsetX`, `offsetY`) in the coordinates MoveWindow
// takes. Every product is truncated toward zero on its own:
//   x      = locks.x      ? left + offsetX  : trunc(left * scaleX) + offsetX
//   y      = locks.y      ? top + offsetY   : trunc(top * scaleY) + offsetY
//   width  = locks.width  ? right - left    : trunc((right - left) * scaleX)
//   height = locks.height ? bottom - top    : trunc((bottom - top) * scaleY)
LayoutPlacement ScaleLayoutRect(const LayoutRect& initial, long offsetX, long offsetY, double scaleX,
                                double scaleY, const LayoutLocks& locks);

}  // namespace Tavro_KVO_Util::internal

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_DIALOG_LAYOUT_ARITHMETIC_H

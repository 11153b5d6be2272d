// DlgResize: keeps the child controls of a resizable dialog in proportion to its client area.
//
// When the dialog is initialised, OnDlgInit records the rectangle of every child control; on each
// size change, OnDlgSize scales every recorded rectangle by the ratio between the dialog's current
// and initial client size and moves the control there. A dialog that holds a tab control has a
// second frame: every control except the tab control itself is then recorded relative to the
// top-left corner of the tab's display area (the part below the tabs, as TCM_ADJUSTRECT gives it)
// and follows that corner, scaled by the ratio between the display area's current and initial
// size. Single controls can be exempted from scaling per dimension with LockWindowDim.
//
//   case WM_INITDIALOG: mResize.OnDlgInit(hDlg, GetDlgItem(hDlg, IDC_TAB)); break;
//   case WM_SIZE:       mResize.OnDlgSize(); break;
//
// Scaling always starts from the recorded rectangles, never from where the controls are now, so
// size changes do not accumulate rounding errors: back at its initial size, the dialog shows every
// control exactly where it was recorded. Each product is truncated toward zero (12.5 -> 12).
//
// In a dialog with a tab control, controls are expected to be children of the dialog laid over
// the tab (siblings of the tab control): they are moved in the dialog's client coordinates. Every
// descendant of the dialog other than the tab control follows the display area, including
// controls outside it (an OK button below the tab); dialogs built for this class rely on that.
//
// Nothing is logged and no error is reported: a null handle is ignored as each member describes.
// An initial client area (or display area) of width or height 0 is not guarded; callers must not
// initialise a dialog that is not yet sized. Not synchronised: use an object on the thread that
// owns the dialog. Windows only (window handles); the class is outside namespace Tavro_KVO_Util.
#ifndef TAVROMEDIVANEUTIL_DLGRESIZE_H
#define TAVROMEDIVANEUTIL_DLGRESIZE_H

#ifndef _WIN32
#error "DlgResize.h is Windows-only: DlgResize lays out Win32 dialogs and is not in other builds"
#endif

#include <vector>

#include "TavroMedivaneUtilExport.h"

// HWND, RECT, BOOL, LPARAM and CALLBACK exactly as <windows.h> declares them, so the two headers
// mix in any order. The header itself adds no min/max macros (<windows.h> still does, unless
// NOMINMAX is defined).
#ifndef NOMINMAX
#define NOMINMAX
#define TAVROMEDIVANEUTIL_DLGRESIZE_SET_NOMINMAX
#endif
#include <windef.h>
#ifdef TAVROMEDIVANEUTIL_DLGRESIZE_SET_NOMINMAX
#undef NOMINMAX
#undef TAVROMEDIVANEUTIL_DLGRESIZE_SET_NOMINMAX
#endif

// What DlgResize recorded for one window, in the frame that window is laid out against.
struct DlgResizeInfo {
  HWND hWnd = nullptr;       // the control; in a sequence's first entry the dialog or the tab control
  RECT rect = {0, 0, 0, 0};  // the initial rectangle (see DlgResize for the frame)
  bool lockX = false;        // the left edge is not scaled, only shifted with the frame
  bool lockY = false;        // the top edge is not scaled, only shifted with the frame
  bool lockWidth = false;    // the width keeps its initial value
  bool lockHeight = false;   // the height keeps its initial value
};

class TAVRO_KVO_UTIL_API DlgResize {
 public:
  // Nothing recorded: OnDlgSize and LockWindowDim do nothing until OnDlgInit.
  DlgResize();
  // Copies both sequences of records, locks included; the copy lays out the same windows.
  DlgResize(const DlgResize& other);
  DlgResize& operator=(const DlgResize& other);
  ~DlgResize();

  // Records the dialog `hWndDlg` and every one of its descendants, replacing whatever was recorded
  // before (locks included). The dialog is recorded with its client rectangle. With a tab control
  // `hWndTab` (a child of the dialog), the tab is recorded with its display area in the dialog's
  // client coordinates, and every other descendant relative to that display area's top-left
  // corner; with a null `hWndTab`, every descendant is recorded in the dialog's client
  // coordinates. A null `hWndDlg` forgets the dialog (OnDlgSize then does nothing) and leaves the
  // tab's records as they were. Call it once the dialog has its initial size and its controls.
  void OnDlgInit(HWND hWndDlg, HWND hWndTab);

  // Moves every recorded control to its recorded rectangle scaled to the dialog's current client
  // size (and, for controls laid out against the tab, to the tab's current display area, measured
  // after the tab itself has been moved), then invalidates and erases the dialog and all its
  // children. Does nothing before OnDlgInit, or after OnDlgInit with a null dialog.
  void OnDlgSize();

  // Sets the four locks of the recorded window `hWnd` (the dialog's own entry included): a locked
  // left or top edge keeps its recorded distance from the frame's corner, a locked width or height
  // keeps its recorded value. The first record of `hWnd` is changed; an unknown handle is ignored.
  // OnDlgInit forgets every lock.
  void LockWindowDim(HWND hWnd, bool lockX, bool lockY, bool lockWidth, bool lockHeight);

  // The window rectangle of `hWndChild` in the client coordinates of `hWndParent`, same size.
  // Zeros when either handle is null.
  static void GetClientPos(HWND hWndParent, HWND hWndChild, RECT& rect);

 private:
  // EnumChildWindows callback for OnDlgInit: `lParam` is the DlgResize. Records `hWndChild`
  // against the tab's display area or the dialog; FALSE (stop) when no dialog is recorded.
  static BOOL CALLBACK EnumChildProc(HWND hWndChild, LPARAM lParam);
  // `hWndChild` with its rectangle relative to the top-left corner of the tab's display area;
  // with a null child, the tab with its display area in the dialog's client coordinates.
  void GetTabResizeInfo(HWND hWndDlg, HWND hWndTab, HWND hWndChild, DlgResizeInfo& info);
  // `hWndChild` with its rectangle in the dialog's client coordinates; with a null child, the
  // dialog with its client rectangle.
  void GetDlgResizeInfo(HWND hWndDlg, HWND hWndChild, DlgResizeInfo& info);
  // Moves `info.hWnd` to its recorded rectangle scaled by `scaleX` and `scaleY` and shifted by
  // (`offsetX`, `offsetY`), honouring its locks. Nothing for a null handle.
  void SizeWindow(DlgResizeInfo& info, long offsetX, long offsetY, double scaleX, double scaleY);

  // First entry: the dialog with its initial client rectangle. Then every control laid out
  // against the dialog's client area, in its client coordinates, in the order they were found.
  std::vector<DlgResizeInfo> mDlgInfo;
  // Empty without a tab control. First entry: the tab control with its initial display area in
  // the dialog's client coordinates. Then every control laid out against that display area,
  // relative to its top-left corner.
  std::vector<DlgResizeInfo> mTabInfo;
};

#endif  // TAVROMEDIVANEUTIL_DLGRESIZE_H

#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/win32/windows_include.h"

#include <commctrl.h>

#include <cstddef>
#include <vector>

#include "DlgResize.h"
#include "dialog/layout_arithmetic.h"

namespace {

using Tavro_KVO_Util::internal::LayoutLocks;
using Tavro_KVO_Util::internal::LayoutPlacement;
using Tavro_KVO_Util::internal::LayoutRect;
using Tavro_KVO_Util::internal::LayoutScale;
using Tavro_KVO_Util::internal::ScaleLayoutRect;

// Turns a tab control's window rectangle into its display area (the part below the tabs).
void AdjustToDisplayArea(HWND hWndTab, RECT& rect) {
  SendMessageW(hWndTab, TCM_ADJUSTRECT, /*wParam (larger)=*/FALSE, reinterpret_cast<LPARAM>(&rect));
}

long Width(const RECT& rect) { return rect.right - rect.left; }
long Height(const RECT& rect) { return rect.bottom - rect.top; }

}  // namespace

DlgResize::DlgResize() = default;
DlgResize::DlgResize(const DlgResize& other) = default;
DlgResize& DlgResize::operator=(const DlgResize& other) = default;
DlgResize::~DlgResize() = default;

void DlgResize::GetClientPos(HWND hWndParent, HWND hWndChild, RECT& rect) {
  rect = RECT{0, 0, 0, 0};
  if (hWndParent == nullptr || hWndChild == nullptr) return;
  RECT screen{0, 0, 0, 0};
  GetWindowRect(hWndChild, &screen);
  POINT topLeft{screen.left, screen.top};
  ScreenToClient(hWndParent, &topLeft);
  const long shiftX = topLeft.x - screen.left;
  const long shiftY = topLeft.y - screen.top;
  rect = RECT{topLeft.x, topLeft.y, screen.right + shiftX, screen.bottom + shiftY};
}

void DlgResize::GetDlgResizeInfo(HWND hWndDlg, HWND hWndChild, DlgResizeInfo& info) {
  info = DlgResizeInfo{};
  if (hWndChild != nullptr) {
    info.hWnd = hWndChild;
    GetClientPos(hWndDlg, hWndChild, info.rect);
  } else {
    info.hWnd = hWndDlg;
    GetClientRect(hWndDlg, &info.rect);
  }
}

void DlgResize::GetTabResizeInfo(HWND hWndDlg, HWND hWndTab, HWND hWndChild, DlgResizeInfo& info) {
  info = DlgResizeInfo{};
  if (hWndChild != nullptr) {
    // Both rectangles in screen coordinates, so the child may belong to any window of the dialog.
    RECT display{0, 0, 0, 0};
    GetWindowRect(hWndTab, &display);
    AdjustToDisplayArea(hWndTab, display);
    RECT child{0, 0, 0, 0};
    GetWindowRect(hWndChild, &child);
    info.hWnd = hWndChild;
    info.rect.left = child.left - display.left;
    info.rect.top = child.top - display.top;
    info.rect.right = info.rect.left + Width(child);
    info.rect.bottom = info.rect.top + Height(child);
  } else {
    info.hWnd = hWndTab;
    GetClientPos(hWndDlg, hWndTab, info.rect);
    AdjustToDisplayArea(hWndTab, info.rect);
  }
}

void DlgResize::OnDlgInit(HWND hWndDlg, HWND hWndTab) {
  if (hWndDlg == nullptr) {
    mDlgInfo.clear();
    return;
  }
  DlgResizeInfo info;
  GetDlgResizeInfo(hWndDlg, /*hWndChild=*/nullptr, info);
  mDlgInfo.assign(1, info);
  if (hWndTab != nullptr) {
    GetTabResizeInfo(hWndDlg, hWndTab, /*hWndChild=*/nullptr, info);
    mTabInfo.assign(1, info);
  } else {
    mTabInfo.clear();
  }
  EnumChildWindows(hWndDlg, EnumChildProc, reinterpret_cast<LPARAM>(this));
}

BOOL CALLBACK DlgResize::EnumChildProc(HWND hWndChild, LPARAM lParam) {
  DlgResize* self = reinterpret_cast<DlgResize*>(lParam);
  if (self->mDlgInfo.empty()) return FALSE;
  const HWND hWndDlg = self->mDlgInfo.front().hWnd;
  DlgResizeInfo info;
  if (!self->mTabInfo.empty() && self->mTabInfo.front().hWnd != nullptr &&
      hWndChild != self->mTabInfo.front().hWnd) {
    self->GetTabResizeInfo(hWndDlg, self->mTabInfo.front().hWnd, hWndChild, info);
    self->mTabInfo.push_back(info);
    return TRUE;
  }
  self->GetDlgResizeInfo(hWndDlg, hWndChild, info);
  self->mDlgInfo.push_back(info);
  return TRUE;
}

void DlgResize::SizeWindow(DlgResizeInfo& info, long offsetX, long offsetY, double scaleX, double scaleY) {
  if (info.hWnd == nullptr) return;
  const LayoutRect initial{info.rect.left, info.rect.top, info.rect.right, info.rect.bottom};
  const LayoutLocks locks{info.lockX, info.lockY, info.lockWidth, info.lockHeight};
  const LayoutPlacement to = ScaleLayoutRect(initial, offsetX, offsetY, scaleX, scaleY, locks);
  MoveWindow(info.hWnd, static_cast<int>(to.x), static_cast<int>(to.y), static_cast<int>(to.width),
             static_cast<int>(to.height), /*bRepaint=*/TRUE);
}

void DlgResize::OnDlgSize() {
  if (mDlgInfo.empty() || mDlgInfo.front().hWnd == nullptr) return;
  // Copies, not references: moving a control sends messages to the dialog's window procedure.
  const HWND hWndDlg = mDlgInfo.front().hWnd;
  const RECT initialClient = mDlgInfo.front().rect;
  RECT client{0, 0, 0, 0};
  GetClientRect(hWndDlg, &client);
  const double scaleX = LayoutScale(Width(client), Width(initialClient));
  const double scaleY = LayoutScale(Height(client), Height(initialClient));
  for (std::size_t i = 1; i < mDlgInfo.size(); ++i) {
    SizeWindow(mDlgInfo[i], /*offsetX=*/0, /*offsetY=*/0, scaleX, scaleY);
  }

  if (!mTabInfo.empty() && mTabInfo.front().hWnd != nullptr) {
    // Measured now: the loop above has just moved the tab control itself.
    const DlgResizeInfo initialDisplay = mTabInfo.front();
    DlgResizeInfo display;
    GetTabResizeInfo(hWndDlg, initialDisplay.hWnd, /*hWndChild=*/nullptr, display);
    const double tabScaleX = LayoutScale(Width(display.rect), Width(initialDisplay.rect));
    const double tabScaleY = LayoutScale(Height(display.rect), Height(initialDisplay.rect));
    for (std::size_t i = 1; i < mTabInfo.size(); ++i) {
      SizeWindow(mTabInfo[i], display.rect.left, display.rect.top, tabScaleX, tabScaleY);
    }
  }

  RedrawWindow(hWndDlg, /*lprcUpdate=*/nullptr, /*hrgnUpdate=*/nullptr,
               RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void DlgResize::LockWindowDim(HWND hWnd, bool lockX, bool lockY, bool lockWidth, bool lockHeight) {
  for (std::vector<DlgResizeInfo>* records : {&mDlgInfo, &mTabInfo}) {
    for (DlgResizeInfo& info : *records) {
      if (info.hWnd != hWnd) continue;
      info.lockX = lockX;
      info.lockY = lockY;
      info.lockWidth = lockWidth;
      info.lockHeight = lockHeight;
      return;
    }
  }
}

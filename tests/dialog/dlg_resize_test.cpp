// DlgResize through the real DLL, on real windows: a top-level window whose client area starts at
// 400x300, BUTTON controls and a tab control. Sizes change with SetWindowPos, and the window
// procedure calls OnDlgSize on the WM_SIZE that follows, as a dialog procedure does.
#include "platform/win32/windows_include.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "DlgResize.h"

namespace {

using Box = std::array<long, 4>;  // left, top, right, bottom: gtest prints it readably

constexpr wchar_t kDialogClass[] = L"TavroDlgResizeTestDialog";

LRESULT CALLBACK DialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_SIZE) {
    auto* resize = reinterpret_cast<DlgResize*>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (resize != nullptr) resize->OnDlgSize();
    return 0;
  }
  return DefWindowProcW(hWnd, message, wParam, lParam);
}

bool RegisterDialogClass() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = DialogProc;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  windowClass.lpszClassName = kDialogClass;
  return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

Box ToBox(const RECT& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

// Where `control` is now, in the client coordinates of `dialog`, read independently of DlgResize.
Box PlacementIn(HWND dialog, HWND control) {
  RECT rect{};
  GetWindowRect(control, &rect);
  MapWindowPoints(HWND_DESKTOP, dialog, reinterpret_cast<POINT*>(&rect), 2);
  return ToBox(rect);
}

// trunc(value * (current / initial)), the placement rule written out by hand.
long Scaled(long value, long current, long initial) {
  const double scale = static_cast<double>(current) / static_cast<double>(initial);
  return static_cast<long>(value * scale);
}

class DlgResizeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TAB_CLASSES};
    ASSERT_TRUE(InitCommonControlsEx(&controls));
    ASSERT_TRUE(RegisterDialogClass());
    RECT frame{0, 0, 400, 300};
    AdjustWindowRectEx(&frame, WS_OVERLAPPEDWINDOW, /*bMenu=*/FALSE, /*dwExStyle=*/0);
    mDialog = CreateWindowExW(0, kDialogClass, L"DlgResize test", WS_OVERLAPPEDWINDOW, 40, 30,
                              frame.right - frame.left, frame.bottom - frame.top, /*hWndParent=*/nullptr,
                              /*hMenu=*/nullptr, GetModuleHandleW(nullptr), /*lpParam=*/nullptr);
    ASSERT_NE(mDialog, nullptr);
    ASSERT_NO_FATAL_FAILURE(ResizeClient(400, 300));
  }

  void TearDown() override {
    if (mDialog == nullptr) return;
    SetWindowLongPtrW(mDialog, GWLP_USERDATA, 0);
    DestroyWindow(mDialog);  // and every control with it
  }

  // From now on WM_SIZE goes to `resize` (null: to nothing).
  void Attach(DlgResize* resize) {
    SetWindowLongPtrW(mDialog, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(resize));
  }

  // Sizes the window so that its client area is exactly `width` x `height`, measuring the frame.
  void ResizeClient(long width, long height) {
    RECT window{};
    RECT client{};
    GetWindowRect(mDialog, &window);
    GetClientRect(mDialog, &client);
    const long frameWidth = (window.right - window.left) - client.right;
    const long frameHeight = (window.bottom - window.top) - client.bottom;
    ASSERT_TRUE(SetWindowPos(mDialog, /*hWndInsertAfter=*/nullptr, 0, 0, width + frameWidth,
                             height + frameHeight, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE));
    GetClientRect(mDialog, &client);
    ASSERT_EQ(client.right, width);
    ASSERT_EQ(client.bottom, height);
  }

  HWND AddButton(const wchar_t* text, long left, long top, long right, long bottom) {
    return CreateWindowExW(0, L"BUTTON", text, WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, left, top, right - left,
                           bottom - top, mDialog, /*hMenu=*/nullptr, GetModuleHandleW(nullptr), nullptr);
  }

  // A tab control with two tabs at (10,10)-(390,250) of the 400x300 client area.
  HWND AddTab() {
    HWND tab = CreateWindowExW(0, WC_TABCONTROLW, L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 10, 10, 380,
                               240, mDialog, /*hMenu=*/nullptr, GetModuleHandleW(nullptr), nullptr);
    wchar_t general[] = L"General";
    wchar_t details[] = L"Details";
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = general;
    SendMessageW(tab, TCM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    item.pszText = details;
    SendMessageW(tab, TCM_INSERTITEMW, 1, reinterpret_cast<LPARAM>(&item));
    return tab;
  }

  // The tab's display area now, in the dialog's client coordinates (TCM_ADJUSTRECT, FALSE).
  Box DisplayArea(HWND tab) {
    const Box placement = PlacementIn(mDialog, tab);
    RECT rect{placement[0], placement[1], placement[2], placement[3]};
    SendMessageW(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&rect));
    return ToBox(rect);
  }

  Box Placement(HWND control) { return PlacementIn(mDialog, control); }

  HWND mDialog = nullptr;
  DlgResize mResize;
};

// ---- A dialog without a tab control ----

TEST_F(DlgResizeTest, DoubledDialogDoublesTheButtonsPositionAndSize) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{20, 20, 220, 80}));
}

TEST_F(DlgResizeTest, WiderDialogTruncatesTheScaledLeftEdge) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(500, 300));
  EXPECT_EQ(Placement(button), (Box{12, 10, 137, 40}));  // 12.5 -> 12, width 125, height 30
}

TEST_F(DlgResizeTest, LockedWidthAndHeightKeepTheSizeWhileThePositionScales) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(button, false, false, true, true);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{20, 20, 120, 50}));
  ASSERT_NO_FATAL_FAILURE(ResizeClient(500, 300));
  EXPECT_EQ(Placement(button), (Box{12, 10, 112, 40}));
}

TEST_F(DlgResizeTest, LockedLeftEdgeStaysWhateverTheWidth) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(button, true, false, false, false);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{10, 20, 210, 80}));
  ASSERT_NO_FATAL_FAILURE(ResizeClient(500, 300));
  EXPECT_EQ(Placement(button), (Box{10, 10, 135, 40}));
  ASSERT_NO_FATAL_FAILURE(ResizeClient(250, 300));
  EXPECT_EQ(Placement(button), (Box{10, 10, 72, 40}));  // width 62.5 -> 62
}

TEST_F(DlgResizeTest, EveryButtonIsLaidOutOnItsOwn) {
  HWND first = AddButton(L"One", 10, 10, 110, 40);
  HWND second = AddButton(L"Two", 200, 150, 390, 290);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(second, false, true, false, true);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(first), (Box{20, 20, 220, 80}));
  EXPECT_EQ(Placement(second), (Box{400, 150, 780, 290}));
}

TEST_F(DlgResizeTest, ManyResizesBackToTheInitialSizeRestoreTheExactRectangles) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  HWND odd = AddButton(L"Odd", 33, 71, 170, 113);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  std::mt19937 random(7u);
  std::uniform_int_distribution<long> width(200, 900);
  std::uniform_int_distribution<long> height(150, 650);
  for (int resize = 0; resize < 60; ++resize) {
    ASSERT_NO_FATAL_FAILURE(ResizeClient(width(random), height(random)));
  }
  ASSERT_NO_FATAL_FAILURE(ResizeClient(400, 300));
  EXPECT_EQ(Placement(button), (Box{10, 10, 110, 40}));
  EXPECT_EQ(Placement(odd), (Box{33, 71, 170, 113}));
}

TEST_F(DlgResizeTest, OnDlgSizeBeforeOnDlgInitMovesNothing) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  mResize.OnDlgSize();
  EXPECT_EQ(Placement(button), (Box{10, 10, 110, 40}));
}

TEST_F(DlgResizeTest, OnDlgSizeBeforeOnDlgInitInvalidatesNothing) {
  AddButton(L"OK", 10, 10, 110, 40);
  ShowWindow(mDialog, SW_SHOWNOACTIVATE);
  UpdateWindow(mDialog);
  ValidateRect(mDialog, nullptr);
  mResize.OnDlgSize();
  EXPECT_FALSE(GetUpdateRect(mDialog, nullptr, /*bErase=*/FALSE));
}

TEST_F(DlgResizeTest, OnDlgSizeInvalidatesTheDialog) {
  AddButton(L"OK", 10, 10, 110, 40);
  ShowWindow(mDialog, SW_SHOWNOACTIVATE);
  mResize.OnDlgInit(mDialog, nullptr);
  UpdateWindow(mDialog);
  ValidateRect(mDialog, nullptr);
  ASSERT_FALSE(GetUpdateRect(mDialog, nullptr, /*bErase=*/FALSE));
  mResize.OnDlgSize();  // same size: nothing moves, but the dialog is still redrawn
  RECT update{};
  EXPECT_TRUE(GetUpdateRect(mDialog, &update, /*bErase=*/FALSE));
  EXPECT_EQ(ToBox(update), (Box{0, 0, 400, 300}));
}

TEST_F(DlgResizeTest, LockingAHandleThatWasNeverRecordedChangesNothing) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  HWND later = AddButton(L"Later", 200, 200, 300, 230);  // created after OnDlgInit: not recorded
  mResize.LockWindowDim(later, true, true, true, true);
  mResize.LockWindowDim(nullptr, true, true, true, true);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{20, 20, 220, 80}));
  EXPECT_EQ(Placement(later), (Box{200, 200, 300, 230}));
}

TEST_F(DlgResizeTest, OnDlgInitWithANullDialogForgetsTheDialog) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.OnDlgInit(nullptr, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  mResize.OnDlgSize();
  EXPECT_EQ(Placement(button), (Box{10, 10, 110, 40}));
}

TEST_F(DlgResizeTest, RunningOnDlgInitAgainForgetsTheLocks) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(button, true, true, true, true);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{20, 20, 220, 80}));
}

TEST_F(DlgResizeTest, RunningOnDlgInitAgainRecordsTheCurrentLayout) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  mResize.OnDlgInit(mDialog, nullptr);  // now 800x600 with the button at (20,20) 200x60
  ASSERT_NO_FATAL_FAILURE(ResizeClient(1000, 300));
  EXPECT_EQ(Placement(button), (Box{25, 10, 275, 40}));
}

TEST_F(DlgResizeTest, CopyConstructorCopiesTheRecordsAndLocks) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(button, false, false, true, true);
  DlgResize copy(mResize);
  mResize.OnDlgInit(nullptr, nullptr);  // the original forgets; the copy must not
  Attach(&copy);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{20, 20, 120, 50}));
}

TEST_F(DlgResizeTest, AssignmentCopiesTheRecordsAndLocks) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize.LockWindowDim(button, true, false, false, false);
  DlgResize assigned;
  assigned = mResize;
  mResize.LockWindowDim(button, false, false, false, false);  // changes the original only
  Attach(&assigned);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{10, 20, 210, 80}));
}

TEST_F(DlgResizeTest, AssigningAnEmptyObjectForgetsEverything) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  mResize.OnDlgInit(mDialog, nullptr);
  mResize = DlgResize();
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(button), (Box{10, 10, 110, 40}));
}

TEST_F(DlgResizeTest, GetClientPosOfNullHandlesIsZero) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  RECT rect{1, 2, 3, 4};
  DlgResize::GetClientPos(nullptr, button, rect);
  EXPECT_EQ(ToBox(rect), (Box{0, 0, 0, 0}));
  rect = RECT{1, 2, 3, 4};
  DlgResize::GetClientPos(mDialog, nullptr, rect);
  EXPECT_EQ(ToBox(rect), (Box{0, 0, 0, 0}));
  rect = RECT{1, 2, 3, 4};
  DlgResize::GetClientPos(nullptr, nullptr, rect);
  EXPECT_EQ(ToBox(rect), (Box{0, 0, 0, 0}));
}

TEST_F(DlgResizeTest, GetClientPosGivesTheChildInTheParentsClientCoordinates) {
  HWND button = AddButton(L"OK", 10, 10, 110, 40);
  ASSERT_TRUE(SetWindowPos(mDialog, nullptr, 123, 77, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE));
  RECT rect{};
  DlgResize::GetClientPos(mDialog, button, rect);
  EXPECT_EQ(ToBox(rect), (Box{10, 10, 110, 40}));
}

// ---- A dialog with a tab control ----

// The tab at (10,10)-(390,250); "Inside" lies in the display area, 10 right of and 10 below its
// corner; "Below" is an OK button under the tab, outside the display area.
class DlgResizeTabTest : public DlgResizeTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DlgResizeTest::SetUp());
    mTab = AddTab();
    ASSERT_NE(mTab, nullptr);
    mInitialDisplay = DisplayArea(mTab);
    // The display area lies inside the tab, below the tabs: TCM_ADJUSTRECT answered.
    ASSERT_GT(mInitialDisplay[0], 10);
    ASSERT_GT(mInitialDisplay[1], 10);
    ASSERT_LT(mInitialDisplay[2], 390);
    ASSERT_LT(mInitialDisplay[3], 250);
    mInside = AddButton(L"Inside", mInitialDisplay[0] + 10, mInitialDisplay[1] + 10, mInitialDisplay[0] + 110,
                        mInitialDisplay[1] + 40);
    mBelow = AddButton(L"Below", 300, 260, 390, 290);
    RecordProperty("InitialDisplayArea",
                   std::to_string(mInitialDisplay[0]) + "," + std::to_string(mInitialDisplay[1]) + "," +
                       std::to_string(mInitialDisplay[2]) + "," + std::to_string(mInitialDisplay[3]));
  }

  long InitialDisplayWidth() const { return mInitialDisplay[2] - mInitialDisplay[0]; }
  long InitialDisplayHeight() const { return mInitialDisplay[3] - mInitialDisplay[1]; }

  // Where a control recorded at `left`,`top`,`right`,`bottom` (dialog coordinates, at 400x300)
  // goes when the display area is now `display`, written out by hand.
  Box Expected(const Box& display, long left, long top, long right, long bottom) const {
    const long width = display[2] - display[0];
    const long height = display[3] - display[1];
    const long x = Scaled(left - mInitialDisplay[0], width, InitialDisplayWidth()) + display[0];
    const long y = Scaled(top - mInitialDisplay[1], height, InitialDisplayHeight()) + display[1];
    return {x, y, x + Scaled(right - left, width, InitialDisplayWidth()),
            y + Scaled(bottom - top, height, InitialDisplayHeight())};
  }

  HWND mTab = nullptr;
  HWND mInside = nullptr;
  HWND mBelow = nullptr;
  Box mInitialDisplay{};
};

TEST_F(DlgResizeTabTest, TheTabControlScalesWithTheDialog) {
  mResize.OnDlgInit(mDialog, mTab);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(mTab), (Box{20, 20, 780, 500}));
  ASSERT_NO_FATAL_FAILURE(ResizeClient(500, 300));
  EXPECT_EQ(Placement(mTab), (Box{12, 10, 487, 250}));  // 12.5 -> 12, width 475
}

TEST_F(DlgResizeTabTest, AControlInTheTabFollowsTheDisplayAreaNotTheDialog) {
  mResize.OnDlgInit(mDialog, mTab);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  const Box display = DisplayArea(mTab);
  const Box inside = Expected(display, mInitialDisplay[0] + 10, mInitialDisplay[1] + 10,
                              mInitialDisplay[0] + 110, mInitialDisplay[1] + 40);
  EXPECT_EQ(Placement(mInside), inside);
  // The display area did not simply double (the tabs keep their height), so the two frames differ.
  EXPECT_NE(display[2] - display[0], 2 * InitialDisplayWidth());
  EXPECT_NE(Placement(mInside), (Box{2 * (mInitialDisplay[0] + 10), 2 * (mInitialDisplay[1] + 10),
                                     2 * (mInitialDisplay[0] + 110), 2 * (mInitialDisplay[1] + 40)}));
}

TEST_F(DlgResizeTabTest, AControlInTheTabTracksTheDisplayAreaThroughSeveralSizes) {
  mResize.OnDlgInit(mDialog, mTab);
  Attach(&mResize);
  const long sizes[][2] = {{500, 300}, {300, 450}, {640, 480}};
  for (const auto& size : sizes) {
    ASSERT_NO_FATAL_FAILURE(ResizeClient(size[0], size[1]));
    const Box display = DisplayArea(mTab);
    EXPECT_EQ(Placement(mInside), Expected(display, mInitialDisplay[0] + 10, mInitialDisplay[1] + 10,
                                           mInitialDisplay[0] + 110, mInitialDisplay[1] + 40))
        << size[0] << "x" << size[1];
  }
  ASSERT_NO_FATAL_FAILURE(ResizeClient(400, 300));
  EXPECT_EQ(Placement(mInside), (Box{mInitialDisplay[0] + 10, mInitialDisplay[1] + 10,
                                     mInitialDisplay[0] + 110, mInitialDisplay[1] + 40}));
}

TEST_F(DlgResizeTabTest, AControlOutsideTheDisplayAreaAlsoFollowsIt) {
  // Every descendant but the tab control is laid out against the display area, on purpose.
  mResize.OnDlgInit(mDialog, mTab);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(mBelow), Expected(DisplayArea(mTab), 300, 260, 390, 290));
  EXPECT_NE(Placement(mBelow), (Box{600, 520, 780, 580}));
}

TEST_F(DlgResizeTabTest, LockWindowDimFindsControlsLaidOutAgainstTheTab) {
  mResize.OnDlgInit(mDialog, mTab);
  mResize.LockWindowDim(mInside, true, true, true, true);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  const Box display = DisplayArea(mTab);
  // Fully locked: the recorded offset from the display area's corner and the recorded size.
  EXPECT_EQ(Placement(mInside), (Box{display[0] + 10, display[1] + 10, display[0] + 110, display[1] + 40}));
}

TEST_F(DlgResizeTabTest, LockingTheTabControlKeepsItsSizeAndTheDisplayAreaWithIt) {
  mResize.OnDlgInit(mDialog, mTab);
  mResize.LockWindowDim(mTab, false, false, true, true);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(mTab), (Box{20, 20, 400, 260}));
  // Same display size as recorded, so the control inside only moves with the corner.
  const Box display = DisplayArea(mTab);
  EXPECT_EQ(display[2] - display[0], InitialDisplayWidth());
  EXPECT_EQ(Placement(mInside), (Box{display[0] + 10, display[1] + 10, display[0] + 110, display[1] + 40}));
}

TEST_F(DlgResizeTabTest, WithoutTheTabHandleEverythingFollowsTheDialog) {
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(mBelow), (Box{600, 520, 780, 580}));
  EXPECT_EQ(Placement(mTab), (Box{20, 20, 780, 500}));
}

TEST_F(DlgResizeTabTest, RunningOnDlgInitWithoutTheTabForgetsTheTabsRecords) {
  mResize.OnDlgInit(mDialog, mTab);
  mResize.OnDlgInit(mDialog, nullptr);
  Attach(&mResize);
  ASSERT_NO_FATAL_FAILURE(ResizeClient(800, 600));
  EXPECT_EQ(Placement(mBelow), (Box{600, 520, 780, 580}));
}

}  // namespace

/* Dialog layout through the C interface (Windows): a real window, a real control, a real resize. */
#include "c_test.h"

#if defined(_WIN32)
#include <windows.h>

/* A borderless 400 x 300 window (client and window rectangles alike) with one button at
 * (10, 10)-(110, 40). */
static HWND make_dialog(HWND* button) {
  WNDCLASSA windowClass;
  HWND dialog;
  memset(&windowClass, 0, sizeof windowClass);
  windowClass.lpfnWndProc = DefWindowProcA;
  windowClass.hInstance = GetModuleHandleA(NULL);
  windowClass.lpszClassName = "TmuCDialog";
  RegisterClassA(&windowClass);
  dialog = CreateWindowExA(0, "TmuCDialog", "c", WS_POPUP, 0, 0, 400, 300, NULL, NULL, windowClass.hInstance,
                           NULL);
  *button = CreateWindowExA(0, "BUTTON", "b", WS_CHILD | WS_VISIBLE, 10, 10, 100, 30, dialog, NULL,
                            windowClass.hInstance, NULL);
  return dialog;
}

static RECT client_rect_of(HWND parent, HWND child) {
  RECT rect;
  GetWindowRect(child, &rect);
  MapWindowPoints(NULL, parent, (POINT*)&rect, 2);
  return rect;
}

/* The button's rectangle after the dialog grew to 800 x 600, with its width locked or not. */
static RECT button_after_growing(int lock_width) {
  HWND button;
  HWND dialog = make_dialog(&button);
  tmu_dialog_layout* layout = NULL;
  RECT rect;
  CHECK(dialog != NULL && button != NULL);
  CHECK_INT(TMU_OK, tmu_dialog_layout_create(&layout));
  CHECK_INT(TMU_OK, tmu_dialog_layout_init(layout, dialog, NULL));
  if (lock_width) CHECK_INT(TMU_OK, tmu_dialog_layout_lock(layout, button, 0, 0, 1, 0));
  SetWindowPos(dialog, NULL, 0, 0, 800, 600, SWP_NOZORDER | SWP_NOMOVE);
  CHECK_INT(TMU_OK, tmu_dialog_layout_size(layout));
  rect = client_rect_of(dialog, button);
  tmu_dialog_layout_destroy(layout);
  DestroyWindow(dialog);
  return rect;
}

static void controls_scale_with_the_dialog(void) {
  const RECT rect = button_after_growing(0);
  CHECK_INT(20, rect.left);
  CHECK_INT(20, rect.top);
  CHECK_INT(220, rect.right);
  CHECK_INT(80, rect.bottom);
}

static void a_locked_width_keeps_its_size(void) {
  const RECT rect = button_after_growing(1);
  CHECK_INT(20, rect.left);
  CHECK_INT(20, rect.top);
  CHECK_INT(120, rect.right);
  CHECK_INT(80, rect.bottom);
}

static void a_null_layout_is_refused(void) {
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_dialog_layout_create(NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_dialog_layout_init(NULL, NULL, NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_dialog_layout_size(NULL));
  CHECK_INT(TMU_INVALID_ARGUMENT, tmu_dialog_layout_lock(NULL, NULL, 1, 1, 1, 1));
  tmu_dialog_layout_destroy(NULL);
}

const c_test_case c_dialog_cases[] = {
    {"dialog_controls_scale_with_the_dialog", controls_scale_with_the_dialog},
    {"dialog_a_locked_width_keeps_its_size", a_locked_width_keeps_its_size},
    {"dialog_a_null_layout_is_refused", a_null_layout_is_refused},
    {NULL, NULL}};
#else
/* DlgResize lays out Win32 dialogs: Linux has none. */
const c_test_case c_dialog_cases[] = {{NULL, NULL}};
#endif

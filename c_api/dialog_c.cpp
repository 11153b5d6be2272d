// The dialog layout functions of the C interface (Windows): a tmu_dialog_layout is a DlgResize.
#include <windows.h>

#include "DlgResize.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"

struct tmu_dialog_layout {
  DlgResize layout;
};

namespace {

using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;

}  // namespace

extern "C" {

tmu_status tmu_dialog_layout_create(tmu_dialog_layout** layout) {
  return Guarded("tmu_dialog_layout_create", [&]() -> tmu_status {
    if (!Present("tmu_dialog_layout_create", "layout", layout)) return TMU_INVALID_ARGUMENT;
    *layout = new tmu_dialog_layout();
    return TMU_OK;
  });
}

void tmu_dialog_layout_destroy(tmu_dialog_layout* layout) { delete layout; }

tmu_status tmu_dialog_layout_init(tmu_dialog_layout* layout, void* dialog, void* tab) {
  return Guarded("tmu_dialog_layout_init", [&]() -> tmu_status {
    if (!Present("tmu_dialog_layout_init", "layout", layout)) return TMU_INVALID_ARGUMENT;
    layout->layout.OnDlgInit(static_cast<HWND>(dialog), static_cast<HWND>(tab));
    return TMU_OK;
  });
}

tmu_status tmu_dialog_layout_size(tmu_dialog_layout* layout) {
  return Guarded("tmu_dialog_layout_size", [&]() -> tmu_status {
    if (!Present("tmu_dialog_layout_size", "layout", layout)) return TMU_INVALID_ARGUMENT;
    layout->layout.OnDlgSize();
    return TMU_OK;
  });
}

tmu_status tmu_dialog_layout_lock(tmu_dialog_layout* layout, void* control, int lock_x, int lock_y,
                                  int lock_width, int lock_height) {
  return Guarded("tmu_dialog_layout_lock", [&]() -> tmu_status {
    if (!Present("tmu_dialog_layout_lock", "layout", layout)) return TMU_INVALID_ARGUMENT;
    layout->layout.LockWindowDim(static_cast<HWND>(control), lock_x != 0, lock_y != 0, lock_width != 0,
                                 lock_height != 0);
    return TMU_OK;
  });
}

}  // extern "C"

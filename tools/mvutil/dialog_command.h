// mvutil dialog: shows the library's DlgResize laying out a sample dialog (Windows only).
#ifndef MVUTIL_DIALOG_COMMAND_H
#define MVUTIL_DIALOG_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kDialogUsage[];

// mvutil dialog demo [--hold]
// Opens a sample window with a tab control and a few controls laid out by DlgResize, sizes its
// client area to 400x300, 800x600, 500x300, 300x450 and 400x300 again, and prints after each size
// where every control is, one line each. With --hold the window then stays open until closed.
int RunDialogCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_DIALOG_COMMAND_H

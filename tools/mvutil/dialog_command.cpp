#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "dialog_command.h"

#include "platform/win32/windows_include.h"

#include <commctrl.h>

#include <iomanip>
#include <ostream>
#include <string>
#include <vector>

#include "DlgResize.h"
#include "platform/unique_resource.h"

namespace mvutil {

const char kDialogUsage[] =
    "Usage: mvutil dialog demo [--hold]\n"
    "Shows the library's DlgResize keeping a dialog's controls in proportion.\n\n"
    "  demo     open a sample window (a tab control, two edit fields laid over it, OK and Cancel\n"
    "           below it; OK keeps its size), give its client area the sizes 400x300, 800x600,\n"
    "           500x300, 300x450 and 400x300 again, and print after each size where every\n"
    "           control is, in client coordinates:\n"
    "             client WIDTHxHEIGHT\n"
    "               NAME     (LEFT,TOP)-(RIGHT,BOTTOM) WIDTHxHEIGHT\n"
    "           The line 'display' is the tab's display area, which the controls other than the\n"
    "           tab follow.\n"
    "  --hold   then keep the window open, still laid out at every size change, until closed\n\n"
    "Exit codes: 0 success, 1 the window could not be made, 2 wrong command line.\n";

namespace {

constexpr wchar_t kWindowClass[] = L"MvutilDialogDemo";

struct WindowTraits {
  using Type = HWND;
  static Type Invalid() { return nullptr; }
  static void Close(Type window) {
    const DWORD error = GetLastError();
    DestroyWindow(window);  // and its controls with it
    SetLastError(error);
  }
};
using UniqueWindow = Tavro_KVO_Util::platform::UniqueResource<WindowTraits>;

// What the window procedure reaches through GWLP_USERDATA.
struct DemoState {
  DlgResize layout;
  bool quitWhenClosed = false;  // --hold: the message loop ends with the window
};

struct Control {
  const char* name;
  HWND hWnd;
};

LRESULT CALLBACK DemoProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = reinterpret_cast<DemoState*>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
  if (message == WM_SIZE && state != nullptr) {
    state->layout.OnDlgSize();
    return 0;
  }
  if (message == WM_DESTROY && state != nullptr && state->quitWhenClosed) PostQuitMessage(0);
  return DefWindowProcW(hWnd, message, wParam, lParam);
}

bool RegisterDemoClass() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = DemoProc;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  windowClass.lpszClassName = kWindowClass;
  // A second run in the same process (the tests) finds the class registered.
  return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

HWND AddControl(HWND parent, const wchar_t* windowClass, const wchar_t* text, DWORD style, int left, int top,
                int right, int bottom) {
  HWND control = CreateWindowExW(0, windowClass, text, WS_CHILD | WS_VISIBLE | style, left, top, right - left,
                                 bottom - top, parent, /*hMenu=*/nullptr, GetModuleHandleW(nullptr),
                                 /*lpParam=*/nullptr);
  if (control != nullptr) {
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
  }
  return control;
}

// Gives `window` a client area of exactly `width` x `height`, measuring its frame.
void SetClientSize(HWND window, int width, int height) {
  RECT outer{};
  RECT client{};
  GetWindowRect(window, &outer);
  GetClientRect(window, &client);
  const int frameWidth = (outer.right - outer.left) - client.right;
  const int frameHeight = (outer.bottom - outer.top) - client.bottom;
  SetWindowPos(window, /*hWndInsertAfter=*/nullptr, 0, 0, width + frameWidth, height + frameHeight,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void PrintRect(std::ostream& out, const char* name, const RECT& rect) {
  out << "  " << std::left << std::setw(8) << name << std::right << " (" << rect.left << "," << rect.top
      << ")-(" << rect.right << "," << rect.bottom << ") " << (rect.right - rect.left) << "x"
      << (rect.bottom - rect.top) << "\n";
}

void PrintLayout(std::ostream& out, HWND window, HWND tab, const std::vector<Control>& controls) {
  RECT client{};
  GetClientRect(window, &client);
  out << "client " << client.right << "x" << client.bottom << "\n";
  for (const Control& control : controls) {
    RECT rect{};
    DlgResize::GetClientPos(window, control.hWnd, rect);
    PrintRect(out, control.name, rect);
    if (control.hWnd == tab) {
      SendMessageW(tab, TCM_ADJUSTRECT, /*wParam (larger)=*/FALSE, reinterpret_cast<LPARAM>(&rect));
      PrintRect(out, "display", rect);
    }
  }
}

// The sample dialog at a client size of 400x300; false when a window could not be made.
// OK keeps its size (`ok`); everything else scales.
bool BuildDemo(HWND window, HWND& tab, HWND& ok, std::vector<Control>& controls) {
  tab = AddControl(window, WC_TABCONTROLW, L"", WS_CLIPSIBLINGS, 10, 10, 390, 250);
  if (tab == nullptr) return false;
  wchar_t general[] = L"General";
  wchar_t notes[] = L"Notes";
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = general;
  SendMessageW(tab, TCM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
  item.pszText = notes;
  SendMessageW(tab, TCM_INSERTITEMW, 1, reinterpret_cast<LPARAM>(&item));
  ok = AddControl(window, L"BUTTON", L"OK", BS_DEFPUSHBUTTON, 220, 260, 300, 290);
  controls = {
      {"tab", tab},
      {"name", AddControl(window, L"EDIT", L"Name", WS_BORDER | ES_AUTOHSCROLL, 30, 60, 370, 85)},
      {"notes", AddControl(window, L"EDIT", L"Notes", WS_BORDER | ES_MULTILINE, 30, 95, 370, 230)},
      {"ok", ok},
      {"cancel", AddControl(window, L"BUTTON", L"Cancel", BS_PUSHBUTTON, 310, 260, 390, 290)},
  };
  for (const Control& control : controls) {
    if (control.hWnd == nullptr) return false;
  }
  // The tab paints behind the controls laid over it.
  SetWindowPos(tab, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  return true;
}

int Demo(bool hold, Io& io) {
  INITCOMMONCONTROLSEX classes{sizeof classes, ICC_TAB_CLASSES};
  if (!InitCommonControlsEx(&classes) || !RegisterDemoClass()) {
    io.err << "mvutil dialog: cannot register the window classes (error " << GetLastError() << ")\n";
    return kExitFailure;
  }
  DemoState state;
  state.quitWhenClosed = hold;
  UniqueWindow window(CreateWindowExW(0, kWindowClass, L"mvutil dialog demo", WS_OVERLAPPEDWINDOW,
                                      CW_USEDEFAULT, CW_USEDEFAULT, 400, 300, /*hWndParent=*/nullptr,
                                      /*hMenu=*/nullptr, GetModuleHandleW(nullptr), /*lpParam=*/nullptr));
  if (window.get() == nullptr) {
    io.err << "mvutil dialog: cannot create the sample window (error " << GetLastError() << ")\n";
    return kExitFailure;
  }
  SetClientSize(window.get(), 400, 300);
  HWND tab = nullptr;
  HWND ok = nullptr;
  std::vector<Control> controls;
  if (!BuildDemo(window.get(), tab, ok, controls)) {
    io.err << "mvutil dialog: cannot create the sample controls (error " << GetLastError() << ")\n";
    return kExitFailure;
  }
  state.layout.OnDlgInit(window.get(), tab);
  state.layout.LockWindowDim(ok, false, false, true, true);
  SetWindowLongPtrW(window.get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&state));
  ShowWindow(window.get(), SW_SHOWNOACTIVATE);

  const int sizes[][2] = {{400, 300}, {800, 600}, {500, 300}, {300, 450}, {400, 300}};
  for (const auto& size : sizes) {
    SetClientSize(window.get(), size[0], size[1]);
    PrintLayout(io.out, window.get(), tab, controls);
  }
  if (hold) {
    io.out << "Holding the window open; close it to end.\n" << std::flush;
    MSG message{};
    while (GetMessageW(&message, /*hWnd=*/nullptr, 0, 0) > 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    if (!IsWindow(window.get())) window.release();  // closing it destroyed it
  } else {
    SetWindowLongPtrW(window.get(), GWLP_USERDATA, 0);
  }
  return kExitOk;
}

int Usage(Io& io, const std::string& why) {
  io.err << "mvutil dialog: " << why << "\n" << kDialogUsage;
  return kExitUsage;
}

}  // namespace

int RunDialogCommand(const Args& args, Io& io) {
  if (args.empty() || args[0] != "demo") return Usage(io, "the only action is 'demo'");
  bool hold = false;
  for (std::size_t i = 1; i < args.size(); ++i) {
    if (args[i] != "--hold") return Usage(io, "unknown argument '" + args[i] + "'");
    hold = true;
  }
  return Demo(hold, io);
}

}  // namespace mvutil

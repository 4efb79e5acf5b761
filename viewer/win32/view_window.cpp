#include "viewer/win32/view_window.h"

#include <algorithm>
#include <optional>

#include "resources/resource_ids.h"
#include "shell/win32/busy.h"
#include "shell/win32/image_window.h"
#include "shell/win32/main_window.h"
#include "shell/win32/shell_state.h"
#include "viewer/win32/screen.h"
#include "viewer/win32/view_layout.h"
#include "viewer/win32/view_mouse.h"
#include "viewer/win32/view_paint.h"
#include "viewer/win32/walk.h"

namespace imx {
namespace {

constexpr int kKeyStep = 40;  // pixels that an arrow key scrolls

// The status line belongs to the frame: the client area is the picture's alone.
void LeaveRoomForStatus(const ImageView& view, LPARAM lParam) {
  RECT& client = *reinterpret_cast<RECT*>(lParam);
  if (view.beforeFullScreen) return;
  client.bottom = std::max(client.top, client.bottom - StatusHeight(view.window));
}

// As if chosen in the menu: it waits while library work runs.
void Command(int command) {
  SendMessageA(Shell().mainWindow, WM_COMMAND, static_cast<WPARAM>(command), 0);
}

struct Arrow {
  int across, down;
  int otherwise;  // command when there is nothing to scroll
};

std::optional<Arrow> ArrowOf(WPARAM key) {
  switch (key) {
    case VK_LEFT:
      return Arrow{-1, 0, ID_PREVIOUS_PICTURE};
    case VK_RIGHT:
      return Arrow{1, 0, ID_NEXT_PICTURE};
    case VK_UP:
      return Arrow{0, -1, ID_PREVIOUS_PICTURE};
    case VK_DOWN:
      return Arrow{0, 1, ID_NEXT_PICTURE};
    default:
      return std::nullopt;
  }
}

void OnEscape(ImageView& view) {
  if (view.beforeFullScreen) {
    SetFullScreen(view, false);
  } else if (view.playing) {
    StopPlaying(view);
  } else {
    Select(view, std::nullopt);
  }
}

bool OnKey(ImageView& view, WPARAM key) {
  const std::optional<Arrow> arrow = ArrowOf(key);
  if (arrow && GetKeyState(VK_CONTROL) >= 0) {
    const bool scrolls = arrow->across != 0 ? ScrollsAcross(view.view) : ScrollsDown(view.view);
    if (scrolls) {
      ScrollView(view, arrow->across * kKeyStep, arrow->down * kKeyStep);
    } else {
      Command(arrow->otherwise);
    }
    return true;
  }
  switch (key) {
    case VK_NEXT:
      Command(ID_NEXT_PICTURE);
      return true;
    case VK_PRIOR:
      Command(ID_PREVIOUS_PICTURE);
      return true;
    case VK_HOME:
      Command(ID_FIRST_PICTURE);
      return true;
    case VK_END:
      Command(ID_LAST_PICTURE);
      return true;
    case VK_SPACE:
      view.spaceDragged = false;
      return true;
    case VK_ESCAPE:
      OnEscape(view);
      return true;
    default:
      return false;
  }
}

// Alt and a letter opens the main window's menu.
bool IsMenuKey(WPARAM wParam, LPARAM lParam) {
  return (wParam & 0xFFF0) == SC_KEYMENU && lParam != ' ' && lParam != '-';
}

std::optional<LRESULT> OnFrame(ImageView& view, UINT message, WPARAM wParam, LPARAM lParam) {
  HWND window = view.window;
  switch (message) {
    case WM_NCCALCSIZE: {
      const LRESULT result = DefWindowProcA(window, message, wParam, lParam);
      LeaveRoomForStatus(view, lParam);
      return result;
    }
    case WM_NCPAINT:
    case WM_NCACTIVATE: {
      const LRESULT result = DefWindowProcA(window, message, wParam, lParam);
      ShowStatus(view);
      return result;
    }
    case WM_SIZE:
      LayOut(view);
      return 0;
    case kDpiChanged:
      OnDpiChanged(view, *reinterpret_cast<const RECT*>(lParam));
      return 0;
    case WM_ERASEBKGND:
      return 1;  // the paint covers everything
    case WM_PAINT:
      PaintView(view);
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wParam) != WA_INACTIVE) NoteActiveView(window);
      return std::nullopt;
    case WM_SYSCOMMAND:
      if (!IsMenuKey(wParam, lParam)) return std::nullopt;
      return SendMessageA(Shell().mainWindow, message, wParam, lParam);
    default:
      return std::nullopt;
  }
}

std::optional<LRESULT> OnInput(ImageView& view, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_HSCROLL:
    case WM_VSCROLL:
      OnScrollBar(view, message == WM_HSCROLL ? SB_HORZ : SB_VERT, LOWORD(wParam));
      return 0;
    case WM_KEYDOWN:
      if (OnKey(view, wParam)) return 0;
      return std::nullopt;
    case WM_KEYUP:
      // The space bar also holds the picture for dragging.
      if (wParam == VK_SPACE && !view.spaceDragged) Command(ID_PLAY);
      return std::nullopt;
    case WM_TIMER:
      PlayOn(view);
      return 0;
    case WM_DROPFILES:
      if (!DeferWhileBusy(view.window, message, wParam, lParam)) OpenDroppedFiles(wParam);
      return 0;
    default:
      return OnMouse(view, message, wParam, lParam);
  }
}

}  // namespace

LRESULT CALLBACK ViewWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (ImageView* const view = FindView(window)) {
    std::optional<LRESULT> result = OnFrame(*view, message, wParam, lParam);
    if (!result) result = OnInput(*view, message, wParam, lParam);
    if (result) return *result;
  }
  // Its frame may be painted once more when the record is gone already.
  if (message == WM_DESTROY) ForgetView(window);
  return ImageWindowProc(window, message, wParam, lParam);
}

}  // namespace imx

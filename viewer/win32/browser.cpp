#include "viewer/win32/browser.h"

#include <algorithm>
#include <cwchar>
#include <deque>
#include <initializer_list>
#include <memory>
#include <optional>

#include "shell/model/save_texts.h"
#include "shell/win32/busy.h"
#include "shell/win32/dialogs.h"
#include "shell/win32/main_window.h"
#include "shell/win32/open_image.h"
#include "shell/win32/procedure_edge.h"
#include "shell/win32/shell_state.h"
#include "viewer/model/folder.h"
#include "viewer/model/thumbnails.h"
#include "viewer/win32/folder_files.h"
#include "viewer/win32/image_view.h"
#include "viewer/win32/quiet_load.h"
#include "viewer/win32/screen.h"

// After windows_api.h, which they need.
#include <commctrl.h>
#include <shlobj.h>

namespace imx {
namespace {

constexpr char kBrowserClass[] = "QMK Browser";
constexpr UINT kOpenItem = WM_APP + 1;  // posted: opening may take long
constexpr UINT_PTR kMakeTimer = 1;
constexpr UINT kMakeMilliseconds = 15;  // input comes first
constexpr int kPictureWidth = 128, kPictureHeight = 96, kCellWidth = 156, kCellHeight = 152;
constexpr std::uint64_t kMostForThumbnail = std::uint64_t{256} << 20;

struct Browser {
  HWND window = nullptr;
  HWND list = nullptr;
  HIMAGELIST blank = nullptr;
  FontGuard font;
  std::string folder;  ///< with its separator
  std::vector<std::string> names;
  std::vector<FolderFile> files;  ///< those of the names
  ThumbnailCache thumbnails;
  std::deque<std::size_t> wanted;  ///< seen, but without a thumbnail
};

std::unique_ptr<Browser> browser;

LRESULT List(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
  return SendMessageA(browser->list, message, wParam, lParam);
}

int Scaled(int length) {
  return ScaledForDpi(browser->window, length);
}

void Want(std::size_t item) {
  std::deque<std::size_t>& wanted = browser->wanted;
  if (std::find(wanted.begin(), wanted.end(), item) != wanted.end()) return;
  wanted.push_back(item);
  SetTimer(browser->window, kMakeTimer, kMakeMilliseconds, nullptr);
}

// Lets messages in while a thumbnail is made. Nonzero when something waits for its end.
int LetMessagesIn(void*) {
  static DWORD last = 0;
  if (GetTickCount() - last < kMakeMilliseconds) return AnythingDeferred() ? 1 : 0;
  const BusyScope busy;
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return 1;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  last = GetTickCount();
  return AnythingDeferred() ? 1 : 0;
}

Thumbnail ThumbnailOf(const std::string& path) {
  const BusyScope busy;
  LoadChoices choices;
  choices.way = Shell().readingWay;
  choices.maxBytes = kMostForThumbnail;
  LoadResult result = LoadQuietly(path, choices, false, LetMessagesIn);
  if (result.want == LoadWant::frame) {
    choices.frame = 0;
    result = LoadQuietly(path, choices, false, LetMessagesIn);
  }
  if (!result.image) return {{}, {}, result.reason};
  return MakeThumbnail(*result.image, {Scaled(kPictureWidth), Scaled(kPictureHeight)});
}

bool IsSeen(std::size_t item) {
  RECT place = {LVIR_BOUNDS, 0, 0, 0};
  RECT client = {}, both = {};
  GetClientRect(browser->list, &client);
  return List(LVM_GETITEMRECT, item, reinterpret_cast<LPARAM>(&place)) != 0 &&
         IntersectRect(&both, &place, &client);
}

// Makes one thumbnail that is still wanted.
void MakeOne() {
  if (IsBusy()) return;
  std::deque<std::size_t>& wanted = browser->wanted;
  // What was scrolled out of sight is wanted again when it is seen again.
  while (!wanted.empty() && !IsSeen(wanted.front())) wanted.pop_front();
  if (wanted.empty()) {
    KillTimer(browser->window, kMakeTimer);
    return;
  }
  const std::size_t item = wanted.front();
  wanted.pop_front();
  const std::string folder = browser->folder, name = browser->names[item];
  Thumbnail thumbnail = ThumbnailOf(folder + name);
  const bool stopped = AnythingDeferred();
  PostDeferred();
  if (!browser || browser->folder != folder) return;
  if (stopped) {
    Want(item);
    return;
  }
  browser->thumbnails.Put(name, std::move(thumbnail));
  List(LVM_REDRAWITEMS, item, static_cast<LPARAM>(item));
}

void DrawPicture(HDC context, const Thumbnail& thumbnail, const RECT& cell) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = thumbnail.size.width;
  info.bmiHeader.biHeight = -thumbnail.size.height;  // top-down
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  const int x = (cell.left + cell.right - thumbnail.size.width) / 2;
  const int y = cell.top + 4 + (Scaled(kPictureHeight) - thumbnail.size.height) / 2;
  SetDIBitsToDevice(context, x, y, static_cast<DWORD>(thumbnail.size.width),
                    static_cast<DWORD>(thumbnail.size.height), 0, 0, 0,
                    static_cast<UINT>(thumbnail.size.height), thumbnail.bgrx.data(), &info,
                    DIB_RGB_COLORS);
}

// Lines one below the other, each cut by itself.
void DrawLines(HDC context, std::initializer_list<std::string> lines, RECT place) {
  for (const std::string& line : lines) {
    place.top += DrawTextA(context, line.c_str(), -1, &place,
                           DT_CENTER | DT_NOPREFIX | DT_SINGLELINE | DT_END_ELLIPSIS);
  }
}

void DrawItem(HDC context, std::size_t item) {
  if (item >= browser->names.size()) return;
  RECT cell = {LVIR_BOUNDS, 0, 0, 0};
  List(LVM_GETITEMRECT, item, reinterpret_cast<LPARAM>(&cell));
  const bool selected = List(LVM_GETITEMSTATE, item, LVIS_SELECTED) != 0;
  FillRect(context, &cell, GetSysColorBrush(selected ? COLOR_HIGHLIGHT : COLOR_WINDOW));
  const Thumbnail* const thumbnail = browser->thumbnails.Find(browser->names[item]);
  if (!thumbnail) Want(item);
  if (thumbnail && !thumbnail->bgrx.empty()) DrawPicture(context, *thumbnail, cell);
  const FolderFile& file = browser->files[item];
  const RECT lines = {cell.left + 2, cell.top + Scaled(kPictureHeight) + 6, cell.right - 2,
                      cell.bottom};
  HGDIOBJ before = SelectObject(context, browser->font.get());
  SetBkMode(context, TRANSPARENT);
  SetTextColor(context, GetSysColor(selected ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
  DrawLines(context,
            {file.name, file.format + ", " + FileSizeText(file.bytes),
             thumbnail ? thumbnail->facts : std::string()},
            lines);
  SelectObject(context, before);
}

LRESULT OnCustomDraw(const NMLVCUSTOMDRAW& draw) {
  switch (draw.nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
      return CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT:
      DrawItem(draw.nmcd.hdc, draw.nmcd.dwItemSpec);
      return CDRF_SKIPDEFAULT;
    default:
      return CDRF_DODEFAULT;
  }
}

// Its text is what the list itself measures; all of it is drawn by DrawItem.
void Describe(NMLVDISPINFOA& wanted) {
  const auto item = static_cast<std::size_t>(wanted.item.iItem);
  if ((wanted.item.mask & LVIF_TEXT) != 0 && wanted.item.cchTextMax > 0) {
    const std::string text = item < browser->names.size() ? browser->names[item] : "";
    const std::size_t length =
        text.copy(wanted.item.pszText, static_cast<std::size_t>(wanted.item.cchTextMax) - 1);
    wanted.item.pszText[length] = '\0';
  }
  if ((wanted.item.mask & LVIF_IMAGE) != 0) wanted.item.iImage = 0;
}

// In the encoding of the names.
std::string Narrow(const wchar_t* text) {
  std::string narrow(3 * std::wcslen(text) + 1, '\0');
  const int length = WideCharToMultiByte(CP_ACP, 0, text, -1, narrow.data(),
                                         static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
  return narrow;
}

LRESULT OnNotify(const NMHDR& header) {
  switch (header.code) {
    case NM_CUSTOMDRAW:
      return OnCustomDraw(*reinterpret_cast<const NMLVCUSTOMDRAW*>(&header));
    case LVN_GETDISPINFOA:
      Describe(*reinterpret_cast<NMLVDISPINFOA*>(const_cast<NMHDR*>(&header)));
      return 0;
    case LVN_ITEMACTIVATE:
      // A key tells of no item of its own.
      PostMessageA(
          browser->window, kOpenItem,
          static_cast<WPARAM>(List(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED)), 0);
      return 0;
    case LVN_ODFINDITEMA: {
      const auto& find = *reinterpret_cast<const NMLVFINDITEMA*>(&header);
      return find.lvfi.psz ? FindByStart(browser->names, find.lvfi.psz, find.iStart) : -1;
    }
    case LVN_ODFINDITEMW: {
      const auto& find = *reinterpret_cast<const NMLVFINDITEMW*>(&header);
      return find.lvfi.psz ? FindByStart(browser->names, Narrow(find.lvfi.psz), find.iStart) : -1;
    }
    default:
      return 0;
  }
}

// Gives the items the size of the window's monitor.
void SizeItems() {
  const HIMAGELIST before = browser->blank;
  browser->blank =
      ImageList_Create(Scaled(kPictureWidth), Scaled(kPictureHeight), ILC_COLOR24, 1, 1);
  ImageList_SetImageCount(browser->blank, 1);
  List(LVM_SETIMAGELIST, LVSIL_NORMAL, reinterpret_cast<LPARAM>(browser->blank));
  if (before) ImageList_Destroy(before);
  List(LVM_SETICONSPACING, 0, MAKELPARAM(Scaled(kCellWidth), Scaled(kCellHeight)));
  browser->font = StatusFont(browser->window);
  browser->thumbnails.Clear();
}

void MakeList(HWND window) {
  browser->list = CreateWindowExA(0, WC_LISTVIEWA, "",
                                  WS_CHILD | WS_VISIBLE | LVS_ICON | LVS_OWNERDATA | LVS_SINGLESEL |
                                      LVS_SHOWSELALWAYS | LVS_AUTOARRANGE,
                                  0, 0, 0, 0, window, nullptr, Shell().instance, nullptr);
  SizeItems();
  List(LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_DOUBLEBUFFER, LVS_EX_DOUBLEBUFFER);
}

void OnDpiChanged(const RECT& suggested) {
  SizeItems();
  SetWindowPos(browser->window, nullptr, suggested.left, suggested.top,
               suggested.right - suggested.left, suggested.bottom - suggested.top,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void Open(std::size_t item) {
  if (item < browser->names.size()) OpenNamedFile(browser->folder + browser->names[item]);
}

void Forget() {
  ImageList_Destroy(browser->blank);
  browser.reset();
}

LRESULT CALLBACK BrowserProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!browser) return DefWindowProcA(window, message, wParam, lParam);
  switch (message) {
    case WM_CREATE:
      browser->window = window;
      MakeList(window);
      return 0;
    case WM_SIZE:
      MoveWindow(browser->list, 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
      List(LVM_ARRANGE, LVA_DEFAULT);
      // The scroll bars follow.
      List(LVM_SETITEMCOUNT, browser->names.size(), LVSICF_NOSCROLL);
      return 0;
    case kDpiChanged:
      OnDpiChanged(*reinterpret_cast<const RECT*>(lParam));
      return 0;
    case WM_SETFOCUS:
      SetFocus(browser->list);
      return 0;
    case WM_NOTIFY:
      return OnNotify(*reinterpret_cast<const NMHDR*>(lParam));
    case WM_TIMER:
      MakeOne();
      return 0;
    case kOpenItem:
      if (!DeferWhileBusy(window, message, wParam, lParam)) Open(wParam);
      return 0;
    case WM_CLOSE:
      if (DeferWhileBusy(window, message, wParam, lParam)) return 0;
      break;
    case WM_DESTROY:
      Forget();
      return 0;
    default:
      break;
  }
  return DefWindowProcA(window, message, wParam, lParam);
}

void RegisterBrowserClass() {
  WNDCLASSA windowClass = {};
  windowClass.lpfnWndProc = Guarded<BrowserProc>;
  windowClass.hInstance = Shell().instance;
  windowClass.hCursor = LoadCursorA(nullptr, IDC_ARROW);
  windowClass.lpszClassName = kBrowserClass;
  RegisterClassA(&windowClass);  // again: nothing
}

bool MakeBrowser() {
  if (browser) return true;
  INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&controls);
  RegisterBrowserClass();
  browser = std::make_unique<Browser>();
  const RECT work = WorkArea(Shell().mainWindow);
  const int width = (work.right - work.left) * 3 / 4, height = (work.bottom - work.top) * 3 / 4;
  HWND window = CreateWindowExA(0, kBrowserClass, "", WS_OVERLAPPEDWINDOW, work.left + width / 6,
                                work.top + height / 6, width, height, Shell().mainWindow, nullptr,
                                Shell().instance, nullptr);
  if (!window) {
    browser.reset();
    return false;
  }
  ShowProgramIcon(window);
  return true;
}

void ShowFolder(const std::string& folder) {
  if (!MakeBrowser()) return;
  browser->folder = folder;
  browser->files = PicturesOf(folder);
  browser->names.clear();
  for (const FolderFile& file : browser->files) browser->names.push_back(file.name);
  browser->thumbnails.Clear();
  browser->wanted.clear();
  const std::string title = folder + " - " + std::to_string(browser->names.size()) + " pictures";
  SetWindowTextA(browser->window, title.c_str());
  List(LVM_SETITEMCOUNT, browser->names.size(), 0);
  ShowWindow(browser->window, SW_SHOW);
  SetForegroundWindow(browser->window);
  LVITEMA first = {};
  first.stateMask = first.state = LVIS_FOCUSED | LVIS_SELECTED;
  List(LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&first));
  List(LVM_ARRANGE, LVA_DEFAULT);
  List(LVM_ENSUREVISIBLE, 0, FALSE);
  InvalidateRect(browser->list, nullptr, TRUE);
}

int CALLBACK SelectFolder(HWND dialog, UINT message, LPARAM, LPARAM folder) {
  if (message == BFFM_INITIALIZED) SendMessageA(dialog, BFFM_SETSELECTIONA, TRUE, folder);
  return 0;
}

// Empty when the user cancelled.
std::string AskForFolder(const std::string& start) {
  const DialogScope scope;
  BROWSEINFOA request = {};
  request.hwndOwner = Shell().mainWindow;
  request.lpszTitle = "Show the pictures of this folder:";
  request.ulFlags = BIF_RETURNONLYFSDIRS;
  request.lpfn = SelectFolder;
  request.lParam = reinterpret_cast<LPARAM>(start.c_str());
  LPITEMIDLIST chosen = SHBrowseForFolderA(&request);
  if (!chosen) return {};
  char path[MAX_PATH] = "";
  SHGetPathFromIDListA(chosen, path);
  CoTaskMemFree(chosen);
  return path;
}

}  // namespace

void RunBrowseFolder() {
  std::string start = browser ? browser->folder : std::string();
  if (const ImageView* const view = ActiveView()) start = FolderOfPath(view->image().path);
  const std::string folder = AskForFolder(start);
  if (!folder.empty()) BrowseFolder(folder);
}

void BrowseFolder(const std::string& path) {
  ShowFolder(path.ends_with('\\') ? path : path + '\\');
}

HWND BrowserWindow() {
  return browser ? browser->window : nullptr;
}

}  // namespace imx

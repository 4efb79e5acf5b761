#include "viewer/win32/image_view.h"

#include <map>
#include <memory>
#include <utility>

#include "imagelib/text.h"
#include "shell/model/display_texts.h"
#include "shell/win32/main_window.h"
#include "shell/win32/shell_state.h"
#include "viewer/win32/files.h"
#include "viewer/win32/view_layout.h"
#include "viewer/win32/view_paint.h"

// After windows_api.h, which it needs.
#include <shellapi.h>

namespace imx {
namespace {

std::map<HWND, std::unique_ptr<ImageView>> views;
HWND active = nullptr;

}  // namespace

void OpenView(DisplayRecord& record) {
  auto view = std::make_unique<ImageView>();
  view->window = static_cast<HWND>(record.window);
  view->record = &record;
  view->view.image = {record.image->width, record.image->height};
  ImageView& opened = *view;
  views[opened.window] = std::move(view);
  active = opened.window;
  ShowProgramIcon(opened.window);
  DragAcceptFiles(opened.window, TRUE);
  PlaceNewWindow(opened);
  NoteRecent(opened.image());
}

void ForgetView(HWND window) {
  views.erase(window);
  if (active == window) active = nullptr;
}

ImageView* FindView(HWND window) {
  const auto found = views.find(window);
  return found == views.end() ? nullptr : found->second.get();
}

ImageView* ActiveView() {
  if (ImageView* const view = FindView(active)) return view;
  const ImageRecord* const first = FirstImage(Shell().windows);
  return first ? FindView(static_cast<HWND>(first->display->window)) : nullptr;
}

void NoteActiveView(HWND window) {
  active = window;
}

std::vector<History*> AllHistories() {
  std::vector<History*> histories;
  for (const auto& [window, view] : views) histories.push_back(&view->history);
  return histories;
}

ImageGuard ExchangeImage(ImageView& view, ImageGuard image) {
  DisplayRecord& record = *view.record;
  ImageGuard before(std::exchange(record.image, image.release()));
  record.image->display = &record;
  before->display = nullptr;
  WindowTable& windows = Shell().windows;
  if (windows.current == before.get()) windows.current = record.image;
  view.quarter = {};
  view.selection.reset();
  view.selecting.reset();
  view.pixel.reset();
  const Extent size = {record.image->width, record.image->height};
  if (size != view.view.image) {
    ReplaceImage(view.view, size);
    FollowImage(view);
  }
  ShowTitle(view);
  LayOut(view);
  return before;
}

void NoteSaved(DisplayRecord& record, const std::string& path) {
  ImageRecord& image = *record.image;
  CopyTextCut(image.name, PathFileName(path));
  CopyTextCut(image.path, path);
  NoteRecent(image);
  if (ImageView* const view = FindView(static_cast<HWND>(record.window))) {
    view->note.clear();
    view->notice.clear();
    MarkAllEdited(view->history);
    ShowTitle(*view);
    ShowStatus(*view);
  }
}

void ShowTitle(const ImageView& view) {
  const std::string name = view.image().name + view.note;
  SetWindowTextA(view.window, ImageWindowTitle(view.record->number, name).c_str());
}

}  // namespace imx

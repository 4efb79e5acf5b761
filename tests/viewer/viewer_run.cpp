#include "tests/viewer/viewer_run.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "dispatch/save.h"
#include "imagelib/copy_image.h"
#include "imagelib/registry.h"
#include "resources/resource_ids.h"
#include "tests/support/pictures.h"
#include "tools/drive/screen_picture.h"

namespace imx::test {

namespace {

constexpr int kNameField = 0x47C;  // of the system's file dialogs
const char kImageClass[] = "KZ_kidz_clazz";

/// The image in the upper left of a picture that is black beyond it.
ImageGuard OnBlack(const ImageRecord& image, int width, int height) {
  ImageGuard picture = Solid(width, height, {0, 0, 0, 255});
  for (int y = 0; y < std::min(height, image.height); ++y) {
    for (int x = 0; x < std::min(width, image.width); ++x) {
      SetPixel(*picture, x, y, PixelAt(image, x, y));
    }
  }
  return picture;
}

}  // namespace

std::string ProgramOfBuild(const char* name) {
  return PlaceFromTests(std::string("..\\") + name);
}

std::string StorePicture(TempDir& temp, const char* name, const ImageRecord& image,
                         std::int32_t depth) {
  const ImageGuard copy = CopyImage(image);
  copy->saveType = TypeRowByExtension(PathExtension(name).data() + 1);
  copy->saveDepth = depth;
  const std::string path = temp.file(name);
  EXPECT_EQ(SaveImage(path.c_str(), copy.get()), 0);
  return path;
}

ViewerRun::ViewerRun(const std::vector<std::string>& files)
    : DrivenRun(ProgramOfBuild("imxview.exe"), "", files),
      window_(WaitForWindowOfClass(program(), "QMK Viewer", kAnswerMilliseconds)) {
  if (!window_) Lose("no main window");
}

HWND ViewerRun::Menu(char letter) {
  if (lost()) return nullptr;
  // Work that shows progress, and dialogs, would take the letters away from the menu.
  Becomes(
      [&] { return IsWindowEnabled(window_) && !FindWindowOfClass(program(), "KZ_prgz_clazz"); });
  const HWND menu = OpenMenu(program(), window_, letter, kAnswerMilliseconds);
  if (!menu) Lose(std::string("no menu ") + letter);
  return menu;
}

void ViewerRun::ExpectClosed(HWND menu) {
  // Until it is closed, it takes what is typed and pressed.
  if (!Becomes([&] { return !IsWindowVisible(menu); })) Lose("the menu stays open");
}

void ViewerRun::Choose(const char* letters) {
  const HWND menu = Menu(letters[0]);
  if (!menu) return;
  ChooseInMenu(window_, letters[1]);
  ExpectClosed(menu);
}

void ViewerRun::ExpectTicks(char letter, const std::vector<bool>& expected) {
  const HWND menu = Menu(letter);
  if (!menu) return;
  const auto items = static_cast<int>(expected.size());
  EXPECT_TRUE(Becomes([&] { return ReadTicks(menu, items) == expected; })) << "in menu " << letter;
  // The first closes the menu, the second leaves the menu bar.
  TypeKey(window_, VK_ESCAPE);
  TypeKey(window_, VK_ESCAPE);
  ExpectClosed(menu);
}

void ViewerRun::TypePath(const std::string& title, const std::string& path) {
  if (!Expect(title)) return;
  SetControlText(dialog(), kNameField, path);
  PressButton(IDOK);
}

void ViewerRun::TypeFactor(const std::string& title, const char* shown, const char* typed) {
  if (!Expect(title)) return;
  EXPECT_EQ(ControlTextOf(dialog(), IDC_FACTOR), shown);
  SetControlText(dialog(), IDC_FACTOR, typed);
  PressButton(IDOK);
}

void ViewerRun::PickImage(const std::string& title, int number) {
  if (!Expect(title)) return;
  const std::string line = "[" + std::to_string(number) + "] ";
  if (!SelectInListBox(dialog(), IDC_WINDOW_LIST, line)) Lose("no line " + line);
  PressButton(IDOK);
}

void ViewerRun::PickFifthFrame(const char* last) {
  if (!Expect("Extract Image from Sequence")) return;
  EXPECT_EQ(ControlTextOf(dialog(), IDC_FRAME_TEXT), "0");
  EXPECT_EQ(ControlTextOf(dialog(), IDC_LAST_FRAME_TEXT), last);
  const HWND bar = GetDlgItem(dialog(), IDC_FRAME);
  const auto frameBecomes = [&](const char* frame) {
    EXPECT_TRUE(Becomes([&] { return ControlTextOf(dialog(), IDC_FRAME_TEXT) == frame; }));
  };
  PostMessageA(dialog(), WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 2), reinterpret_cast<LPARAM>(bar));
  frameBecomes("2");
  TypeKey(bar, VK_LEFT);
  frameBecomes("1");
  TypeKey(bar, VK_NEXT);
  frameBecomes(last);
  TypeKey(bar, VK_PRIOR);
  for (int i = 0; i < 4; ++i) TypeKey(bar, VK_RIGHT);
  frameBecomes("4");
  PressButton(IDOK);
}

void ViewerRun::Save(const char* type, const char* depth, int option, const std::string& path) {
  if (!Expect("Output Render Choices")) return;
  if (!SelectInDropDown(dialog(), IDC_FILE_TYPE, type)) Lose(std::string("no type ") + type);
  if (!SelectInDropDown(dialog(), IDC_DEPTH, depth)) Lose(std::string("no depth ") + depth);
  const std::string title = "Save As " + ControlTextOf(dialog(), IDC_FILE_TYPE) + " Image in " +
                            ControlTextOf(dialog(), IDC_DEPTH) + " mode";
  if (option != kNoOption) PressButton(option);
  PressButton(IDOK);
  TypePath(title, path);
}

HWND ViewerRun::Image(int number, const std::string& name) {
  if (lost()) return nullptr;
  const std::string title = "[" + std::to_string(number) + "] - " + name;
  const HWND image = WaitForWindowOfClass(program(), kImageClass, kAnswerMilliseconds, title);
  if (!image) Lose("no image window " + title);
  return image;
}

void ViewerRun::Drag(HWND image, POINT from, POINT to) {
  if (!lost()) DragMouse(image, from, to);
}

void ViewerRun::TypeControlKey(char letter) {
  if (lost()) return;
  // A key that is typed while the keyboard goes from one window to another is lost.
  for (int tries = 0; tries < 5; ++tries) {
    if (imx::TypeControlKey(program(), letter, kAnswerMilliseconds) &&
        WaitForDialog(program(), dialog(), kAnswerMilliseconds / 5)) {
      return;
    }
  }
  Lose(std::string("nothing opens by Ctrl and ") + letter);
}

void ViewerRun::Close(HWND image) {
  if (lost()) return;
  PostMessageA(image, WM_SYSCOMMAND, SC_CLOSE, 0);
  ExpectGone(image);
}

void ViewerRun::ExpectGone(HWND image) {
  if (lost()) return;
  if (!Becomes([&] { return !IsWindow(image); })) Lose("an image window does not close");
}

void ViewerRun::ExpectShown(HWND image, const ImageRecord& wanted) {
  if (lost()) return;
  std::string difference;
  EXPECT_TRUE(Becomes([&] {
    // Raised for every look: a window opened before may still be on its way to the top.
    SetWindowPos(image, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    const ImageGuard shown = ReadClientArea(image);
    if (!shown) return false;
    // A small image's window is wider than the image.
    difference = Difference(*OnBlack(wanted, shown->width, shown->height), *shown, Channels::rgb);
    return difference.empty();
  })) << WindowText(image)
      << ": " << difference;
}

}  // namespace imx::test

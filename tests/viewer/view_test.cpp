// The real viewer's own commands: zoom, folders, undo, the clipboard and saving by name.

#include <gtest/gtest.h>

#include <cstring>

#include "dispatch/load.h"
#include "ops/operations.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/viewer/viewer_run.h"
#include "tools/drive/screen_picture.h"
#include "viewer/model/clipboard_bitmap.h"

namespace imx::test {
namespace {

class ViewTest : public LibraryTest {
 protected:
  void TearDown() override {
    photo = ImageGuard();
    LibraryTest::TearDown();
  }

  ImageGuard photo = PhotoLike(120, 80);
  const std::string photoPath = StorePicture(temp, "photo.png", *photo, 1);
};

TEST_F(ViewTest, ToolsWorkInImagePixelsAtEveryZoom) {
  ViewerRun run({photoPath});
  const HWND first = run.Image(1, "photo.png");
  run.Choose("zi");
  const ImageGuard twice = Rescaled(*photo, {0, 0, 119, 79}, 2).image;
  SetWindowPos(first, nullptr, 0, 0, 400, 300, SWP_NOMOVE | SWP_NOZORDER);
  run.ExpectShown(first, *twice);
  run.Choose("tc");
  run.Drag(first, {20, 20}, {99, 59});
  run.ExpectShown(run.Image(2, "NEW_"), *Clipped(*photo, {10, 10, 49, 29}).image);
}

TEST_F(ViewTest, TheWheelShowsThePixelThatComesUnderThePointer) {
  ViewerRun run({StorePicture(temp, "tall.png", *PhotoLike(300, 2000), 1)});
  const HWND window = run.Image(1, "tall.png");
  POINT at = {50, 50};
  ClientToScreen(window, &at);
  SetCursorPos(at.x, at.y);
  const auto turn = [&](int notches) {
    SendMessageA(window, WM_MOUSEWHEEL, MAKEWPARAM(0, notches * WHEEL_DELTA),
                 MAKELPARAM(at.x, at.y));
  };
  const auto move = [&] {
    SendMessageA(window, WM_MOUSEMOVE, 0, MAKELPARAM(50, 50));
    return ReadSettledScreen();
  };
  turn(-1);
  const ImageGuard down = move();
  turn(1);
  move();
  turn(-1);
  EXPECT_TRUE(Becomes([&] { return Difference(*down, *ReadSettledScreen()).empty(); }));
  // A menu that opens below the pointer follows it.
  SetCursorPos(GetSystemMetrics(SM_CXSCREEN) / 2, GetSystemMetrics(SM_CYSCREEN) - 1);
}

/// What another program, this one, finds on the clipboard.
std::vector<std::uint8_t> OnClipboard(UINT format) {
  std::vector<std::uint8_t> bytes;
  if (!OpenClipboard(nullptr)) return bytes;
  if (HANDLE block = GetClipboardData(format)) {
    bytes.resize(GlobalSize(block));
    std::memcpy(bytes.data(), GlobalLock(block), bytes.size());
    GlobalUnlock(block);
  }
  CloseClipboard();
  return bytes;
}

TEST_F(ViewTest, CopiesPastesAndGoesBack) {
  const ImageGuard veil = AlphaGradient(100, 40);
  ViewerRun run({StorePicture(temp, "veil.png", *veil, 0)});
  const HWND first = run.Image(1, "veil.png");
  run.Choose("va");  // no checkerboard
  run.Drag(first, {10, 5}, {49, 24});
  run.Choose("ec");
  const ClipRegion region = {10, 5, 49, 24};
  const auto wanted = PackedBitmapV5(*veil, region);
  EXPECT_TRUE(Becomes([&] { return OnClipboard(CF_DIBV5) == wanted; }));
  EXPECT_TRUE(OnClipboard(CF_DIB) == PackedBitmap24(*veil, region));

  run.Choose("ic");
  run.Choose("ih");
  ImageGuard cropped = Clipped(*veil, region).image;
  run.Choose("eu");
  TypeKey(first, VK_ESCAPE);
  run.ExpectShown(first, *cropped);
  run.Choose("eu");
  run.ExpectShown(first, *veil);
  run.Choose("er");
  run.Choose("ir");
  run.ExpectShown(first, *Rotated(*cropped, 1).image);
  run.Choose("ep");
  const HWND pasted = run.Image(2, "NEW_");
  run.ExpectShown(pasted, *cropped);

  run.Choose("fa");
  run.TypePath("Save As", temp.file("pasted"));
  EXPECT_EQ(run.Image(2, "pasted.png"), pasted);
  const ImageGuard saved(LoadImage(temp.file("pasted.png").c_str()));
  ASSERT_TRUE(saved);
  EXPECT_EQ(Difference(*cropped, *saved), "") << "alpha as well";
}

TEST_F(ViewTest, GoesThroughTheFolder) {
  StorePicture(temp, "photo10.tga", *Solid(30, 20, {9, 8, 7, 255}), 1);
  const ImageGuard veil = PhotoLike(50, 60);
  StorePicture(temp, "photo9.pcx", *veil, 0);
  temp.Write("photo9a.txt", std::string_view("no picture"));
  temp.Write("photo9b.png", std::string_view("\x89PNG\r\n\x1a\n damaged"));
  ViewerRun run({photoPath});
  const HWND window = run.Image(1, "photo.png");
  const auto press = [&](int key, const char* name) {
    TypeKey(window, key);
    EXPECT_EQ(run.Image(1, name), window);
  };
  press(VK_NEXT, "photo9.pcx");
  press(VK_RIGHT, "photo10.tga");
  TypeKey(window, VK_NEXT);  // the last one stays
  press(VK_UP, "photo9.pcx");
  press(VK_END, "photo10.tga");
  press(VK_HOME, "photo.png");
  run.ExpectShown(window, *photo);
  run.Choose("ih");
  TypeKey(window, VK_NEXT);
  run.ExpectAndClose("Save Changes", "Save changes to photo.png?", IDNO);
  EXPECT_EQ(run.Image(1, "photo9.pcx"), window);
  EXPECT_TRUE(DropFiles(run.program(), window, {photoPath, photoPath}));
  run.Image(3, "photo.png");
  const std::string folder = photoPath.substr(0, photoPath.size() - std::strlen("photo.png"));
  EXPECT_TRUE(DropFiles(run.program(), window, {folder}));
  const HWND browser = WaitForWindowOfClass(run.program(), "QMK Browser", kAnswerMilliseconds,
                                            folder + " - 4 pictures");
  ASSERT_TRUE(browser);
  TypeKey(GetWindow(browser, GW_CHILD), VK_RETURN);
  run.Image(4, "photo.png");
  EXPECT_EQ(SendMessageA(run.window(), WM_QUERYENDSESSION, 0, 0), TRUE);
  PostMessageA(run.window(), WM_SYSCOMMAND, SC_CLOSE, 0);
  run.ExpectEnd();
}

}  // namespace
}  // namespace imx::test

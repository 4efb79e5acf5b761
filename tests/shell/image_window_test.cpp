#include "shell/win32/image_window.h"

#include <gtest/gtest.h>

#include <vector>

#include "imagelib/core/host.h"
#include "ops/clip_region.h"
#include "ops/operations.h"
#include "resources/resource_ids.h"
#include "shell/model/display_row.h"
#include "shell/win32/display_bitmap.h"
#include "shell/win32/open_image.h"
#include "shell/win32/shell_state.h"
#include "tests/shell/shell_run.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

using ImageWindowTest = ShellTest;

void Command(int command) {
  SendMessageA(Shell().mainWindow, WM_COMMAND, static_cast<WPARAM>(command), 0);
}

void Close(HWND window) {
  SendMessageA(window, WM_CLOSE, 0, 0);
}

void Mouse(HWND window, UINT message, WPARAM buttons, int x, int y) {
  SendMessageA(window, message, buttons, MAKELPARAM(x, y));
}

ImageRecord* ImageOf(HWND window) {
  return FindImageWindow(window, false)->image;
}

// The first difference between the window's client area and its image.
std::string ScreenDifference(HWND window, bool checkerboard) {
  const ImageRecord& image = *ImageOf(window);
  const auto rowBytes = static_cast<std::size_t>(4 * image.width);
  std::vector<std::uint8_t> wanted(rowBytes * static_cast<std::size_t>(image.height));
  for (int y = 0; y < image.height; ++y) {
    const auto row = std::span(wanted).subspan(rowBytes * static_cast<std::size_t>(y), rowBytes);
    if (checkerboard) {
      CheckerboardDisplayRow(ImageRow(image, y), y, row);
    } else {
      PlainDisplayRow(ImageRow(image, y), row);
    }
  }
  return test::ScreenDifference(window, image.width, image.height, wanted);
}

TEST_F(ImageWindowTest, ShowsTheImage) {
  Run([](HWND mainWindow) {
    HWND plain = ShowImage("a photo.png", PhotoLike(150, 40));
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(WindowTitle(plain), "[1] - a photo.png");
    EXPECT_EQ(GetWindow(plain, GW_OWNER), mainWindow);
    RECT client = {};
    GetClientRect(plain, &client);
    EXPECT_EQ(client.right, 150);
    EXPECT_EQ(client.bottom, 40);
    EXPECT_EQ(ImageOf(plain)->display, FindImageWindow(plain, false));
    EXPECT_EQ(ImageOf(plain)->flags & kFlagDisplayStale, 0U);
    EXPECT_EQ(ScreenDifference(plain, false), "");

    HWND alpha = ShowImage("b", AlphaGradient(150, 30));
    EXPECT_EQ(WindowTitle(alpha), "[2] - b");
    EXPECT_EQ(ScreenDifference(alpha, true), "");
    Command(ID_TOGGLE_CHECKERBOARD);
    EXPECT_EQ(ScreenDifference(alpha, false), "");
    Command(ID_TOGGLE_CHECKERBOARD);
    EXPECT_EQ(ScreenDifference(alpha, true), "");
    EXPECT_EQ(ScreenDifference(plain, false), "");
  });
}

TEST_F(ImageWindowTest, GrownWindowsShowTheRestAndBlack) {
  Run([](HWND) {
    HWND window = ShowImage("a", AlphaGradient(400, 200));
    RECT whole = {};
    GetWindowRect(window, &whole);
    const int width = whole.right - whole.left;
    const int height = whole.bottom - whole.top;
    SetWindowPos(window, nullptr, 0, 0, width / 2, height / 2, SWP_NOMOVE | SWP_NOZORDER);
    Settle();
    Command(ID_TOGGLE_CHECKERBOARD);  // rebuilt while only a part is seen
    SetWindowPos(window, nullptr, 0, 0, width + 20, height + 20, SWP_NOMOVE | SWP_NOZORDER);
    Settle();
    EXPECT_EQ(ScreenDifference(window, false), "");
    EXPECT_EQ(ScreenPixel(window, 410, 10), (Rgba{0, 0, 0, 255}));
    EXPECT_EQ(ScreenPixel(window, 10, 210), (Rgba{0, 0, 0, 255}));
  });
}

TEST_F(ImageWindowTest, AHundredAndNoMore) {
  Run([](HWND) {
    for (int i = 0; i < 100; ++i) {
      ImageGuard image = Solid(1, 1, {1, 2, 3, 255});
      ASSERT_TRUE(Services().showImage("one", image.get())) << i;
      image.release();
    }
    ImageGuard image = Solid(1, 1, {1, 2, 3, 255});
    EXPECT_FALSE(Services().showImage("one too many", image.get()));
    EXPECT_TRUE(image->display == nullptr);
    Close(WindowOf(*Shell().windows.slots[40]));
    EXPECT_TRUE(Services().showImage("the hundred-and-first", image.get()));
    EXPECT_EQ(Shell().windows.slots[40]->image, image.release());
    EXPECT_EQ(WindowTitle(WindowOf(*Shell().windows.slots[40])), "[101] - the hundred-and-first");
  });
}

TEST_F(ImageWindowTest, ClosingPassesTheCurrentImageOn) {
  Run([](HWND mainWindow) {
    HWND a = ShowImage("a", Solid(10, 10, {1, 2, 3, 255}));
    HWND b = ShowImage("b", Solid(10, 10, {1, 2, 3, 255}));
    HWND c = ShowImage("c", Solid(10, 10, {1, 2, 3, 255}));
    const WindowTable& windows = Shell().windows;
    EXPECT_EQ(windows.current, ImageOf(a));
    Close(b);
    EXPECT_EQ(windows.current, ImageOf(a));
    Close(a);
    EXPECT_EQ(windows.current, ImageOf(c));
    EXPECT_EQ(WindowTitle(ShowImage("d", Solid(10, 10, {1, 2, 3, 255}))), "[4] - d");
    Close(c);
    Close(WindowOf(*windows.slots[0]));
    EXPECT_EQ(windows.count, 0);
    EXPECT_EQ(windows.current, nullptr);
    EXPECT_EQ(GetForegroundWindow(), mainWindow);
    EXPECT_EQ(WindowTitle(ShowImage("e", Solid(10, 10, {1, 2, 3, 255}))), "[5] - e");
  });
}

TEST_F(ImageWindowTest, RubberBandSetsTheClipRegion) {
  Run([](HWND) {
    HWND window = ShowImage("a", Solid(200, 100, {16, 32, 64, 255}));
    const Rgba image = {16, 32, 64, 255};
    const Rgba inverted = {239, 223, 191, 255};
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 60, 20);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 150, 90);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 30, 50);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{30, 20, 60, 50}));
    EXPECT_EQ(FindImageWindow(window, false)->selectionActive, 1);
    EXPECT_EQ(ScreenPixel(window, 45, 20), inverted);
    EXPECT_EQ(ScreenPixel(window, 60, 40), inverted);
    EXPECT_EQ(ScreenPixel(window, 45, 40), image);
    EXPECT_EQ(ScreenPixel(window, 150, 50), image) << "the earlier rectangle";
    InvalidateRect(window, nullptr, FALSE);
    Settle();
    EXPECT_EQ(ScreenPixel(window, 45, 20), inverted) << "after a paint";

    Mouse(window, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, 30, 50);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON | MK_RBUTTON, 40, 45);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{40, 15, 70, 45}));
    EXPECT_EQ(ScreenPixel(window, 45, 15), inverted);
    Mouse(window, WM_RBUTTONUP, MK_LBUTTON, 40, 45);

    Mouse(window, WM_LBUTTONUP, 0, 42, 47);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{42, 15, 70, 47}));
    EXPECT_EQ(FindImageWindow(window, false)->selectionActive, 0);
    EXPECT_EQ(ScreenDifference(window, false), "") << "erased";

    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 10, 10);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 20, 20);
    Mouse(window, WM_MOUSEMOVE, 0, 30, 30);  // the button went up elsewhere
    EXPECT_EQ(FindImageWindow(window, false)->selectionActive, 0);
    EXPECT_EQ(ScreenDifference(window, false), "");
    Mouse(window, WM_LBUTTONUP, 0, 50, 50);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{10, 10, 20, 20}));
  });
}

TEST_F(ImageWindowTest, ARubberBandEndsWithItsWindow) {
  Run([](HWND) {
    HWND first = ShowImage("a", Solid(50, 50, {1, 2, 3, 255}));
    HWND second = ShowImage("b", Solid(50, 50, {1, 2, 3, 255}));
    Mouse(first, WM_LBUTTONDOWN, MK_LBUTTON, 1, 1);
    Mouse(second, WM_LBUTTONDOWN, MK_LBUTTON, 5, 5);
    EXPECT_EQ(FindImageWindow(first, false)->selectionActive, 0);
    EXPECT_EQ(ScreenDifference(first, false), "");
    Close(second);
    Mouse(first, WM_MOUSEMOVE, MK_LBUTTON, 30, 30);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{5, 5, 5, 5}));
  });
}

TEST_F(ImageWindowTest, ToolsWorkOnTheWindowUnderTheMouse) {
  Run([this](HWND) {
    HWND window = ShowImage("a", Solid(8, 6, {128, 64, 0, 255}));
    OnDialog("Apply Gamma Correction", [](HWND dialog) {
      EXPECT_EQ(ControlText(dialog, IDC_FACTOR), "1.000000");
      SetDlgItemTextA(dialog, IDC_FACTOR, "2");
      PressButton(dialog, IDOK);
    });
    Command(ID_TOOL_GAMMA);
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 2, 2);
    Mouse(window, WM_LBUTTONUP, 0, 2, 2);
    Operations().gammaValue = 1.0F;
    EXPECT_EQ(ScreenPixel(window, 3, 3), (Rgba{64, 16, 0, 255}));
    EXPECT_EQ(ImageOf(window)->flags & (kFlagPixelsChanged | kFlagDisplayStale), 0U);

    Command(ID_TOOL_COUNT_COLOURS);
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 2, 2);
    Mouse(window, WM_LBUTTONUP, 0, 2, 2);

    Command(ID_TOOL_CLIP);
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 2, 1);
    Mouse(window, WM_LBUTTONUP, 0, 4, 5);
    ASSERT_EQ(Shell().windows.count, 2);
    EXPECT_EQ(Shell().windows.slots[1]->image->width, 3);
    EXPECT_EQ(Shell().windows.slots[1]->image->height, 5);
  });
  EXPECT_EQ(TakeBoxes(),
            (std::vector<AnsweredBox>{
                {"SA Program Message", "This image has 1 colors. 2.08% utilization."}}));
}

TEST_F(ImageWindowTest, MergingLocksTheAspectToTheCurrentImage) {
  Run([](HWND) {
    HWND window = ShowImage("a", Solid(160, 120, {1, 2, 3, 255}));
    Command(ID_TOOL_MERGE);
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 10, 10);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 110, 10);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{10, 10, 90, 70}));
    Mouse(window, WM_MOUSEMOVE, 0, 0, 0);
  });
}

TEST_F(ImageWindowTest, OpensWhatTheDialogAnswers) {
  TempDir temp;
  const std::string path = temp.Write("two.ppm", "P3 2 1 255  9 8 7  6 5 4\n");
  Run([&](HWND) {
    Command(ID_OPEN_IMAGE);  // cancelled
    EXPECT_EQ(Shell().windows.count, 0);
    AnswerFileDialogs(path);
    Command(ID_OPEN_IMAGE);
    ASSERT_EQ(Shell().windows.count, 1);
    EXPECT_EQ(WindowTitle(WindowOf(*Shell().windows.slots[0])), "[1] - two.ppm");
  });
}

TEST_F(ImageWindowTest, OpenedFilesAreNamed) {
  TempDir temp;
  const std::string path = temp.Write("two.ppm", "P3 2 1 255  9 8 7  6 5 4\n");
  Run([&](HWND) {
    OpenImageFile(path, "two.ppm");
    Settle();
    const DisplayRecord* const record = Shell().windows.slots[0];
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(WindowTitle(WindowOf(*record)), "[1] - two.ppm");
    EXPECT_STREQ(record->image->name, "two.ppm");
    EXPECT_EQ(record->image->path, path);
    OpenImageFile(temp.file("missing.ppm"), "missing.ppm");
    EXPECT_EQ(Shell().windows.count, 1);
    Shell().windows.count += 99;  // as if there were a hundred
    OpenImageFile(path, "two.ppm");
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{0, 0, 1, 0})) << "clamped from 640 x 480";
    Shell().windows.count -= 99;
  });
  EXPECT_EQ(TakeBoxes(),
            (std::vector<AnsweredBox>{{"Failure", "Could not open window, no image loaded!"}}));
}

}  // namespace
}  // namespace imx::test

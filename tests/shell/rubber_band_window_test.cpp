#include <gtest/gtest.h>

#include "ops/commands.h"
#include "shell/win32/image_window.h"
#include "shell/win32/rubber_band.h"
#include "tests/shell/shell_run.h"

namespace imx::test {
namespace {

using RubberBandWindowTest = ShellTest;

constexpr Rgba kImage = {16, 32, 64, 255};
constexpr Rgba kInverted = {239, 223, 191, 255};

void Mouse(HWND window, UINT message, WPARAM buttons, int x, int y) {
  SendMessageA(window, message, buttons, MAKELPARAM(x, y));
}

bool IsActive(HWND window) {
  return FindImageWindow(window, false)->selectionActive == 1;
}

void ExpectErased(HWND window) {
  EXPECT_FALSE(IsActive(window));
  RECT client = {};
  GetClientRect(window, &client);
  for (int y = 0; y < client.bottom; ++y) {
    for (int x = 0; x < client.right; ++x) {
      ASSERT_EQ(ScreenPixel(window, x, y), kImage) << x << ", " << y;
    }
  }
}

TEST_F(RubberBandWindowTest, SetsTheClipRegion) {
  Run([](HWND) {
    HWND window = ShowImage("a", Solid(200, 100, kImage));
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 60, 20);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 150, 90);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 30, 50);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{30, 20, 60, 50}));
    EXPECT_TRUE(IsActive(window));
    EXPECT_EQ(ScreenPixel(window, 45, 20), kInverted);
    EXPECT_EQ(ScreenPixel(window, 60, 40), kInverted);
    EXPECT_EQ(ScreenPixel(window, 45, 40), kImage);
    EXPECT_EQ(ScreenPixel(window, 150, 50), kImage) << "the earlier rectangle";
    InvalidateRect(window, nullptr, FALSE);
    Settle();
    EXPECT_EQ(ScreenPixel(window, 45, 20), kInverted) << "after a paint";

    Mouse(window, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, 30, 50);
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON | MK_RBUTTON, 40, 45);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{40, 15, 70, 45}));
    EXPECT_EQ(ScreenPixel(window, 45, 15), kInverted);
    Mouse(window, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, 90, 90);  // already moving
    Mouse(window, WM_RBUTTONUP, MK_LBUTTON, 41, 46);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{41, 16, 71, 46}));

    Mouse(window, WM_LBUTTONUP, 0, 42, 47);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{42, 16, 71, 47}));
    ExpectErased(window);

    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 10, 10);
    Mouse(window, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, 10, 10);
    Mouse(window, WM_LBUTTONUP, MK_RBUTTON, 10, 10);
    Mouse(window, WM_LBUTTONDOWN, MK_LBUTTON, 10, 10);  // a new one, which does not move
    Mouse(window, WM_MOUSEMOVE, MK_LBUTTON, 20, 20);
    Mouse(window, WM_MOUSEMOVE, 0, 30, 30);  // the button went up elsewhere
    ExpectErased(window);
    Mouse(window, WM_LBUTTONUP, 0, 50, 50);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{10, 10, 20, 20}));
  });
}

TEST_F(RubberBandWindowTest, EndsWithItsWindow) {
  Run([](HWND) {
    HWND first = ShowImage("a", Solid(150, 50, kImage));
    HWND second = ShowImage("b", Solid(150, 50, kImage));
    Mouse(first, WM_LBUTTONDOWN, MK_LBUTTON, 1, 1);
    Mouse(second, WM_LBUTTONDOWN, MK_LBUTTON, 5, 5);
    ExpectErased(first);
    SendMessageA(second, WM_CLOSE, 0, 0);
    Mouse(first, WM_MOUSEMOVE, MK_LBUTTON, 30, 30);
    EXPECT_EQ(CurrentClipRegion(), (ClipRegion{5, 5, 5, 5}));
  });
}

}  // namespace
}  // namespace imx::test

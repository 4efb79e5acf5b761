#include "shell/win32/progress_window.h"

#include <gtest/gtest.h>

#include "imagelib/host.h"
#include "resources/resource_ids.h"
#include "shell/win32/image_window.h"
#include "tests/shell/shell_run.h"

namespace imx::test {
namespace {

constexpr char kProgressClass[] = "KZ_prgz_clazz";

using ProgressWindowTest = ShellTest;

SIZE ClientSize(HWND window) {
  RECT client = {};
  GetClientRect(window, &client);
  return {client.right, client.bottom};
}

TEST_F(ProgressWindowTest, OpensShowsAndCloses) {
  Run([](HWND mainWindow) {
    ProgressBegin("Working", 8, 1);
    HWND window = FindWindowA(kProgressClass, "Working");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(ProgressWindow(), window);
    EXPECT_EQ(GetWindow(window, GW_OWNER), mainWindow);
    EXPECT_EQ(GetDlgItem(window, IDC_STOP), nullptr);
    EXPECT_EQ(ClientSize(window).cx, 300);
    EXPECT_EQ(ClientSize(window).cy, 30);

    ProgressUpdate(3);
    // The bar is 270 wide from 15 on, so 101 are filled.
    const Rgba grey = {128, 128, 128, 255};
    const Rgba white = {255, 255, 255, 255};
    const Rgba black = {0, 0, 0, 255};
    EXPECT_EQ(ScreenPixel(window, 14, 15), grey);
    EXPECT_EQ(ScreenPixel(window, 15, 15), white);
    EXPECT_EQ(ScreenPixel(window, 115, 15), white);
    EXPECT_EQ(ScreenPixel(window, 116, 15), black);
    EXPECT_EQ(ScreenPixel(window, 284, 22), black);
    EXPECT_EQ(ScreenPixel(window, 285, 22), grey);
    EXPECT_EQ(ScreenPixel(window, 150, 7), grey);
    EXPECT_EQ(ScreenPixel(window, 150, 24), grey);

    ProgressBegin("More work", 4, 1);  // in the same window
    EXPECT_EQ(WindowTitle(window), "More work");
    ProgressStep();
    EXPECT_EQ(ScreenPixel(window, 15 + 66, 15), white);  // a quarter: 67
    EXPECT_EQ(ScreenPixel(window, 15 + 67, 15), black);
    ProgressEnd();
    EXPECT_FALSE(IsWindow(window));
    ProgressUpdate(50);  // closed: nothing happens
    EXPECT_EQ(ProgressWindow(), nullptr);
  });
}

TEST_F(ProgressWindowTest, StopIsAnsweredUntilTheEnd) {
  Run([](HWND) {
    ProgressBeginAbortable("Working", 10, 1);
    HWND window = ProgressWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(ClientSize(window).cy, 60);
    EXPECT_EQ(ProgressStepAbort(), 0);
    HWND stop = GetDlgItem(window, IDC_STOP);
    ASSERT_NE(stop, nullptr);
    EXPECT_EQ(WindowTitle(stop), "Stop");
    PostMessageA(stop, BM_CLICK, 0, 0);
    EXPECT_NE(ProgressStepAbort(), 0);
    EXPECT_NE(ProgressUpdateAbort(5), 0);
    ProgressEnd();
    for (const WPARAM key : {WPARAM{VK_SPACE}, WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}}) {
      ProgressBeginAbortable("Working", 10, 1);
      const HWND focused = GetFocus();
      constexpr LPARAM kHeldDown = 1 << 30;
      PostMessageA(focused, WM_KEYDOWN, key == VK_SPACE ? WPARAM{VK_TAB} : key, kHeldDown | 1);
      EXPECT_EQ(ProgressUpdateAbort(1), 0);
      PostMessageA(focused, WM_KEYDOWN, key, 1);
      PostMessageA(focused, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
      EXPECT_NE(ProgressUpdateAbort(2), 0) << key;
      ProgressEnd();
    }
    ProgressBeginAbortable("Working", 10, 1);
    EXPECT_EQ(ProgressUpdateAbort(1), 0);
    // Work that goes on after a stop request was answered is asked once.
    SendMessageA(ProgressWindow(), WM_COMMAND, IDC_STOP, 0);
    EXPECT_NE(ProgressUpdateAbort(2), 0);
    ClearStopRequest();
    EXPECT_EQ(ProgressUpdateAbort(3), 0);
    ProgressEnd();
  });
}

TEST_F(ProgressWindowTest, MayBeSuppressedOrClosedByTheUser) {
  Run([](HWND) {
    SuppressProgress(true);
    ProgressBeginAbortable("Starting", 10, 1);
    EXPECT_EQ(ProgressUpdateAbort(5), 0);
    EXPECT_EQ(FindWindowA(kProgressClass, nullptr), nullptr);
    ProgressEnd();
    SuppressProgress(false);
    ProgressBegin("Working", 10, 1);
    PostMessageA(ProgressWindow(), WM_CLOSE, 0, 0);
    ProgressUpdate(1);
    EXPECT_EQ(ProgressWindow(), nullptr);
    ProgressUpdate(2);
    ProgressEnd();
  });
}

TEST_F(ProgressWindowTest, TheWindowOfTheWorkIsActiveAgain) {
  Run([](HWND mainWindow) {
    HWND window = ShowImage("a", Solid(200, 100, {1, 2, 3, 255}));
    SetActiveWindow(window);
    ProgressBegin("Working", 10, 1);
    EXPECT_EQ(GetActiveWindow(), ProgressWindow());
    ProgressEnd();
    EXPECT_EQ(GetActiveWindow(), window);
    EXPECT_TRUE(IsWindowVisible(mainWindow));
  });
}

TEST_F(ProgressWindowTest, AnImageJustOpenedDoesNotEndTheDisplayOfLaterWork) {
  Run([](HWND) {
    ImageGuard image = Solid(20, 10, {1, 2, 3, 255});
    OpenImageWindow("a", image.release());
    ProgressBegin("Reading the next", 10, 1);
    ProgressUpdate(1);
    EXPECT_NE(FindWindowA(kProgressClass, "Reading the next"), nullptr);
    ProgressEnd();
  });
}

// A window that reports progress itself when it gets the first message.
int dispatched = 0;
int dispatchedWithin = 0;

LRESULT CALLBACK ReportingProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_APP) {
    const int before = dispatched;
    ProgressUpdate(2);
    dispatchedWithin = dispatched - before;
    return 0;
  }
  if (message == WM_APP + 1) ++dispatched;
  return DefWindowProcA(window, message, wParam, lParam);
}

TEST_F(ProgressWindowTest, ThePumpDoesNotNest) {
  Run([](HWND) {
    HWND window = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr,
                                  GetModuleHandleA(nullptr), nullptr);
    SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ReportingProc));
    dispatched = 0;
    dispatchedWithin = -1;
    ProgressBegin("Working", 10, 1);
    PostMessageA(window, WM_APP, 0, 0);
    PostMessageA(window, WM_APP + 1, 0, 0);
    ProgressUpdate(1);
    EXPECT_EQ(dispatchedWithin, 0);
    EXPECT_EQ(dispatched, 1);
    ProgressEnd();
    DestroyWindow(window);
  });
}

TEST_F(ProgressWindowTest, ClosingWaitsForTheEndOfTheWork) {
  const auto work = [](HWND mainWindow) {
    HWND window = ShowImage("a", Solid(20, 10, {1, 2, 3, 255}));
    ProgressBegin("Working", 10, 1);
    PostMessageA(window, WM_CLOSE, 0, 0);
    PostMessageA(mainWindow, WM_COMMAND, ID_EXIT, 0);
    PostMessageA(mainWindow, WM_CLOSE, 0, 0);
    for (int i = 0; i < 10; ++i) ProgressUpdate(i);
    EXPECT_TRUE(IsWindow(window));
    EXPECT_TRUE(IsWindow(mainWindow));
    ProgressEnd();
    ProgressBegin("More of the same", 10, 1);
    ProgressUpdate(1);
    EXPECT_TRUE(IsWindow(window));
    ProgressEnd();
  };
  // Nobody sends Exit again: the one kept ends the program.
  EXPECT_EQ(Run(work, true), 0);
}

TEST_F(ProgressWindowTest, AQuitMessageReachesTheLoop) {
  const auto work = [](HWND) {
    ProgressBegin("Working", 10, 1);
    PostQuitMessage(5);
    ProgressUpdate(1);
    ProgressUpdate(2);
    ProgressEnd();
  };
  EXPECT_EQ(Run(work, true), 5);
}

}  // namespace
}  // namespace imx::test

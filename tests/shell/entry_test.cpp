#include "shell/win32/entry.h"

#include <gtest/gtest.h>

#include "imagelib/host.h"
#include "imagelib/memory.h"
#include "shell/win32/dialogs.h"
#include "shell/win32/shell_state.h"
#include "tests/shell/shell_run.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

constexpr Rgba kWhite = {255, 255, 255, 255};

class EntryTest : public ShellTest {
 protected:
  void SetUp() override {
    GetCurrentDirectoryA(sizeof startFolder, startFolder);
    SetCurrentDirectoryA(temp.path().c_str());
  }
  void TearDown() override { SetCurrentDirectoryA(startFolder); }

  TempDir temp;
  char startFolder[MAX_PATH] = "";
};

TEST_F(EntryTest, LogoIsTheBackground) {
  // Any picture will do for a logo; its alpha, had it one, would not matter.
  temp.Write("qmki_logo.trm", "P3 3 2 255  255 0 0  0 255 0  0 0 255  1 2 3  4 5 6  7 8 9\n");
  Run([](HWND window) {
    EXPECT_EQ(WindowTitle(window), "Quillmark Installer");
    EXPECT_EQ(GetMenu(window), nullptr);
    EXPECT_TRUE(IsZoomed(window));
    EXPECT_EQ(ScreenPixel(window, 0, 0), (Rgba{255, 0, 0, 255}));
    EXPECT_EQ(ScreenPixel(window, 2, 0), (Rgba{0, 0, 255, 255}));
    EXPECT_EQ(ScreenPixel(window, 0, 1), (Rgba{1, 2, 3, 255}));
    EXPECT_EQ(ScreenPixel(window, 2, 1), (Rgba{7, 8, 9, 255}));
    EXPECT_EQ(ScreenPixel(window, 3, 0), kWhite);
    EXPECT_EQ(ScreenPixel(window, 0, 2), kWhite);
    EXPECT_EQ(LiveBlockCount(), 0U) << "only the bitmap stays";
  });
}

// Whether anything was drawn within 40 x 10 pixels around the middle.
bool DrawnInTheMiddle(HWND window) {
  RECT client = {};
  GetClientRect(window, &client);
  for (int y = client.bottom / 2 - 5; y < client.bottom / 2 + 5; ++y) {
    for (int x = client.right / 2 - 20; x < client.right / 2 + 20; ++x) {
      if (!(ScreenPixel(window, x, y) == kWhite)) return true;
    }
  }
  return false;
}

TEST_F(EntryTest, WithoutALogoTheNameStandsInTheMiddle) {
  Run([](HWND window) { EXPECT_TRUE(DrawnInTheMiddle(window)); });
  // A logo that says it is one, and breaks off, is passed over without a message.
  temp.Write("qmki_logo.trm",
             "FORM\xff\xff\xff\xf0"
             "TRIM");
  Run([](HWND window) { EXPECT_TRUE(DrawnInTheMiddle(window)); });
}

TEST_F(EntryTest, LeaksAreReportedAfterTheMainWindowIsGone) {
  EXPECT_EQ(Run([](HWND) { AllocMem(3, 4, "left behind"); }), 0);
  const std::vector<AnsweredBox> boxes = TakeBoxes();
  ASSERT_EQ(boxes.size(), 4U);
  EXPECT_EQ(boxes[0].title, "SA Program Message");  // statistics
  EXPECT_EQ(boxes[1], (AnsweredBox{"SA Program Error", "memtot nonzero - commencing autocleanup"}));
  EXPECT_EQ(boxes[2],
            (AnsweredBox{"SA Program Error", "unfreed pointer: \"left behind\" of size 12"}));
  EXPECT_EQ(boxes[3].title, "SA Program Message");
}

TEST_F(EntryTest, TheLoopMayEndUnderAnOpenWindow) {
  EXPECT_EQ(Run([](HWND) { PostQuitMessage(7); }, true), 7);
  EXPECT_EQ(Shell().mainWindow, nullptr);
}

TEST_F(EntryTest, NoWindowNoRun) {
  // The name is taken, so the class cannot be registered.
  WNDCLASSA taken = {};
  taken.lpfnWndProc = DefWindowProcA;
  taken.hInstance = GetModuleHandleA(nullptr);
  taken.lpszClassName = kTestProgram.className;
  ASSERT_NE(RegisterClassA(&taken), 0);
  bool ran = false;
  EXPECT_EQ(Run([&ran](HWND) { ran = true; }), 1);
  EXPECT_FALSE(ran);
  // Cleaned up, so that it starts now.
  EXPECT_EQ(Run([&ran](HWND) { ran = true; }), 0);
  EXPECT_TRUE(ran);
}

TEST_F(EntryTest, MainWindowClosedUnderAModalDialog) {
  const auto askOn = [](HWND window) {
    PostMessageA(window, WM_CLOSE, 0, 0);
    MessageBoxA(window, "Still there?", "Wizard", MB_OK);
    EXPECT_FALSE(IsWindow(window));
  };
  EXPECT_EQ(Run(askOn, true), 0);
  TakeBoxes();
}

TEST_F(EntryTest, LibraryTextsAreShownInBoxes) {
  Run([](HWND window) {
    HWND image = ShowImage("a", Solid(20, 10, {1, 2, 3, 255}));
    const DialogScope dialog;
    EXPECT_EQ(Services().mainWindow, window);
    LibMessage("told");
    LibError("failed");
    LibNote("noted");
    EXPECT_FALSE(IsWindowEnabled(image)) << "the dialog around them is still open";
  });
  EXPECT_EQ(TakeBoxes(), (std::vector<AnsweredBox>{{"SA Program Message", "told"},
                                                   {"SA Program Error", "failed"},
                                                   {"Note!", "noted"}}));
}

}  // namespace
}  // namespace imx::test

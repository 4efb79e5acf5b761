/// Runs the real shell inside the test's process.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "imagelib/guards.h"
#include "shell/win32/entry.h"
#include "tests/support/pictures.h"

namespace imx::test {

/// A message box that came up and was answered with OK.
struct AnsweredBox {
  std::string title;
  std::string text;

  bool operator==(const AnsweredBox&) const = default;
};

/// Answers message boxes while a shell runs, and checks that it ends in order:
/// every block released, no box but those that the test takes out of `boxes`.
class ShellTest : public testing::Test {
 protected:
  ShellTest();
  ~ShellTest() override;

  /// Runs the shell with `body` in the wizard's place; then Exit is sent, unless the body closed
  /// the main window or wants `keepOpen`. Returns RunShell's answer.
  int Run(std::function<void(HWND mainWindow)> body, bool keepOpen = false);

  /// The boxes answered so far, which then count as expected.
  std::vector<AnsweredBox> TakeBoxes();
};

/// The program that Run runs.
inline constexpr ShellProgram kTestProgram = {"QMK Install", "Quillmark Installer", 0, nullptr};

/// Dispatches messages until none is waiting.
void Settle();

/// Colour on the screen at (x, y) of the window's client area, alpha 255.
Rgba ScreenPixel(HWND window, int x, int y);

std::string WindowTitle(HWND window);

/// Opens a window for the image, which it takes over, and paints it.
HWND ShowImage(const char* name, ImageGuard image);

}  // namespace imx::test

/// Runs the real shell inside the test's process.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "imagelib/core/guards.h"
#include "shell/win32/entry.h"
#include "tests/support/pictures.h"

namespace imx::test {

/// A message box that came up and was answered with OK.
struct AnsweredBox {
  std::string title;
  std::string text;

  bool operator==(const AnsweredBox&) const = default;
};

/// Answers message boxes and file dialogs while a shell runs, and checks that it ends in order:
/// every block released, no box but those that the test takes out of `boxes`.
class ShellTest : public testing::Test {
 protected:
  ShellTest();
  ~ShellTest() override;

  /// Runs the shell with `body` in the wizard's place; then Exit is sent, unless the body closed
  /// the main window or wants `keepOpen`. Returns RunShell's answer.
  int Run(std::function<void(HWND mainWindow)> body, bool keepOpen = false);

  /// From now on file dialogs are answered with this path; while it is empty, cancelled.
  void AnswerFileDialogs(const std::string& path);

  /// The next dialog with this title, of those that have no answer yet, is handed to `answer`,
  /// which is to close it. A test that is over with answers left fails.
  void OnDialog(const std::string& title, std::function<void(HWND dialog)> answer);

  /// The boxes answered so far, which then count as expected.
  std::vector<AnsweredBox> TakeBoxes();
};

/// The program that Run runs.
inline constexpr ShellProgram kTestProgram = {"QMK Install", "Quillmark Installer", 0, nullptr};

/// Dispatches messages until none is waiting.
void Settle();

/// Colour on the screen at (x, y) of the window's client area, alpha 255.
Rgba ScreenPixel(HWND window, int x, int y);

/// The first difference between the window's client area and 32-bit rows of blue, green, red and an
/// unused byte, in words; empty when there is none.
std::string ScreenDifference(HWND window, int width, int height,
                             std::span<const std::uint8_t> bgrx);

std::string WindowTitle(HWND window);
std::string ControlText(HWND dialog, int control);

/// Presses a button of a dialog.
void PressButton(HWND dialog, int control);
/// Selects an entry of a list, as a user would.
void SelectInDropDown(HWND dialog, int control, int entry);
/// Answers an open or save dialog with a path.
void AnswerWithPath(HWND fileDialog, const std::string& path);

/// Opens a window for the image, which it takes over, and paints it.
HWND ShowImage(const char* name, ImageGuard image);

}  // namespace imx::test

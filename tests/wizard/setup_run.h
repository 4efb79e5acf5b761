/// One run of the real setup program, answered dialog by dialog.
#pragma once

#include <string>

#include "tests/wizard/install_tree.h"
#include "tools/drive/window_driver.h"

namespace imx::test {

/// Folder of the sample medium and path of the setup program: from the environment (IMX_MEDIUM and
/// IMX_SETUP, paths of either system), by default where the build leaves them.
std::string SampleMedium();
std::string SetupProgram();

/// The running setup program. What goes wrong is reported as a test failure; afterwards no dialog
/// is found any more. Ended by force when the object goes.
class SetupRun {
 public:
  /// Starts the setup program with `medium` as its current directory.
  explicit SetupRun(const std::string& medium);
  ~SetupRun();
  SetupRun(const SetupRun&) = delete;
  SetupRun& operator=(const SetupRun&) = delete;

  /// The next dialog, which is to have this title; null after a failure.
  HWND Expect(const char* title);

  /// Presses a button of the dialog that Expect found last.
  void PressButton(int id);

  /// Answers the pages from Welcome to Confirmation with the choices, and waits for the Storage
  /// page.
  void AnswerPages(const Choices& choices);

  /// Answers the first pages likewise and waits for the Locations page.
  void AnswerToLocations(const Choices& choices);

  /// Types the four directories; the Help field only when it is open to the user.
  void TypeLocations(const Choices& choices);

  /// Starts the installation from the Storage page.
  void Install();

  /// Expects a closing dialog with these texts in its controls, and presses OK.
  void ExpectAndClose(const char* title, int control, const std::string& text);

  /// Expects the program to end by itself, without another word, with status 0.
  void ExpectEnd();

  HWND dialog() const { return dialog_; }
  const DrivenProgram& program() const { return program_; }

 private:
  FramesOfWine frames_;
  DrivenProgram program_;
  HWND dialog_ = nullptr;
  bool lost_ = false;  ///< a failure has been reported
};

}  // namespace imx::test

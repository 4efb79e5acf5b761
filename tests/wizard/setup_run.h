/// One run of the real setup program, answered dialog by dialog.
#pragma once

#include <map>
#include <string>

#include "tests/support/driven_run.h"
#include "tests/wizard/install_tree.h"

namespace imx::test {

/// Folder of the sample medium and path of the setup program: from the environment (IMX_MEDIUM and
/// IMX_SETUP, paths of either system), by default where the build leaves them.
std::string SampleMedium();
std::string SetupProgram();

class SetupRun : public DrivenRun {
 public:
  /// Starts the setup program with `medium` as its current directory.
  explicit SetupRun(const std::string& medium);

  /// Presses Next on every page before the one with this title, and waits for that.
  void NextTo(const std::string& title);
  /// Presses a button, which leads to the page with this title.
  void Leave(int button, const std::string& title);

  /// Waits until controls of the dialog look so, given by number: their texts, followed by " on"
  /// when they are ticked and by " (disabled)".
  void ExpectControls(const std::map<int, std::string>& wanted);

  /// Answers the pages from Welcome to Confirmation with the choices, and waits for the Storage
  /// page.
  void AnswerPages(const Choices& choices);

  /// The same from the Install Locations page.
  void AnswerFromLocations(const Choices& choices);

  /// Starts the installation from the Storage page.
  void Install();
};

}  // namespace imx::test

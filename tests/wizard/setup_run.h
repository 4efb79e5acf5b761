/// One run of the real setup program, answered dialog by dialog.
#pragma once

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

  /// Answers the pages from Welcome to Confirmation with the choices, and waits for the Storage
  /// page.
  void AnswerPages(const Choices& choices);

  /// Answers the first pages likewise and waits for the Locations page.
  void AnswerToLocations(const Choices& choices);

  /// Types the four directories; the Help field only when it is open to the user.
  void TypeLocations(const Choices& choices);

  /// Starts the installation from the Storage page.
  void Install();
};

}  // namespace imx::test

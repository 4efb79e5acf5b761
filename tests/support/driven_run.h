/// One run of a real program of ours, answered dialog by dialog. On Windows only.
#pragma once

#include <string>
#include <vector>

#include "tools/drive/window_driver.h"

namespace imx::test {

/// Most that a driven program needs for anything.
inline constexpr DWORD kAnswerMilliseconds = 30'000;

/// The path of a place as seen from the test programs' folder.
std::string PlaceFromTests(const std::string& place);
/// The path that the environment variable gives (of either system), else PlaceFromTests.
std::string PlaceFrom(const char* variable, const char* fromTests);

/// Waits until it is so. False when the time runs out first.
template <typename Condition>
bool Becomes(Condition&& condition) {
  constexpr DWORD kPollMilliseconds = 20;
  const DWORD start = GetTickCount();
  while (!condition()) {
    if (GetTickCount() - start > kAnswerMilliseconds) return false;
    Sleep(kPollMilliseconds);
  }
  return true;
}

/// The running program. What goes wrong is reported as a test failure; afterwards no dialog is
/// found any more. Ended by force when the object goes.
class DrivenRun {
 public:
  /// Starts the program with `folder` as its current directory.
  DrivenRun(const std::string& path, const std::string& folder,
            const std::vector<std::string>& arguments = {});
  ~DrivenRun();
  DrivenRun(const DrivenRun&) = delete;
  DrivenRun& operator=(const DrivenRun&) = delete;

  /// The next dialog, which is to have this title; null after a failure.
  HWND Expect(const std::string& title);

  /// Presses a button of the dialog that Expect found last.
  void PressButton(int id);

  /// Expects a dialog with this text in one of its controls, and presses a button.
  void ExpectAndClose(const std::string& title, const std::string& text, int button = IDOK);

  /// Expects the program to end by itself, without another word, with status 0.
  void ExpectEnd();

  HWND dialog() const { return dialog_; }
  const DrivenProgram& program() const { return program_; }

 protected:
  /// Reports a failure, and that nothing more is to be expected of the program.
  void Lose(const std::string& problem);
  bool lost() const { return lost_; }

 private:
  FramesOfWine frames_;
  DrivenProgram program_;
  HWND dialog_ = nullptr;
  bool lost_ = false;
};

}  // namespace imx::test

#include "tests/wizard/setup_run.h"

#include <gtest/gtest.h>

#include <utility>

#include "resources/wizard_ids.h"
#include "setup/core/wizard_pages.h"

namespace imx::test {

std::string SampleMedium() {
  return PlaceFrom("IMX_MEDIUM", "..\\..\\medium");
}
std::string SetupProgram() {
  return PlaceFrom("IMX_SETUP", "..\\setup.exe");
}

SetupRun::SetupRun(const std::string& medium) : DrivenRun(SetupProgram(), medium) {}

void SetupRun::NextTo(const std::string& title) {
  for (const Page page : kCourse) {
    Expect(pageTitle(page));
    if (pageTitle(page) == title) return;
    PressButton(IDC_NEXT);
  }
}

void SetupRun::Leave(int button, const std::string& title) {
  PressButton(button);
  Expect(title);
}

void SetupRun::ExpectControls(const std::map<int, std::string>& wanted) {
  if (lost()) return;
  std::map<int, std::string> shown;
  Becomes([&] {
    for (const auto& [id, text] : wanted) {
      shown[id] = ControlTextOf(dialog(), id) + (IsControlChecked(dialog(), id) ? " on" : "") +
                  (IsControlEnabled(dialog(), id) ? "" : " (disabled)");
    }
    return shown == wanted;
  });
  EXPECT_EQ(shown, wanted);
}

void SetupRun::AnswerPages(const Choices& choices) {
  NextTo("Install Locations");
  AnswerFromLocations(choices);
}

void SetupRun::AnswerFromLocations(const Choices& choices) {
  for (const auto& [id, directory] : {std::pair{IDC_PROGRAM_DIR, choices.programDir},
                                      {IDC_PICTURES_DIR, choices.picturesDir},
                                      {IDC_HELP_DIR, choices.helpDir},
                                      {IDC_DATA_DIR, choices.dataDir}}) {
    if (!lost()) SetControlText(dialog(), id, directory);
  }
  Leave(IDC_NEXT, "Program Group Selection");
  if (!lost()) SetControlText(dialog(), IDC_GROUP, choices.group);
  Leave(IDC_NEXT, "Installation Confirmation");
  Leave(IDC_NEXT, "Storage Requirements");
}

void SetupRun::Install() {
  if (lost()) return;
  // The room on a drive is reckoned in 32 bits and may come out too small; Exit installs all the
  // same.
  PressButton(IsControlEnabled(dialog(), IDC_NEXT) ? IDC_NEXT : IDC_EXIT);
}

}  // namespace imx::test

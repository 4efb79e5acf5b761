#include "tests/wizard/setup_run.h"

#include "resources/wizard_ids.h"

namespace imx::test {

std::string SampleMedium() {
  return PlaceFrom("IMX_MEDIUM", "..\\..\\medium");
}
std::string SetupProgram() {
  return PlaceFrom("IMX_SETUP", "..\\setup.exe");
}

SetupRun::SetupRun(const std::string& medium) : DrivenRun(SetupProgram(), medium) {}

void SetupRun::AnswerToLocations(const Choices& choices) {
  Expect("Welcome");
  PressButton(IDC_NEXT);
  Expect("Choose Components");
  if (!choices.glint) PressButton(IDC_GLINT);
  if (!choices.twistel) PressButton(IDC_TWISTEL);
  PressButton(IDC_NEXT);
  Expect("Large Component Query");
  if (!choices.docs) PressButton(IDC_DOCS);
  PressButton(IDC_NEXT);
  Expect("Install Locations");
}

void SetupRun::TypeLocations(const Choices& choices) {
  if (lost()) return;
  SetControlText(dialog(), IDC_PROGRAM_DIR, choices.programDir);
  SetControlText(dialog(), IDC_PICTURES_DIR, choices.picturesDir);
  if (IsControlEnabled(dialog(), IDC_HELP_DIR)) {
    SetControlText(dialog(), IDC_HELP_DIR, choices.helpDir);
  }
  SetControlText(dialog(), IDC_DATA_DIR, choices.dataDir);
}

void SetupRun::AnswerPages(const Choices& choices) {
  AnswerToLocations(choices);
  TypeLocations(choices);
  PressButton(IDC_NEXT);
  if (Expect("Program Group Selection")) SetControlText(dialog(), IDC_GROUP, choices.group);
  PressButton(IDC_NEXT);
  Expect("Installation Confirmation");
  PressButton(IDC_NEXT);
  Expect("Storage Requirements");
}

void SetupRun::Install() {
  if (lost()) return;
  // The room on a drive is reckoned in 32 bits and may come out too small; Exit installs all the
  // same.
  PressButton(IsControlEnabled(dialog(), IDC_NEXT) ? IDC_NEXT : IDC_EXIT);
}

}  // namespace imx::test

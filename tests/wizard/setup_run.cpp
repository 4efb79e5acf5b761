#include "tests/wizard/setup_run.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "resources/wizard_ids.h"

namespace imx::test {
namespace fs = std::filesystem;

namespace {

constexpr DWORD kDialogMilliseconds = 30'000;
constexpr DWORD kMomentMilliseconds = 3'000;
constexpr DWORD kPollMilliseconds = 10;

std::string AllTexts(HWND dialog) {
  std::string texts;
  for (const ControlText& control : ReadControls(dialog)) texts += control.text + "\n";
  return texts;
}

/// A path of either system as Windows has it; Wine shows the file system as drive Z.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') path = "Z:" + path;
  return fs::path(path).make_preferred().string();
}

std::string PlaceFrom(const char* variable, const char* besidePrograms) {
  if (const char* const path = std::getenv(variable)) return WindowsPath(path);
  char self[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, self, sizeof self);
  return (fs::path(self).parent_path() / besidePrograms).lexically_normal().string();
}

}  // namespace

// The test programs stand in out\win32\tests.
std::string SampleMedium() {
  return PlaceFrom("IMX_MEDIUM", "..\\..\\medium");
}
std::string SetupProgram() {
  return PlaceFrom("IMX_SETUP", "..\\setup.exe");
}

SetupRun::SetupRun(const std::string& medium) : frames_(SetupProgram()) {
  if (!StartProgram(SetupProgram(), medium, &program_)) {
    lost_ = true;
    ADD_FAILURE() << "cannot start " << SetupProgram() << " in " << medium;
  }
}

SetupRun::~SetupRun() {
  EndProgram(&program_);
}

HWND SetupRun::Expect(const char* title) {
  const HWND previous = dialog_;
  dialog_ = nullptr;
  if (lost_) return nullptr;
  // Between two dialogs the page below them is enabled for a moment.
  const DWORD start = GetTickCount();
  HWND found = nullptr;
  std::string foundTitle;
  do {
    found = WaitForDialog(program_, previous, kDialogMilliseconds);
    foundTitle = found ? WindowText(found) : "";
    if (found && foundTitle == title) return dialog_ = found;
    Sleep(kPollMilliseconds);
  } while (found && GetTickCount() - start < kMomentMilliseconds);
  lost_ = true;
  ADD_FAILURE() << "no dialog \"" << title << "\" but \"" << foundTitle << "\"\n"
                << (found ? AllTexts(found) : "");
  return nullptr;
}

void SetupRun::PressButton(int id) {
  if (lost_) return;
  lost_ = !Press(dialog_, id);
  if (lost_) ADD_FAILURE() << "no button " << id << " in \"" << WindowText(dialog_) << "\"";
}

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
  if (lost_) return;
  SetControlText(dialog_, IDC_PROGRAM_DIR, choices.programDir);
  SetControlText(dialog_, IDC_PICTURES_DIR, choices.picturesDir);
  if (IsControlEnabled(dialog_, IDC_HELP_DIR)) {
    SetControlText(dialog_, IDC_HELP_DIR, choices.helpDir);
  }
  SetControlText(dialog_, IDC_DATA_DIR, choices.dataDir);
}

void SetupRun::AnswerPages(const Choices& choices) {
  AnswerToLocations(choices);
  TypeLocations(choices);
  PressButton(IDC_NEXT);
  if (Expect("Program Group Selection")) SetControlText(dialog_, IDC_GROUP, choices.group);
  PressButton(IDC_NEXT);
  Expect("Installation Confirmation");
  PressButton(IDC_NEXT);
  Expect("Storage Requirements");
}

void SetupRun::Install() {
  if (lost_) return;
  // The room on a drive is reckoned in 32 bits and may come out too small; Exit installs all the
  // same.
  PressButton(IsControlEnabled(dialog_, IDC_NEXT) ? IDC_NEXT : IDC_EXIT);
}

void SetupRun::ExpectAndClose(const char* title, int control, const std::string& text) {
  if (!Expect(title)) return;
  EXPECT_EQ(ControlTextOf(dialog_, control), text);
  PressButton(IDC_OK);
}

void SetupRun::ExpectEnd() {
  if (lost_) return;
  const HWND unexpected = WaitForDialog(program_, dialog_, kDialogMilliseconds);
  if (unexpected) {
    ADD_FAILURE() << "at the end the dialog \"" << WindowText(unexpected) << "\"\n"
                  << AllTexts(unexpected);
    lost_ = true;
    return;
  }
  DWORD status = 0;
  EXPECT_TRUE(WaitForEnd(program_, kDialogMilliseconds, &status)) << "the program does not end";
  EXPECT_EQ(status, 0u);
}

}  // namespace imx::test

#include "tests/support/driven_run.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

constexpr DWORD kMomentMilliseconds = 3'000;
constexpr DWORD kPollMilliseconds = 10;

std::string AllTexts(HWND dialog) {
  std::string texts;
  for (const ControlText& control : ReadControls(dialog)) texts += control.text + "\n";
  return texts;
}

std::string Described(HWND dialog) {
  return "\"" + WindowText(dialog) + "\"\n" + AllTexts(dialog);
}

/// A path of either system as Windows has it; Wine shows the file system as drive Z.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') path = "Z:" + path;
  return fs::path(path).make_preferred().string();
}

}  // namespace

std::string PlaceFrom(const char* variable, const char* fromTests) {
  const char* const path = std::getenv(variable);
  return path ? WindowsPath(path) : PlaceFromTests(fromTests);
}

std::string PlaceFromTests(const std::string& place) {
  char self[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, self, sizeof self);
  return (fs::path(self).parent_path() / place).lexically_normal().string();
}

DrivenRun::DrivenRun(const std::string& path, const std::string& folder,
                     const std::vector<std::string>& arguments)
    : frames_(path) {
  if (!StartProgram(path, folder, &program_, arguments)) {
    Lose("cannot start " + path + " in " + folder);
  }
}

DrivenRun::~DrivenRun() {
  EndProgram(&program_);
}

void DrivenRun::Lose(const std::string& problem) {
  if (!lost_) ADD_FAILURE() << problem;
  lost_ = true;
}

HWND DrivenRun::Expect(const std::string& title) {
  const HWND previous = dialog_;
  dialog_ = nullptr;
  if (lost_) return nullptr;
  // Between two dialogs the page below them is enabled for a moment.
  const DWORD start = GetTickCount();
  HWND found = nullptr;
  do {
    found = WaitForDialog(program_, previous, kAnswerMilliseconds);
    if (found && WindowText(found) == title) return dialog_ = found;
    Sleep(kPollMilliseconds);
  } while (found && GetTickCount() - start < kMomentMilliseconds);
  Lose("no dialog \"" + title + "\" but " + (found ? Described(found) : "none"));
  return nullptr;
}

void DrivenRun::PressButton(int id) {
  if (lost_ || Press(dialog_, id)) return;
  Lose("no button " + std::to_string(id) + " in " + Described(dialog_));
}

void DrivenRun::ExpectAndClose(const std::string& title, const std::string& text, int button) {
  if (!Expect(title)) return;
  EXPECT_NE(("\n" + AllTexts(dialog_)).find("\n" + text + "\n"), std::string::npos)
      << text << "\nis not in " << Described(dialog_);
  PressButton(button);
}

void DrivenRun::ExpectEnd() {
  if (lost_) return;
  if (const HWND unexpected = WaitForDialog(program_, dialog_, kAnswerMilliseconds)) {
    Lose("at the end the dialog " + Described(unexpected));
    return;
  }
  DWORD status = 0;
  EXPECT_TRUE(WaitForEnd(program_, kAnswerMilliseconds, &status)) << "the program does not end";
  EXPECT_EQ(status, 0u);
}

}  // namespace imx::test

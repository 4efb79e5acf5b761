// The pages of the real setup program: what they show, keep and refuse. Nothing is installed.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "resources/wizard_ids.h"
#include "setup/core/wizard_pages.h"
#include "tests/wizard/setup_run.h"

namespace imx::test {
namespace fs = std::filesystem;

namespace {

class WizardPages : public testing::Test {
 protected:
  void Type(int id, const std::string& text) { SetControlText(run.dialog(), id, text); }

  void ExpectProblem(const char* label, const char* error) {
    run.ExpectAndClose("Information Requires Change",
                       std::string("There is a problem with the name of the...\n\n\t\t\"") + label +
                           "\"\n\nThe error is...\n\n\"" + error + "\"");
  }

  void ExitAndEnd() {
    run.PressButton(IDC_EXIT);
    run.ExpectEnd();
  }

  SetupRun run{SampleMedium()};
};

TEST_F(WizardPages, LocationsAreBrowsedKeptAndRestored) {
  const struct {
    int button, edit;
    const char *title, *place;
  } locations[] = {{IDC_BROWSE_PROGRAM, IDC_PROGRAM_DIR, "Browse for Main Application Folder", ""},
                   {IDC_BROWSE_PICTURES, IDC_PICTURES_DIR, "Browse for Images Folder", "\\Images"},
                   {IDC_BROWSE_HELP, IDC_HELP_DIR, "Browse for Help Folder", "\\Html_docs"},
                   {IDC_BROWSE_DATA, IDC_DATA_DIR, "Browse for Data Folder", "\\Data"}};
  const std::string base = "C:\\Program Files\\Glimrix7";
  run.NextTo("Install Locations");
  for (const auto& [button, edit, title, place] : locations) {
    Type(edit, base + place + " typed");
    run.PressButton(button);
    run.Expect("Browse for Folder");
    bool titled = false;
    for (const ControlText& control : ReadControls(run.dialog())) titled |= control.text == title;
    EXPECT_TRUE(titled) << title;
    run.Leave(IDCANCEL, "Install Locations");
    run.ExpectControls({{edit, base + place + " typed"}});
    run.PressButton(button);
    run.Expect("Browse for Folder");
    run.Leave(IDOK, "Install Locations");
    EXPECT_TRUE(Becomes([&, id = edit] {
      const std::string picked = ControlTextOf(run.dialog(), id);
      return picked.find("Glimrix7") == std::string::npos && fs::is_directory(picked);
    })) << ControlTextOf(run.dialog(), edit);
  }
  run.PressButton(IDC_DEFAULTS);
  for (const auto& location : locations) {
    run.ExpectControls({{location.edit, base + location.place}});
  }
  Type(IDC_PICTURES_DIR, "no*good");
  Type(IDC_DATA_DIR, "C:\\" + std::string(257, 'a'));
  run.Leave(IDC_BACK, "Large Component Query");
  run.Leave(IDC_NEXT, "Install Locations");
  run.ExpectControls({{IDC_PICTURES_DIR, "no*good"}, {IDC_DATA_DIR, base + "\\Data"}});
  ExitAndEnd();
}

TEST_F(WizardPages, EveryRejectedLocationIsToldOf) {
  run.NextTo("Install Locations");
  Type(IDC_PROGRAM_DIR, "C:\\");
  Type(IDC_PICTURES_DIR, "C:\\b*");
  Type(IDC_HELP_DIR, "C:\\a\\\\b");
  Type(IDC_DATA_DIR, "C:\\a:b");
  run.PressButton(IDC_NEXT);
  ExpectProblem("Glimmerix folder", "Path to root unacceptable, (too many files)");
  ExpectProblem("Pictures folder", "Illegal character in filename [*]");
  ExpectProblem("Help folder", "Multiple path separators (\\) not at root position");
  ExpectProblem("Data folder", "Colon in position other than after drive letter");
  run.Expect("Install Locations");
  run.PressButton(IDC_DEFAULTS);
  run.ExpectControls({{IDC_PROGRAM_DIR, "C:\\Program Files\\Glimrix7"}});
  Type(IDC_DATA_DIR, "C:\\" + std::string(257, 'a'));
  run.PressButton(IDC_NEXT);
  ExpectProblem("Data folder", "Filename is too long");
  run.Expect("Install Locations");
  ExitAndEnd();
}

TEST(WizardExit, EndsItOnEveryPageBeforeTheStorage) {
  for (const Page page : kCourse) {
    if (page == Page::storage) continue;
    SetupRun run(SampleMedium());
    run.NextTo(pageTitle(page));
    run.PressButton(IDC_EXIT);
    run.ExpectEnd();
  }
}

}  // namespace

}  // namespace imx::test

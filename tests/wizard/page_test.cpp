// What only the real pages of the setup program show: their dialogs over them, and that each has
// its buttons. Nothing is installed.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "resources/wizard_ids.h"
#include "setup/core/wizard_pages.h"
#include "tests/wizard/setup_run.h"

namespace imx::test {
namespace {

TEST(WizardPagesTest, LocationsAreBrowsedJudgedAndKept) {
  const std::string start = "C:\\Program Files\\Glimrix7\\Html_docs";
  SetupRun run{SampleMedium()};
  run.NextTo("Choose Components");
  run.PressButton(IDC_GLINT);
  run.ExpectControls({{IDC_TWISTEL, "Twistel (disabled)"}, {IDC_NEXT, "Next (disabled)"}});
  run.PressButton(IDC_GLINT);
  run.ExpectControls({{IDC_TWISTEL, "Twistel on"}, {IDC_NEXT, "Next"}});
  run.Leave(IDC_NEXT, "Large Component Query");
  run.Leave(IDC_NEXT, "Install Locations");
  SetControlText(run.dialog(), IDC_HELP_DIR, start + " typed");
  for (const int answer : {IDCANCEL, IDOK}) {
    run.ExpectControls({{IDC_HELP_DIR, start + " typed"}});
    run.PressButton(IDC_BROWSE_HELP);
    if (!run.Expect("Browse for Folder")) return;
    const std::vector<ControlText> controls = ReadControls(run.dialog());
    EXPECT_TRUE(std::any_of(controls.begin(), controls.end(), [](const ControlText& control) {
      return control.text == "Browse for Help Folder";
    }));
    run.Leave(answer, "Install Locations");
  }
  EXPECT_TRUE(Becomes([&] {
    const std::string picked = ControlTextOf(run.dialog(), IDC_HELP_DIR);
    return !picked.starts_with(start) && std::filesystem::is_directory(picked);
  })) << ControlTextOf(run.dialog(), IDC_HELP_DIR);
  run.PressButton(IDC_DEFAULTS);
  run.ExpectControls({{IDC_HELP_DIR, start}});

  SetControlText(run.dialog(), IDC_PICTURES_DIR, "no*good");
  SetControlText(run.dialog(), IDC_DATA_DIR, "C:\\" + std::string(257, 'a'));
  run.PressButton(IDC_NEXT);
  for (const auto& [label, error] : {std::pair{"Pictures", "Illegal character in filename [*]"},
                                     {"Data", "Filename is too long"}}) {
    run.ExpectAndClose("Information Requires Change",
                       std::string("There is a problem with the name of the...\n\n\t\t\"") + label +
                           " folder\"\n\nThe error is...\n\n\"" + error + "\"");
  }
  run.Expect("Install Locations");
  run.Leave(IDC_BACK, "Large Component Query");
  run.Leave(IDC_NEXT, "Install Locations");
  run.ExpectControls({{IDC_PICTURES_DIR, "no*good"}});
}

TEST(WizardPagesTest, ExitEndsItOnEveryPageBeforeTheStorage) {
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

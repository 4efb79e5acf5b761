#include "setup/core/wizard_pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <tuple>

#include "tests/setup/fake_window.h"
#include "tests/setup/memory_platform.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class WizardPagesTest : public testing::Test {
 protected:
  WizardPagesTest() {
    copyPath(settings.programsFolder, "C:\\Menu\\Programs");
    copyPath(settings.defaultProgramDir, "C:\\Def\\G");
    copyPath(settings.defaultPicturesDir, "C:\\Def\\P");
    copyPath(settings.defaultHelpDir, "C:\\Def\\H");
    copyPath(settings.defaultDataDir, "C:\\Def\\D");
    copyPath(settings.programDir, "C:\\My\\G");
    copyPath(settings.picturesDir, "C:\\My\\P");
    copyPath(settings.helpDir, "C:\\My\\H");
    copyPath(settings.dataDir, "C:\\My\\D");
    copyPath(settings.groupName, "Glimmerix7");
  }

  // The page, opened. What it shows on top of itself is noted in `shown`.
  FakeWindow& open(Page page) {
    window = std::make_unique<FakeWindow>(page, settings, computer.platform(), [this](Page over) {
      const FakeWindow dialog(over, settings, computer.platform(), nullptr);
      shown.push_back(dialog.text(IDC_PROBLEM));
    });
    return *window;
  }

  MemoryPlatform computer;
  InstallSettings settings;
  std::unique_ptr<FakeWindow> window;
  std::vector<std::string> shown;
};

TEST_F(WizardPagesTest, TwistelGoesOnlyWithGlint) {
  // What stands for a control without a text is its tick and whether it is open.
  const auto looks = [this] { return window->looks({IDC_GLINT, IDC_TWISTEL, IDC_NEXT}); };
  const auto stored = [this] {
    return std::vector{settings.installGlint, settings.installTwistel, settings.installDocs};
  };
  open(Page::components);
  EXPECT_EQ(looks(), "+, +, ");
  window->toggle(IDC_GLINT);
  EXPECT_EQ(looks(), ", !, !");
  EXPECT_THAT(stored(), ElementsAre(0, 1, 0));
  window->toggle(IDC_GLINT);
  EXPECT_EQ(looks(), "+, +, ") << "as it was stored";
  EXPECT_THAT(stored(), ElementsAre(1, 1, 1));
  window->toggle(IDC_TWISTEL);
  EXPECT_EQ(looks(), "+, , ");
  EXPECT_THAT(stored(), ElementsAre(1, 0, 1));
  window->toggle(IDC_GLINT);
  window->press(IDC_BACK);
  open(Page::components);
  EXPECT_EQ(looks(), ", !, !");
  window->press(IDC_DEFAULTS);
  EXPECT_EQ(looks(), "+, +, ");
  EXPECT_THAT(stored(), ElementsAre(1, 1, 1));
}

TEST_F(WizardPagesTest, DocumentationIsStoredOnLeavingAndResetByComponents) {
  open(Page::documentation).toggle(IDC_DOCS);
  EXPECT_EQ(settings.installDocs, 1U);
  window->press(IDC_NEXT);
  EXPECT_EQ(settings.installDocs, 0U);
  EXPECT_FALSE(open(Page::documentation).isChecked(IDC_DOCS));
  window->press(IDC_DEFAULTS);
  EXPECT_TRUE(window->isChecked(IDC_DOCS));
  EXPECT_EQ(settings.installDocs, 1U);
  settings.installDocs = 0;
  open(Page::components);
  EXPECT_EQ(settings.installDocs, 1U);
}

TEST_F(WizardPagesTest, HelpLocationFollowsTheChoices) {
  const auto help = [this] { return open(Page::locations).looks({IDC_HELP_DIR, IDC_BROWSE_HELP}); };
  settings.installDocs = 0;
  EXPECT_EQ(help(), "(accessed from CDROM)!, !");
  window->type(IDC_HELP_DIR, "c:\\\\Glimrix7\\Html_docs");
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed) << "the help field is not judged";
  settings.installGlint = 0;
  EXPECT_EQ(help(), "(not used, part of Glint)!, !");
  settings.installDocs = 1;
  settings.installGlint = 1;
  EXPECT_EQ(help(), "C:\\Def\\H, ");
  copyPath(settings.helpDir, "C:\\Else");
  EXPECT_EQ(help(), "C:\\Else, ");
}

TEST_F(WizardPagesTest, LocationsAreBrowsedRestoredAndReadOnTheWayBack) {
  open(Page::locations);
  for (const auto& [button, edit, title] :
       {std::tuple{IDC_BROWSE_PROGRAM, IDC_PROGRAM_DIR, "Browse for Main Application Folder"},
        {IDC_BROWSE_PICTURES, IDC_PICTURES_DIR, "Browse for Images Folder"},
        {IDC_BROWSE_HELP, IDC_HELP_DIR, "Browse for Help Folder"},
        {IDC_BROWSE_DATA, IDC_DATA_DIR, "Browse for Data Folder"}}) {
    window->type(edit, "C:\\Typed");
    window->browseAnswer.clear();
    window->press(button);
    EXPECT_EQ(window->browseTitle, title);
    EXPECT_EQ(window->text(edit), "C:\\Typed") << "nothing was picked";
    window->browseAnswer = "D:\\Picked";
    window->press(button);
    EXPECT_EQ(window->text(edit), "D:\\Picked");
  }
  EXPECT_STREQ(settings.dataDir, "D:\\Picked");
  window->press(IDC_DEFAULTS);
  EXPECT_EQ(window->text(IDC_PROGRAM_DIR), "C:\\Def\\G");
  EXPECT_EQ(window->text(IDC_HELP_DIR), "C:\\Def\\H");
  window->type(IDC_PICTURES_DIR, "no*good");
  window->press(IDC_BACK);
  EXPECT_TRUE(window->closed);
  EXPECT_STREQ(settings.picturesDir, "no*good");
  EXPECT_STREQ(settings.dataDir, "C:\\Def\\D");
}

TEST_F(WizardPagesTest, EveryRejectedLocationIsToldOf) {
  open(Page::locations);
  window->type(IDC_PROGRAM_DIR, "C:\\");
  window->type(IDC_PICTURES_DIR, "C:\\my.dir");
  window->type(IDC_HELP_DIR, "C:\\a\\\\b");
  window->type(IDC_DATA_DIR, "C:\\" + std::string(257, 'a'));
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
  EXPECT_EQ(settings.pageAccepted, 0U);
  const std::string start = "There is a problem with the name of the...\n\n\t\t\"";
  const std::string middle = "\"\n\nThe error is...\n\n\"";
  EXPECT_THAT(
      shown,
      ElementsAre(
          start + "Glimmerix folder" + middle + "Path to root unacceptable, (too many files)\"",
          start + "Pictures folder" + middle + "Illegal character in filename [.]\"",
          start + "Help folder" + middle + "Multiple path separators (\\) not at root position\"",
          start + "Data folder" + middle + "Filename is too long\""));
  EXPECT_STREQ(settings.dataDir, "C:\\My\\D") << "a text that does not fit is not cut";
  shown.clear();
  window->press(IDC_DEFAULTS);
  window->type(IDC_DATA_DIR, "C:\\a:b");
  window->press(IDC_NEXT);
  EXPECT_THAT(shown, ElementsAre(start + "Data folder" + middle +
                                 "Colon in position other than after drive letter\""));
  window->type(IDC_DATA_DIR, "C:\\ab");
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed);
  EXPECT_STREQ(settings.dataDir, "C:\\ab");
}

TEST_F(WizardPagesTest, GroupsAreListedChosenAndJudged) {
  computer.addDirectory("C:\\Menu\\Programs\\Accessories");
  computer.addDirectory("C:\\Menu\\Programs\\.hidden");
  computer.addDirectory("C:\\Menu\\Programs\\Startup");
  computer.addFile("C:\\Menu\\Programs\\Note.lnk", "");
  open(Page::programGroup);
  EXPECT_THAT(window->list, ElementsAre("Accessories", "Startup"));
  EXPECT_EQ(window->text(IDC_GROUP), "Glimmerix7");
  window->choose(IDC_GROUP_LIST, 1);
  EXPECT_EQ(window->text(IDC_GROUP), "Startup");
  EXPECT_STREQ(settings.groupName, "Startup");
  window->press(IDC_DEFAULTS);
  EXPECT_EQ(window->text(IDC_GROUP), "Glimmerix") << "without the 7";
  EXPECT_EQ(window->selected, -1);
  window->type(IDC_GROUP, "a\\b");
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
  EXPECT_THAT(shown, ElementsAre("There is a problem with the name of the...\n\n\t\t"
                                 "\"Glimmerix group\"\n\nThe error is...\n\n"
                                 "\"Illegal character in filename [\\]\""));
  window->type(IDC_GROUP, "Mine");
  window->press(IDC_BACK);
  EXPECT_STREQ(settings.groupName, "a\\b") << "going back reads nothing";
  open(Page::programGroup).type(IDC_GROUP, std::string(255, 'g'));
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed);
  EXPECT_EQ(settings.groupName, std::string(255, 'g'));
  open(Page::programGroup).type(IDC_GROUP, std::string(600, 'g'));
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
}

TEST_F(WizardPagesTest, ConfirmationTellsTheChoices) {
  const auto lines = [this] {
    return open(Page::confirmation).looks({IDC_HELP_LINE, IDC_GLINT_LINE, IDC_TWISTEL_LINE});
  };
  EXPECT_EQ(lines(),
            "Help will be installed in your computer, Glint will be installed in your computer, "
            "Twistel will be installed in your computer");
  EXPECT_EQ(window->text(IDC_GROUP_LINE), "Shortcuts will be placed in the \"Glimmerix7\" Group");
  EXPECT_EQ(window->looks({IDC_PROGRAM_DIR, IDC_PICTURES_DIR, IDC_HELP_DIR, IDC_DATA_DIR}),
            "C:\\My\\G, C:\\My\\P, C:\\My\\H, C:\\My\\D");
  settings.installDocs = 0;
  settings.installTwistel = 0;
  EXPECT_EQ(lines(),
            "Help will be used directly from the CDROM, Glint will be installed in your computer, "
            "Twistel will not be installed");
  settings.installGlint = 0;
  EXPECT_THAT(lines(), testing::StartsWith("Glint Help not required, Glint will not be installed"));
}

TEST_F(WizardPagesTest, StorageShowsSixSlotsAndKeepsTheFormerAnswer) {
  settings.driveCount = 2;
  settings.driveRoot[0] = "C:\\";
  settings.driveRoot[1] = "";
  settings.driveBytes[0] = 1234567;
  copyPath(settings.haltMessage, "verdict");
  settings.pageAccepted = 1;
  settings.navStep = 1;
  open(Page::storage);
  EXPECT_EQ(window->text(IDC_VERDICT), "verdict");
  EXPECT_EQ(window->text(IDC_FIRST_DRIVE), "Space used on \"C:\\\" will be 1,234,567 bytes");
  EXPECT_EQ(window->text(IDC_FIRST_DRIVE + 1), "Space used on \"\" will be 0 bytes");
  for (int slot = 2; slot < 6; ++slot) EXPECT_EQ(window->text(IDC_FIRST_DRIVE + slot), "--");
  EXPECT_FALSE(window->isEnabled(IDC_NEXT));
  EXPECT_EQ(firstFocus(Page::storage, settings), IDC_BACK) << "not Exit, which installs";
  window->press(IDC_EXIT);
  EXPECT_EQ(settings.pageAccepted, 1U);
  EXPECT_EQ(settings.navStep, 1);
  settings.spaceOk = 1;
  EXPECT_TRUE(open(Page::storage).isEnabled(IDC_NEXT));
  EXPECT_EQ(firstFocus(Page::storage, settings), 0);
  window->press(IDC_BACK);
  EXPECT_EQ(settings.navStep, -1);
}

TEST_F(WizardPagesTest, MessagesCloseByOkAndByTheCloseBox) {
  for (const Page page : {Page::halted, Page::changeRequired, Page::finished}) {
    for (const int id : {IDC_OK, IDC_EXIT}) {
      open(page).press(id);
      EXPECT_TRUE(window->closed);
    }
  }
}

}  // namespace
}  // namespace imx::test

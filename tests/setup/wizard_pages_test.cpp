#include "setup/core/wizard_pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/setup/fake_window.h"
#include "tests/setup/memory_platform.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class WizardPages : public testing::Test {
 protected:
  WizardPages() {
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

TEST_F(WizardPages, TwistelGoesOnlyWithGlint) {
  open(Page::components);
  EXPECT_TRUE(window->isChecked(IDC_GLINT));
  EXPECT_TRUE(window->isChecked(IDC_TWISTEL));
  window->toggle(IDC_GLINT);
  EXPECT_FALSE(window->isChecked(IDC_TWISTEL));
  EXPECT_FALSE(window->isEnabled(IDC_TWISTEL));
  EXPECT_FALSE(window->isEnabled(IDC_NEXT));
  EXPECT_EQ(0U, settings.installDocs);
  EXPECT_EQ(0U, settings.installGlint);
  EXPECT_EQ(1U, settings.installTwistel);
  window->toggle(IDC_GLINT);
  EXPECT_TRUE(window->isChecked(IDC_TWISTEL)) << "as it was stored";
  EXPECT_TRUE(window->isEnabled(IDC_TWISTEL));
  EXPECT_TRUE(window->isEnabled(IDC_NEXT));
  EXPECT_EQ(1U, settings.installDocs);
  window->toggle(IDC_TWISTEL);
  EXPECT_EQ(0U, settings.installTwistel);
  EXPECT_TRUE(window->isEnabled(IDC_NEXT));
  window->toggle(IDC_GLINT);
  window->press(IDC_BACK);
  open(Page::components);
  EXPECT_FALSE(window->isChecked(IDC_GLINT));
  EXPECT_FALSE(window->isEnabled(IDC_NEXT));
  window->press(IDC_DEFAULTS);
  EXPECT_TRUE(window->isChecked(IDC_GLINT));
  EXPECT_TRUE(window->isChecked(IDC_TWISTEL));
  EXPECT_TRUE(window->isEnabled(IDC_TWISTEL));
  EXPECT_TRUE(window->isEnabled(IDC_NEXT));
  EXPECT_EQ(1U, settings.installGlint);
  EXPECT_EQ(1U, settings.installTwistel);
}

TEST_F(WizardPages, DocumentationIsStoredOnLeavingAndResetByComponents) {
  open(Page::documentation).toggle(IDC_DOCS);
  EXPECT_EQ(1U, settings.installDocs);
  window->press(IDC_NEXT);
  EXPECT_EQ(0U, settings.installDocs);
  EXPECT_FALSE(open(Page::documentation).isChecked(IDC_DOCS));
  window->press(IDC_DEFAULTS);
  EXPECT_TRUE(window->isChecked(IDC_DOCS));
  EXPECT_EQ(1U, settings.installDocs);
  settings.installDocs = 0;
  open(Page::components);
  EXPECT_EQ(1U, settings.installDocs);
}

TEST_F(WizardPages, HelpLocationFollowsTheChoices) {
  settings.installDocs = 0;
  open(Page::locations);
  EXPECT_EQ("(accessed from CDROM)", window->text(IDC_HELP_DIR));
  EXPECT_FALSE(window->isEnabled(IDC_HELP_DIR));
  EXPECT_FALSE(window->isEnabled(IDC_BROWSE_HELP));
  window->type(IDC_HELP_DIR, "c:\\\\Glimrix7\\Html_docs");
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed) << "the help field is not judged";
  settings.installGlint = 0;
  EXPECT_EQ("(not used, part of Glint)", open(Page::locations).text(IDC_HELP_DIR));
  settings.installDocs = 1;
  settings.installGlint = 1;
  EXPECT_EQ("C:\\Def\\H", open(Page::locations).text(IDC_HELP_DIR));
  EXPECT_TRUE(window->isEnabled(IDC_HELP_DIR));
  EXPECT_TRUE(window->isEnabled(IDC_BROWSE_HELP));
  copyPath(settings.helpDir, "C:\\Else");
  EXPECT_EQ("C:\\Else", open(Page::locations).text(IDC_HELP_DIR));
}

TEST_F(WizardPages, LocationsAreBrowsedRestoredAndReadOnTheWayBack) {
  open(Page::locations);
  struct Browse {
    int button, edit;
    const char* title;
  };
  for (const Browse& browse :
       {Browse{IDC_BROWSE_PROGRAM, IDC_PROGRAM_DIR, "Browse for Main Application Folder"},
        Browse{IDC_BROWSE_PICTURES, IDC_PICTURES_DIR, "Browse for Images Folder"},
        Browse{IDC_BROWSE_HELP, IDC_HELP_DIR, "Browse for Help Folder"},
        Browse{IDC_BROWSE_DATA, IDC_DATA_DIR, "Browse for Data Folder"}}) {
    window->type(browse.edit, "C:\\Typed");
    window->browseAnswer.clear();
    window->press(browse.button);
    EXPECT_EQ(browse.title, window->browseTitle);
    EXPECT_EQ("C:\\Typed", window->text(browse.edit)) << "nothing was picked";
    window->browseAnswer = "D:\\Picked";
    window->press(browse.button);
    EXPECT_EQ("D:\\Picked", window->text(browse.edit));
  }
  EXPECT_STREQ("D:\\Picked", settings.dataDir);
  window->press(IDC_DEFAULTS);
  EXPECT_EQ("C:\\Def\\G", window->text(IDC_PROGRAM_DIR));
  EXPECT_EQ("C:\\Def\\H", window->text(IDC_HELP_DIR));
  window->type(IDC_PICTURES_DIR, "no*good");
  window->press(IDC_BACK);
  EXPECT_TRUE(window->closed);
  EXPECT_STREQ("no*good", settings.picturesDir);
  EXPECT_STREQ("C:\\Def\\D", settings.dataDir);
}

TEST_F(WizardPages, EveryRejectedLocationIsToldOf) {
  open(Page::locations);
  window->type(IDC_PROGRAM_DIR, "C:\\");
  window->type(IDC_PICTURES_DIR, "C:\\my.dir");
  window->type(IDC_HELP_DIR, "C:\\a\\\\b");
  window->type(IDC_DATA_DIR, "C:\\" + std::string(257, 'a'));
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
  EXPECT_EQ(0U, settings.pageAccepted);
  const std::string start = "There is a problem with the name of the...\n\n\t\t\"";
  const std::string middle = "\"\n\nThe error is...\n\n\"";
  EXPECT_THAT(
      shown,
      ElementsAre(
          start + "Glimmerix folder" + middle + "Path to root unacceptable, (too many files)\"",
          start + "Pictures folder" + middle + "Illegal character in filename [.]\"",
          start + "Help folder" + middle + "Multiple path separators (\\) not at root position\"",
          start + "Data folder" + middle + "Filename is too long\""));
  EXPECT_STREQ("C:\\My\\D", settings.dataDir) << "a text that does not fit is not cut";
  shown.clear();
  window->press(IDC_DEFAULTS);
  window->type(IDC_DATA_DIR, "C:\\a:b");
  window->press(IDC_NEXT);
  EXPECT_THAT(shown, ElementsAre(start + "Data folder" + middle +
                                 "Colon in position other than after drive letter\""));
  window->type(IDC_DATA_DIR, "C:\\ab");
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed);
  EXPECT_STREQ("C:\\ab", settings.dataDir);
}

TEST_F(WizardPages, GroupsAreListedChosenAndJudged) {
  computer.addDirectory("C:\\Menu\\Programs\\Accessories");
  computer.addDirectory("C:\\Menu\\Programs\\.hidden");
  computer.addDirectory("C:\\Menu\\Programs\\Startup");
  computer.addFile("C:\\Menu\\Programs\\Note.lnk", "");
  open(Page::programGroup);
  EXPECT_THAT(window->list, ElementsAre("Accessories", "Startup"));
  EXPECT_EQ("Glimmerix7", window->text(IDC_GROUP));
  window->choose(IDC_GROUP_LIST, 1);
  EXPECT_EQ("Startup", window->text(IDC_GROUP));
  EXPECT_STREQ("Startup", settings.groupName);
  window->press(IDC_DEFAULTS);
  EXPECT_EQ("Glimmerix", window->text(IDC_GROUP)) << "without the 7";
  EXPECT_EQ(-1, window->selected);
  window->type(IDC_GROUP, "a\\b");
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
  EXPECT_THAT(shown, ElementsAre("There is a problem with the name of the...\n\n\t\t"
                                 "\"Glimmerix group\"\n\nThe error is...\n\n"
                                 "\"Illegal character in filename [\\]\""));
  window->type(IDC_GROUP, "Mine");
  window->press(IDC_BACK);
  EXPECT_STREQ("a\\b", settings.groupName) << "going back reads nothing";
  open(Page::programGroup).type(IDC_GROUP, std::string(255, 'g'));
  window->press(IDC_NEXT);
  EXPECT_TRUE(window->closed);
  EXPECT_EQ(std::string(255, 'g'), settings.groupName);
  open(Page::programGroup).type(IDC_GROUP, std::string(600, 'g'));
  window->press(IDC_NEXT);
  EXPECT_FALSE(window->closed);
}

TEST_F(WizardPages, ConfirmationTellsTheChoices) {
  open(Page::confirmation);
  EXPECT_EQ("Help will be installed in your computer", window->text(IDC_HELP_LINE));
  EXPECT_EQ("Shortcuts will be placed in the \"Glimmerix7\" Group", window->text(IDC_GROUP_LINE));
  EXPECT_EQ("Glint will be installed in your computer", window->text(IDC_GLINT_LINE));
  EXPECT_EQ("Twistel will be installed in your computer", window->text(IDC_TWISTEL_LINE));
  EXPECT_EQ("C:\\My\\G", window->text(IDC_PROGRAM_DIR));
  EXPECT_EQ("C:\\My\\P", window->text(IDC_PICTURES_DIR));
  EXPECT_EQ("C:\\My\\H", window->text(IDC_HELP_DIR));
  EXPECT_EQ("C:\\My\\D", window->text(IDC_DATA_DIR));
  settings.installDocs = 0;
  settings.installTwistel = 0;
  open(Page::confirmation);
  EXPECT_EQ("Help will be used directly from the CDROM", window->text(IDC_HELP_LINE));
  EXPECT_EQ("Twistel will not be installed", window->text(IDC_TWISTEL_LINE));
  settings.installGlint = 0;
  open(Page::confirmation);
  EXPECT_EQ("Glint Help not required", window->text(IDC_HELP_LINE));
  EXPECT_EQ("Glint will not be installed", window->text(IDC_GLINT_LINE));
}

TEST_F(WizardPages, StorageShowsSixSlotsAndKeepsTheFormerAnswer) {
  settings.driveCount = 2;
  settings.driveRoot[0] = "C:\\";
  settings.driveRoot[1] = "";
  settings.driveBytes[0] = 1234567;
  copyPath(settings.haltMessage, "verdict");
  settings.pageAccepted = 1;
  settings.navStep = 1;
  open(Page::storage);
  EXPECT_EQ("verdict", window->text(IDC_VERDICT));
  EXPECT_EQ("Space used on \"C:\\\" will be 1,234,567 bytes", window->text(IDC_FIRST_DRIVE));
  EXPECT_EQ("Space used on \"\" will be 0 bytes", window->text(IDC_FIRST_DRIVE + 1));
  for (int slot = 2; slot < 6; ++slot) EXPECT_EQ("--", window->text(IDC_FIRST_DRIVE + slot));
  EXPECT_FALSE(window->isEnabled(IDC_NEXT));
  EXPECT_EQ(IDC_BACK, firstFocus(Page::storage, settings)) << "not Exit, which installs";
  window->press(IDC_EXIT);
  EXPECT_EQ(1U, settings.pageAccepted);
  EXPECT_EQ(1, settings.navStep);
  settings.spaceOk = 1;
  EXPECT_TRUE(open(Page::storage).isEnabled(IDC_NEXT));
  EXPECT_EQ(0, firstFocus(Page::storage, settings));
  window->press(IDC_BACK);
  EXPECT_EQ(-1, settings.navStep);
}

TEST_F(WizardPages, MessagesCloseByOkAndByTheCloseBox) {
  for (const Page page : {Page::halted, Page::changeRequired, Page::finished}) {
    for (const int id : {IDC_OK, IDC_EXIT}) {
      open(page).press(id);
      EXPECT_TRUE(window->closed);
    }
  }
}

}  // namespace
}  // namespace imx::test

#include "setup/core/wizard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/setup/fake_window.h"
#include "tests/setup/sample_medium.h"
#include "tests/support/recording_host.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Page kPagesBeforeStorage[] = {Page::welcome,   Page::components,   Page::documentation,
                                        Page::locations, Page::programGroup, Page::confirmation};

// The whole wizard with a user who follows a script.
class Wizard : public testing::Test {
 protected:
  Wizard() {
    addSampleMedium(computer);
    computer.onPage = [this](Page page) { return user.show(page); };
  }

  // Plays the steps, after Next on the pages before `first`; the user must come to all of them.
  ResultCode run(Page first, std::initializer_list<Step> steps) {
    user.steps.clear();
    for (const Page page : kPagesBeforeStorage) {
      if (page == first) break;
      user.steps.push_back(next(page));
    }
    user.steps.insert(user.steps.end(), steps);
    const ResultCode result = runWizard(computer.platform(), settings);
    EXPECT_TRUE(user.steps.empty()) << user.steps.size() << " steps were not reached";
    return result;
  }

  void expectHalt(const std::string& message, const std::string& suggestion) {
    run(Page::welcome, {confirm(Page::halted)});
    EXPECT_EQ(message, settings.haltMessage);
    EXPECT_EQ(suggestion, settings.haltSuggestion);
    EXPECT_EQ(1, computer.exits);
    EXPECT_THAT(computer.directoriesMade, IsEmpty());
  }

  RecordingHost host;
  MemoryPlatform computer;
  InstallSettings settings;
  User user{settings, computer.platform()};
};

Step shows(Page page, int button, const std::function<void(FakeWindow&)>& look) {
  return {page, [button, look](FakeWindow& window) {
            look(window);
            window.press(button);
          }};
}

TEST_F(Wizard, DefaultsInstallEverything) {
  EXPECT_EQ(kResultOk, run(Page::locations,
                           {shows(Page::locations, IDC_NEXT,
                                  [](FakeWindow& window) {
                                    const std::string base = "C:\\Program Files\\Glimrix7";
                                    EXPECT_EQ(base, window.text(IDC_PROGRAM_DIR));
                                    EXPECT_EQ(base + "\\Images", window.text(IDC_PICTURES_DIR));
                                    EXPECT_EQ(base + "\\Html_docs", window.text(IDC_HELP_DIR));
                                    EXPECT_EQ(base + "\\Data", window.text(IDC_DATA_DIR));
                                  }),
                            next(Page::programGroup), next(Page::confirmation), next(Page::storage),
                            confirm(Page::finished)}));
  EXPECT_STREQ("E:\\nt9895\\", settings.packageDir);
  EXPECT_EQ(sampleFiles().size(), computer.written.size());
  std::size_t bytes = 0;
  for (const SampleFile& file : sampleFiles()) bytes += file.content.size();
  EXPECT_EQ("Install Complete\n\n\t" + std::to_string(sampleFiles().size()) +
                " files copied\n\n\t" + std::to_string(bytes) + " bytes copied",
            settings.haltMessage);
  EXPECT_THAT(computer.explored, ElementsAre("C:\\Menu\\Programs\\Glimmerix7"));
  EXPECT_TRUE(computer.mainShown);
  EXPECT_EQ(1, computer.exits);
  EXPECT_EQ(0, computer.openFiles);
}

TEST_F(Wizard, StorageIsCountedAfreshOnEachVisit) {
  run(Page::storage,
      {back(Page::storage),
       back(Page::confirmation),
       back(Page::programGroup),
       back(Page::locations),
       back(Page::documentation),
       back(Page::components),
       next(Page::welcome),
       {Page::components,
        [](FakeWindow& window) {
          window.toggle(IDC_TWISTEL);
          window.press(IDC_NEXT);
        }},
       next(Page::documentation),
       next(Page::locations),
       next(Page::programGroup),
       next(Page::confirmation),
       shows(Page::storage, IDC_NEXT,
             [](FakeWindow& window) {
               EXPECT_EQ("Using the locations you selected, there is enough free space to install.",
                         window.text(IDC_VERDICT));
             }),
       confirm(Page::finished)});
  EXPECT_EQ(sampleFiles().size() - 2, settings.expectedFiles);
  EXPECT_EQ(settings.expectedFiles, settings.runningFiles);
  EXPECT_EQ("(none)", computer.contentOf("C:\\Program Files\\Glimrix7\\twistel.exe"));
}

TEST_F(Wizard, ExitEndsTheWizardOnEveryPageButStorage) {
  for (const Page last : kPagesBeforeStorage) {
    settings = InstallSettings();
    computer.exits = 0;
    EXPECT_EQ(kResultOk, run(last, {leave(last)}));
    EXPECT_EQ(1, computer.exits);
  }
  EXPECT_THAT(computer.written, IsEmpty());
}

TEST_F(Wizard, ExitOnStorageInstallsEvenWithoutRoom) {
  computer.disks["c:"] = {1, 1, 10};
  run(Page::storage,
      {shows(Page::storage, IDC_EXIT,
             [](FakeWindow& window) {
               EXPECT_FALSE(window.isEnabled(IDC_NEXT));
               EXPECT_EQ(
                   "Using the locations you selected, there is not enough space available.\n\n"
                   "Reassign compenents or make more space available.",
                   window.text(IDC_VERDICT));
             }),
       confirm(Page::finished)});
  EXPECT_EQ(sampleFiles().size(), computer.written.size());
}

TEST_F(Wizard, ADialogThatCannotBeShownEndsTheWizard) {
  computer.onPage = [this](Page page) { return page != Page::storage && user.show(page); };
  run(Page::storage, {});
  EXPECT_THAT(computer.written, IsEmpty());
  EXPECT_EQ(1, computer.exits);
}

TEST_F(Wizard, WithoutGlintTheDocumentationPageIsPassedBothWays) {
  // The page never lets Next be pressed like this; the flow holds all the same.
  const Step withoutGlint = {Page::components, [this](FakeWindow& window) {
                               window.toggle(IDC_GLINT);
                               settings.installDocs = 1;
                               window.enabled[IDC_NEXT] = true;
                               window.press(IDC_NEXT);
                             }};
  run(Page::components,
      {withoutGlint,
       back(Page::locations),
       shows(Page::components, IDC_BACK,
             [](FakeWindow& window) { EXPECT_FALSE(window.isChecked(IDC_GLINT)); }),
       next(Page::welcome),
       {Page::components,
        [](FakeWindow& window) {
          window.enabled[IDC_NEXT] = true;
          window.press(IDC_NEXT);
        }},
       shows(Page::locations, IDC_NEXT,
             [](FakeWindow& window) {
               EXPECT_EQ("(not used, part of Glint)", window.text(IDC_HELP_DIR));
             }),
       next(Page::programGroup),
       shows(Page::confirmation, IDC_NEXT,
             [](FakeWindow& window) {
               EXPECT_EQ("Glint Help not required", window.text(IDC_HELP_LINE));
             }),
       leave(Page::storage),
       confirm(Page::finished)});
  EXPECT_EQ(0U, settings.installDocs);
  EXPECT_THAT(computer.links, IsEmpty());
}

TEST_F(Wizard, WithoutAProgramsDirectoryTheDefaultMustBeEdited) {
  computer.programFiles.clear();
  run(Page::locations, {{Page::locations,
                         [](FakeWindow& window) {
                           EXPECT_EQ("c:\\\\Glimrix7", window.text(IDC_PROGRAM_DIR));
                           window.press(IDC_NEXT);
                           EXPECT_FALSE(window.closed);
                           window.type(IDC_PROGRAM_DIR, "C:\\G");
                           window.type(IDC_PICTURES_DIR, "C:\\G\\I");
                           window.type(IDC_HELP_DIR, "C:\\G\\H");
                           window.type(IDC_DATA_DIR, "C:\\G\\D");
                           window.press(IDC_NEXT);
                         }},
                        confirm(Page::changeRequired),
                        confirm(Page::changeRequired),
                        confirm(Page::changeRequired),
                        confirm(Page::changeRequired),
                        leave(Page::programGroup)});
}

TEST_F(Wizard, HaltsOnADirectoryInPlaceOfTheMedium) {
  computer.currentDirectory = "C:\\Apps";
  computer.addDirectory("C:\\Apps\\nt9895\\glint.exe");
  expectHalt("Cannot locate install data on source media",
             "Contact Technical Support, install data appears to be corrupt.");
  EXPECT_STREQ("C:\\Apps\\nt9895\\", settings.packageDir);
}

TEST_F(Wizard, HaltsWithoutAShellAllocator) {
  computer.allocatorResult = -1;
  expectHalt("Memory allocation problem", "Reboot, system appears to be corrupt");
}

TEST_F(Wizard, HaltsOnOldSystemsOnly) {
  struct {
    OsVersion version;
    bool refused;
  } const cases[] = {{{0, 9, 9}, true},  {{1, 3, 95}, true}, {{1, 4, 0}, false},
                     {{2, 3, 51}, true}, {{2, 4, 0}, false}, {{2, 10, 0}, false},
                     {{3, 0, 0}, false}};
  for (const auto& [version, refused] : cases) {
    computer.version = version;
    computer.exits = 0;
    if (refused) {
      expectHalt(
          "This version of Glimmerix requires Windows XP, 2000, NT 4, 95, or 98.\n\n"
          "Installation terminated.",
          "Upgrade your operating system.");
    } else {
      run(Page::welcome, {leave(Page::welcome)});
    }
  }
}

TEST_F(Wizard, WithoutAProgramsFolderItReturnsSilently) {
  computer.programsResult = -5;
  EXPECT_EQ(-5, run(Page::welcome, {}));
  EXPECT_THAT(computer.pages, IsEmpty());
  EXPECT_EQ(0, computer.exits);
}

}  // namespace
}  // namespace imx::test

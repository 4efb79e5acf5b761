#include "setup/core/wizard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

#include "setup/core/startup.h"
#include "tests/setup/sample_medium.h"
#include "tests/support/recording_host.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Page kPagesBeforeStorage[] = {Page::welcome,   Page::components,   Page::documentation,
                                        Page::locations, Page::programGroup, Page::confirmation};

// One page that the user expects, and how it is left.
struct Step {
  Page page;
  std::int32_t direction;      // of navStep; 0 leaves by Exit or OK
  std::function<void()> look;  // what happens before that
};

Step next(Page page, std::function<void()> look = {}) {
  return {page, 1, std::move(look)};
}

Step back(Page page) {
  return {page, -1, {}};
}

Step leave(Page page, std::function<void()> look = {}) {
  return {page, 0, std::move(look)};
}

// The whole wizard, its pages answered by a script.
class WizardTest : public testing::Test {
 protected:
  WizardTest() {
    addSampleMedium(computer);
    computer.onPage = [this](Page page) { return answer(page); };
  }

  bool answer(Page page) {
    if (steps.empty()) {
      ADD_FAILURE() << "nobody expects page " << pageResource(page);
      return false;
    }
    const Step step = steps.front();
    steps.pop_front();
    EXPECT_STREQ(pageResource(page), pageResource(step.page));
    if (step.look) step.look();
    if (step.direction != 0) settings.navStep = step.direction;
    // Exit on the storage page leaves the confirmation's answer.
    if (page != Page::storage) settings.pageAccepted = step.direction != 0 ? 1 : 0;
    return true;
  }

  // Plays the steps, after Next on the pages before `first`; the wizard must come to all of them.
  ResultCode run(Page first, std::initializer_list<Step> script) {
    steps.clear();
    for (const Page page : kPagesBeforeStorage) {
      if (page == first) break;
      steps.push_back(next(page));
    }
    steps.insert(steps.end(), script);
    const ResultCode result = runWizard(computer.platform(), settings);
    EXPECT_TRUE(steps.empty()) << steps.size() << " steps were not reached";
    return result;
  }

  void expectHalt(const std::string& message, const std::string& suggestion) {
    run(Page::welcome, {leave(Page::halted)});
    EXPECT_EQ(settings.haltMessage, message);
    EXPECT_EQ(settings.haltSuggestion, suggestion);
    EXPECT_EQ(computer.exits, 1);
    EXPECT_THAT(computer.directoriesMade, IsEmpty());
  }

  RecordingHost host;
  MemoryPlatform computer;
  InstallSettings settings;
  std::deque<Step> steps;
};

TEST_F(WizardTest, DefaultsInstallEverything) {
  const Step locations = next(Page::locations, [this] {
    EXPECT_STREQ(settings.programDir, "C:\\Program Files\\Glimrix7");
    EXPECT_STREQ(settings.picturesDir, "C:\\Program Files\\Glimrix7\\Images");
    EXPECT_STREQ(settings.helpDir, "C:\\Program Files\\Glimrix7\\Html_docs");
    EXPECT_STREQ(settings.dataDir, "C:\\Program Files\\Glimrix7\\Data");
  });
  const Step storage = next(Page::storage, [this] {
    EXPECT_EQ(settings.spaceOk, 1U);
    EXPECT_STREQ(settings.haltMessage,
                 "Using the locations you selected, there is enough free space to install.");
  });
  EXPECT_EQ(run(Page::locations, {locations, next(Page::programGroup), next(Page::confirmation),
                                  storage, leave(Page::finished)}),
            kResultOk);
  EXPECT_STREQ(settings.packageDir, "E:\\nt9895\\");
  EXPECT_EQ(computer.written.size(), sampleFiles().size());
  std::size_t bytes = 0;
  for (const SampleFile& file : sampleFiles()) bytes += file.content.size();
  EXPECT_EQ(settings.haltMessage, "Install Complete\n\n\t" + std::to_string(sampleFiles().size()) +
                                      " files copied\n\n\t" + std::to_string(bytes) +
                                      " bytes copied");
  EXPECT_THAT(computer.explored, ElementsAre("C:\\Menu\\Programs\\Glimmerix7"));
  EXPECT_TRUE(computer.mainShown);
  EXPECT_EQ(computer.exits, 1);
  EXPECT_EQ(computer.openFiles, 0);
}

TEST_F(WizardTest, StorageIsCountedAfreshOnEachVisit) {
  run(Page::storage,
      {back(Page::storage), back(Page::confirmation), back(Page::programGroup),
       back(Page::locations), back(Page::documentation), back(Page::components),
       next(Page::welcome), next(Page::components, [this] { settings.installTwistel = 0; }),
       next(Page::documentation), next(Page::locations), next(Page::programGroup),
       next(Page::confirmation), next(Page::storage), leave(Page::finished)});
  EXPECT_EQ(settings.expectedFiles, sampleFiles().size() - 2);
  EXPECT_EQ(settings.runningFiles, settings.expectedFiles);
  EXPECT_EQ(computer.contentOf("C:\\Program Files\\Glimrix7\\twistel.exe"), "(none)");
}

TEST_F(WizardTest, ExitEndsTheWizardOnEveryPageButStorage) {
  for (const Page last : kPagesBeforeStorage) {
    settings = InstallSettings();
    computer.exits = 0;
    EXPECT_EQ(run(last, {leave(last)}), kResultOk);
    EXPECT_EQ(computer.exits, 1);
  }
  EXPECT_THAT(computer.written, IsEmpty());
}

TEST_F(WizardTest, ExitOnStorageInstallsEvenWithoutRoom) {
  computer.disks["C:\\"] = {1, 1, 10};
  const Step storage = leave(Page::storage, [this] {
    EXPECT_EQ(settings.spaceOk, 0U);
    EXPECT_STREQ(settings.haltMessage,
                 "Using the locations you selected, there is not enough space available.\n\n"
                 "Reassign compenents or make more space available.");
  });
  run(Page::storage, {storage, leave(Page::finished)});
  EXPECT_EQ(computer.written.size(), sampleFiles().size());
}

TEST_F(WizardTest, ADialogThatCannotBeShownEndsTheWizard) {
  computer.onPage = [this](Page page) { return page != Page::storage && answer(page); };
  run(Page::storage, {});
  EXPECT_THAT(computer.written, IsEmpty());
  EXPECT_EQ(computer.exits, 1);
}

TEST_F(WizardTest, WithoutGlintTheDocumentationPageIsPassedBothWays) {
  // The page never lets Next be pressed like this; the flow holds all the same.
  const Step withoutGlint = next(Page::components, [this] { settings.installGlint = 0; });
  run(Page::components,
      {withoutGlint, back(Page::locations), back(Page::components), next(Page::welcome),
       withoutGlint, next(Page::locations), next(Page::programGroup), next(Page::confirmation),
       leave(Page::storage), leave(Page::finished)});
  EXPECT_EQ(settings.installDocs, 0U);
}

TEST_F(WizardTest, WithoutAProgramsDirectoryTheDefaultIsOnTheDrive) {
  computer.programFiles.clear();
  run(Page::locations, {leave(Page::locations)});
  EXPECT_STREQ(settings.programDir, "c:\\\\Glimrix7");
}

TEST_F(WizardTest, HaltsOnADirectoryInPlaceOfTheMedium) {
  computer.currentDirectory = "C:\\Apps";
  computer.addDirectory("C:\\Apps\\nt9895\\glint.exe");
  expectHalt("Cannot locate install data on source media",
             "Contact Technical Support, install data appears to be corrupt.");
  EXPECT_STREQ(settings.packageDir, "C:\\Apps\\nt9895\\");
}

TEST_F(WizardTest, HaltsWithoutAShellAllocator) {
  computer.allocatorResult = -1;
  expectHalt("Memory allocation problem", "Reboot, system appears to be corrupt");
}

TEST_F(WizardTest, HaltsOnOldSystemsOnly) {
  struct {
    OsVersion version;
    bool refused;
  } const cases[] = {{{0, 9, 9}, true},  {{1, 3, 95}, true}, {{1, 4, 0}, false},
                     {{2, 3, 51}, true}, {{2, 4, 0}, false}, {{2, 10, 0}, false},
                     {{3, 0, 0}, false}};
  for (const auto& [version, refused] : cases) {
    EXPECT_EQ(isRefused(version), refused) << version.platformId << ": " << version.major;
  }
  computer.version = {1, 3, 95};
  expectHalt(
      "This version of Glimmerix requires Windows XP, 2000, NT 4, 95, or 98.\n\n"
      "Installation terminated.",
      "Upgrade your operating system.");
}

TEST_F(WizardTest, WithoutAProgramsFolderItReturnsSilently) {
  computer.programsResult = -5;
  EXPECT_EQ(run(Page::welcome, {}), -5);
  EXPECT_THAT(computer.pages, IsEmpty());
  EXPECT_EQ(computer.exits, 0);
}

}  // namespace
}  // namespace imx::test

#include "setup/core/engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tests/setup/sample_medium.h"
#include "tests/support/recording_host.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A computer with the sample medium, and a user who answers the abort question.
struct Bench {
  Bench() {
    addSampleMedium(computer);
    filesBefore = computer.filesBelow("E:\\");
    computer.onPage = [this](Page page) {
      if (page == Page::abortQuery) settings.userAborted = abortAnswer ? 1 : 0;
      return true;
    };
    computer.onClearStop = [this] { host.ForgetStop(); };
  }

  std::int32_t run(std::int32_t mode) { return runInstall(computer.platform(), settings, mode); }

  // The two passes as the wizard makes them.
  std::int32_t countAndInstall() {
    run(kCountMode);
    settings.expectedFiles = settings.runningFiles;
    settings.expectedBytes = settings.runningBytes;
    settings.runningFiles = 0;
    settings.runningBytes = 0;
    return run(kInstallMode);
  }

  std::vector<SampleFile> chosenFiles() const {
    std::vector<SampleFile> files = sampleFiles();
    std::erase_if(files, [this](const auto& file) { return !isWanted(settings, file.condition); });
    return files;
  }

  void expectInstalled(const std::vector<SampleFile>& files) const {
    std::vector<std::string> destinations;
    for (const SampleFile& file : files) {
      EXPECT_EQ(computer.contentOf(file.destination), file.installed) << file.destination;
      destinations.push_back(file.destination);
    }
    EXPECT_EQ(computer.written, destinations);
  }

  RecordingHost host;
  MemoryPlatform computer;
  InstallSettings settings = sampleSettings();
  std::vector<std::string> filesBefore;
  bool abortAnswer = true;
};

TEST(EngineTest, CountingAddsUpTheMediumAndChangesNothing) {
  Bench bench;
  bench.settings.categoryBytes[kDataFiles] = 1000;
  EXPECT_EQ(bench.run(kCountMode), kInstallDone);
  std::uint32_t bytes = 0;
  std::uint32_t perCategory[kCategoryCount] = {};
  for (const SampleFile& file : bench.chosenFiles()) {
    bytes += static_cast<std::uint32_t>(file.content.size());
    perCategory[file.category] += static_cast<std::uint32_t>(file.content.size());
  }
  EXPECT_EQ(bench.settings.runningFiles, bench.chosenFiles().size());
  EXPECT_EQ(bench.settings.runningBytes, bytes);
  EXPECT_TRUE(std::equal(std::begin(perCategory), std::end(perCategory),
                         std::begin(bench.settings.categoryBytes)));
  EXPECT_THAT(bench.computer.directoriesMade, IsEmpty());
  EXPECT_THAT(bench.computer.written, IsEmpty());
  EXPECT_THAT(bench.computer.links, IsEmpty());
  EXPECT_THAT(bench.host.progress, IsEmpty());
}

TEST(EngineTest, InstallsEverythingInOrder) {
  Bench bench;
  EXPECT_EQ(bench.countAndInstall(), kInstallDone);
  bench.expectInstalled(bench.chosenFiles());
  EXPECT_THAT(
      bench.computer.directoriesMade,
      ElementsAre("C:\\Apps\\G", "C:\\Apps\\P", "C:\\Apps\\H", "C:\\Apps\\H\\pics",
                  "C:\\Apps\\H\\anims", "C:\\Apps\\D x", "C:\\Apps\\D x\\land_pals",
                  "C:\\Apps\\D x\\tex_pals", "C:\\Apps\\D x\\plugins", "C:\\Apps\\D x\\scripts",
                  "C:\\Apps\\D x\\convos", "C:\\Apps\\D x\\transitions", "C:\\Apps\\D x\\psys",
                  "C:\\Apps\\D x\\psys\\pals", "C:\\Menu\\Programs\\Glim"));
  EXPECT_THAT(
      bench.computer.links,
      ElementsAre(Link{"C:\\Apps\\G\\glint.exe", "C:\\Menu\\Programs\\Glim\\Glint_7.lnk",
                       "Shortcut to glint.exe"},
                  Link{"C:\\Apps\\H\\f_toc.html", "C:\\Menu\\Programs\\Glim\\R7 Manual.lnk",
                       "Shortcut to f_toc.html"},
                  Link{"C:\\Apps\\G\\twistel.exe", "C:\\Menu\\Programs\\Glim\\Twistel_7.lnk",
                       "Shortcut to twistel.exe"}));
  ASSERT_EQ(bench.host.progress.size(), 1U);
  const ProgressRun& progress = bench.host.progress[0];
  EXPECT_EQ(progress.title, "Copying Files");
  EXPECT_EQ(progress.total, static_cast<std::int32_t>(bench.settings.expectedFiles));
  EXPECT_EQ(progress.extra, 1);
  EXPECT_TRUE(progress.abortable);
  EXPECT_EQ(progress.positions.back(), progress.total);
  EXPECT_EQ(bench.host.progressEnds, 1);
  EXPECT_EQ(bench.settings.runningBytes, bench.settings.expectedBytes);
}

TEST(EngineTest, ChoicesLeaveOutTheirFilesDirectoriesAndLinks) {
  for (unsigned choices = 0; choices < 8; ++choices) {
    Bench bench;
    bench.settings.installGlint = choices & 1;
    bench.settings.installTwistel = choices >> 1 & 1;
    bench.settings.installDocs = choices >> 2 & 1;
    EXPECT_EQ(bench.countAndInstall(), kInstallDone);
    const bool help = bench.settings.installGlint != 0 && bench.settings.installDocs != 0;
    std::vector<SampleFile> files = bench.chosenFiles();
    for (SampleFile& file : files) {
      if (!help && file.source == "winglint.ini") file.installed = "p=C:\\Apps\\P;h=";
    }
    bench.expectInstalled(files);
    EXPECT_EQ(bench.computer.hasDirectory("C:\\Apps\\H"), help);
    std::vector<std::string> linkFiles;
    for (const Link& link : bench.computer.links) linkFiles.push_back(link.file);
    std::vector<std::string> expected;
    const std::string group = "C:\\Menu\\Programs\\Glim\\";
    if (bench.settings.installGlint != 0) expected.push_back(group + "Glint_7.lnk");
    if (help) expected.push_back(group + "R7 Manual.lnk");
    if (bench.settings.installTwistel != 0) expected.push_back(group + "Twistel_7.lnk");
    EXPECT_EQ(linkFiles, expected);
  }
}

TEST(EngineTest, RuntimeThatIsThereIsNeitherCountedNorCopied) {
  Bench bench;
  bench.computer.addFile("C:\\Windows\\System32\\MSVCRT.DLL", "theirs");
  EXPECT_EQ(bench.countAndInstall(), kInstallDone);
  EXPECT_EQ(bench.settings.expectedFiles, sampleFiles().size() - 1);
  EXPECT_EQ(bench.computer.contentOf("C:\\Windows\\System32\\msvcrt.dll"), "theirs");
}

TEST(EngineTest, ATemplateIsToldByTheEndOfALongerName) {
  Bench bench;
  const std::map<std::string, bool> templates = {
      {".ini", false}, {"a.inix", false}, {"a.txt", false}, {"aini", false},
      {"A.Mpr", true}, {"a.mpt", true},   {"b.psy", true}};
  for (const auto& [name, expands] : templates) {
    bench.computer.addFile("E:\\nt9895\\data\\" + name, "%i..");
  }
  bench.countAndInstall();
  for (const auto& [name, expands] : templates) {
    EXPECT_EQ(bench.computer.contentOf("C:\\Apps\\D x\\" + name), expands ? "C:\\Apps\\P" : "%i..")
        << name;
  }
}

TEST(EngineTest, InstallingOverTheMediumItselfKeepsTheTemplates) {
  for (const char* const spelling :
       {"E:\\nt9895\\DATA", "E:\\nt9895\\data\\", "nt9895\\data", "F:\\data"}) {
    Bench bench;  // on a disk, not a CD
    bench.computer.substitute("F:", "E:\\nt9895");
    copyPath(bench.settings.dataDir, spelling);
    bench.countAndInstall();
    EXPECT_EQ(bench.computer.contentOf("E:\\nt9895\\data\\a.TML"), "x%iABy") << spelling;
  }
}

TEST(EngineTest, MissingSourcesAndDirectoriesNamedLikeFilesArePassedOver) {
  Bench bench;
  MemoryPlatform bare;
  bare.addDirectory("E:\\nt9895\\glint.exe");
  bare.addDirectory("C:\\Apps");
  bare.addFile("E:\\nt9895\\images\\1.trm", "one");
  EXPECT_EQ(runInstall(bare.platform(), bench.settings, kInstallMode), kInstallDone);
  EXPECT_EQ(bench.settings.runningFiles, 1U);
  EXPECT_EQ(bench.settings.runningBytes, 3U);
  EXPECT_THAT(bare.written, ElementsAre("C:\\Apps\\P\\1.trm"));
}

TEST(EngineTest, HugeSourcesCountTheirLowWordLessTheirHighWord) {
  Bench bench;
  MemoryPlatform bare;
  bare.addFile("E:\\nt9895\\images\\1.trm", std::string(10, 'x')).sizeHigh = 3;
  EXPECT_EQ(runInstall(bare.platform(), bench.settings, kCountMode), kInstallDone);
  EXPECT_EQ(bench.settings.runningBytes, 7U);
  EXPECT_EQ(bench.settings.categoryBytes[kPictureFiles], 7U);
}

TEST(EngineTest, LinksNeedAFreshComLibrary) {
  for (const ResultCode result : {1, -1}) {
    Bench bench;
    bench.computer.comResult = result;
    EXPECT_EQ(bench.countAndInstall(), kInstallDone);
    EXPECT_THAT(bench.computer.links, IsEmpty());
  }
}

// The user presses Stop at each file in turn and means it.
TEST(EngineTest, StopAtEveryFileCopiesNoMore) {
  const std::vector<SampleFile>& files = sampleFiles();
  for (std::size_t at = 0; at < files.size(); ++at) {
    Bench bench;
    bench.host.stopAt = static_cast<int>(at);
    EXPECT_EQ(bench.countAndInstall(), kInstallDone);
    EXPECT_THAT(bench.computer.pages, ElementsAre(Page::abortQuery));
    bench.expectInstalled({files.begin(), files.begin() + static_cast<std::ptrdiff_t>(at) + 1});
    EXPECT_THAT(bench.computer.links, IsEmpty());
    EXPECT_EQ(bench.settings.copyEnabled, 0U);
    EXPECT_EQ(bench.settings.mode, kCountMode);
    EXPECT_EQ(bench.host.progress[0].positions.size(), at + 1);
    EXPECT_EQ(bench.host.progressEnds, 1);
    // The rest is counted, but for the directory in which it stopped.
    const bool inPictures = files[at].source == "images\\1.trm";
    EXPECT_EQ(bench.settings.runningFiles,
              files.size() - (inPictures ? 1 : 0) - (files[at].source == "data\\a.TML" ? 1 : 0));
  }
}

TEST(EngineTest, StopThatIsTakenBackIsAskedOnce) {
  Bench bench;
  bench.abortAnswer = false;
  bench.host.stopAt = 2;
  EXPECT_EQ(bench.countAndInstall(), kInstallDone);
  EXPECT_THAT(bench.computer.pages, ElementsAre(Page::abortQuery));
  bench.expectInstalled(bench.chosenFiles());
}

// Each directory of the plan in turn cannot be made.
TEST(EngineTest, ADirectoryThatCannotBeMadeLeavesNothingBehind) {
  Bench whole;
  whole.countAndInstall();
  for (const std::string& unmakable : whole.computer.directoriesMade) {
    Bench bench;
    bench.computer.unmakable = unmakable;
    EXPECT_EQ(bench.countAndInstall(), kInstallNoDirectories);
    EXPECT_THAT(bench.computer.pages, ElementsAre(Page::halted));
    EXPECT_EQ(std::string(bench.settings.haltMessage),
              "The Install Wizard was unable to create all of the directories required.\n\n"
              "Installation terminated.");
    EXPECT_EQ(bench.computer.exits, 1);
    EXPECT_THAT(bench.computer.written, IsEmpty());
    EXPECT_THAT(bench.host.progress, IsEmpty());
    // psys is tried before the pals in it.
    const bool keepsPsys = unmakable == "C:\\Menu\\Programs\\Glim";
    for (const std::string& made : bench.computer.directoriesMade) {
      const bool kept = keepsPsys && (made == "C:\\Apps\\D x" || made == "C:\\Apps\\D x\\psys");
      EXPECT_EQ(bench.computer.hasDirectory(made), kept) << made << " without " << unmakable;
    }
  }
}

TEST(EngineTest, RemovalGoesInItsOrderAndSparesWhatWasThere) {
  Bench bench;
  bench.computer.addDirectory("C:\\Apps\\P");
  bench.computer.addDirectory("C:\\Apps\\H\\anims");
  bench.computer.unmakable = "C:\\Apps\\D x\\plugins";
  EXPECT_EQ(bench.countAndInstall(), kInstallNoDirectories);
  EXPECT_THAT(
      bench.computer.removalsTried,
      ElementsAre("C:\\Apps\\H\\pics", "C:\\Apps\\D x\\land_pals", "C:\\Apps\\D x\\tex_pals",
                  "C:\\Apps\\D x\\plugins", "C:\\Apps\\D x", "C:\\Apps\\G"));
  EXPECT_TRUE(bench.computer.hasDirectory("C:\\Apps\\P"));
}

TEST(EngineTest, ADirectoryWithoutItsParentHalts) {
  Bench bench;
  copyPath(bench.settings.programDir, "C:\\None\\G");
  EXPECT_EQ(bench.countAndInstall(), kInstallNoDirectories);
}

// The n-th disk call fails, for every n: the run ends, no file is made up, and what is there is
// whole: a copy, expanded or as it stood on the medium, or what was there before.
TEST(EngineTest, SurvivesAnyDiskFailure) {
  const std::string old = "C:\\Windows\\winglint.ini", theirs = "C:\\Windows\\winglint.in~";
  Bench whole;
  whole.countAndInstall();
  const int calls = whole.computer.diskCalls;
  ASSERT_GT(calls, 200);
  for (int failing = 0; failing < calls; ++failing) {
    Bench bench;
    bench.computer.addFile(old, "old");
    bench.computer.addFile(theirs, "somebody's");
    bench.computer.failAt = failing;
    const std::int32_t result = bench.countAndInstall();
    EXPECT_EQ(bench.computer.exits, result == kInstallNoDirectories ? 1 : 0);
    EXPECT_EQ(bench.computer.openFiles, 0);
    EXPECT_EQ(bench.computer.filesBelow("E:\\"), bench.filesBefore);
    EXPECT_EQ(bench.computer.contentOf(theirs), "somebody's");
    std::size_t expected = 1;
    for (const SampleFile& file : sampleFiles()) {
      const std::string content = bench.computer.contentOf(file.destination);
      if (content == "(none)") continue;
      ++expected;
      EXPECT_TRUE(content == file.content || content == file.installed ||
                  (file.destination == old && content == "old"))
          << file.destination << " after failure " << failing;
    }
    EXPECT_EQ(bench.computer.filesBelow("C:\\").size(), expected + bench.computer.links.size());
  }
}

// Locations of every length up to the limit: what does not fit is left out, never cut.
TEST(EngineTest, LongLocationsNeverGiveCutNames) {
  std::set<std::string> names;
  for (const SampleFile& file : sampleFiles()) {
    names.insert(file.source.substr(file.source.rfind('\\') + 1));
  }
  for (std::size_t length = 225; length < kPathSize; ++length) {
    for (PathText InstallSettings::*const location :
         {&InstallSettings::programDir, &InstallSettings::picturesDir, &InstallSettings::helpDir,
          &InstallSettings::dataDir, &InstallSettings::groupName, &InstallSettings::packageDir}) {
      Bench bench;
      const bool isGroup = location == &InstallSettings::groupName;
      const std::string path = (isGroup ? "ggg" : "C:\\") + std::string(length - 3, 'd');
      copyPath(bench.settings.*location, path);
      if (!isGroup) bench.computer.addDirectory(path);
      const bool done = bench.countAndInstall() == kInstallDone;
      for (const std::string& file : bench.computer.written) {
        EXPECT_TRUE(file.starts_with("C:\\") && file.size() < kPathSize) << file;
        EXPECT_TRUE(names.contains(file.substr(file.rfind('\\') + 1))) << file;
      }
      for (const Link& link : bench.computer.links) EXPECT_TRUE(link.file.ends_with(".lnk"));
      EXPECT_TRUE(!done || bench.settings.runningFiles == bench.settings.expectedFiles);
    }
  }
}

}  // namespace
}  // namespace imx::test

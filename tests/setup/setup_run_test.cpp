#include "setup/core/setup_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/setup/sample_medium.h"
#include "tests/support/files.h"
#include "tests/support/recording_host.h"

namespace imx::test {
namespace {

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Words = std::vector<std::string>;

const Words kPlaces = {"/DIR=C:\\Apps\\G", "/PICTURES=C:\\Apps\\P", "/HELP=C:\\Apps\\H",
                       "/data=C:\\Apps\\D x", "/GROUP=Glim"};
constexpr const char* kLog = "C:\\Temp\\l.log";

Words operator+(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

// A computer with the sample medium that is run by arguments.
class SetupRunTest : public testing::Test {
 protected:
  SetupRunTest() {
    addSampleMedium(computer);
    computer.addFile("E:\\setup.exe", "setup");
    computer.addDirectory("C:\\Temp");
  }

  SetupStatus run(const Words& words) {
    settings = InstallSettings();
    computer.told.clear();
    const SetupStatus status = runSetup(computer.platform(), settings,
                                        parseArguments(words + Words{"/LOG=C:\\Temp\\l.log"}));
    EXPECT_EQ(computer.openFiles, 0);
    EXPECT_THAT(computer.pages, IsEmpty());
    return status;
  }
  SetupStatus install(const Words& more = {}) { return run(kPlaces + Words{"/VERYSILENT"} + more); }

  std::string log() const { return computer.contentOf(kLog); }

  RecordingHost host;
  MemoryPlatform computer;
  InstallSettings settings;
};

TEST_F(SetupRunTest, InstallsWhatTheArgumentsChoose) {
  for (unsigned choices = 0; choices < 4; ++choices) {
    const bool docs = (choices & 1) != 0;
    const bool twistel = (choices & 2) != 0;
    EXPECT_EQ(install(Words(docs ? 0 : 1, "/NODOCS") + Words(twistel ? 0 : 1, "/NOTWISTEL")),
              kAllDone);
    std::size_t files = 0;
    for (const SampleFile& file : sampleFiles()) {
      if (!isWanted(settings, file.condition)) continue;
      ++files;
      EXPECT_TRUE(!docs || computer.contentOf(file.destination) == file.installed);
    }
    EXPECT_EQ(settings.installDocs != 0, docs);
    EXPECT_EQ(settings.installTwistel != 0, twistel);
    EXPECT_THAT(log(), HasSubstr(std::to_string(settings.copiedFiles) + " of "));
    EXPECT_GE(files, settings.copiedFiles);  // the runtime is there from the second time on
  }
  EXPECT_THAT(log(), HasSubstr("Copied C:\\Apps\\D x\\psys\\s.psy\r\n"));
}

TEST_F(SetupRunTest, StatusesTellWhatHinderedIt) {
  const struct {
    SetupStatus status;
    std::string logged;
    std::function<void()> hinder;
    Words arguments;
  } cases[] = {
      {kWrongChoices, "no argument /WRONG", {}, {"/WRONG"}},
      {kWrongChoices, "/NODOCS=1 is to be given as /NODOCS", {}, {"/NODOCS=1"}},
      {kWrongChoices, "/DIR is to be given as /DIR=FOLDER", {}, {"/DIR"}},
      {kWrongChoices, "Glimmerix folder \"C:\\a.b\": Illegal", {}, {"/DIR=C:\\a.b"}},
      {kWrongChoices, "Data folder \"C:\\\": Path to root", {}, {"/DATA=C:\\"}},
      {kWrongChoices, "[?]", {}, {"/GROUP=what?"}},
      {kWrongChoices, "Cannot read C:\\none.inf", {}, {"/LOADINF=C:\\none.inf"}},
      {kNoDirectory, "Cannot make the directory C:\\None\\G", {}, {"/DIR=C:\\None\\G"}},
      {kNotEnoughSpace,
       "Not enough space on C:\\",
       [this] {
         computer.disks["C:\\"] = {1, 1, 10};
       },
       {}},
      {kNoMedium, "Cannot locate install data", [this] { computer.currentDirectory = "C:\\"; }, {}},
      {kStopped, "Stopped", [this] { host.stopAt = 3; }, {}},
      {kSomeFailed,
       "Waiting for C:\\Windows\\winglint.ini",
       [this] {
         computer.addFile("C:\\Windows\\winglint.ini", "old");
         computer.busy = "C:\\Windows\\winglint.ini";
       },
       {}},
      {kSomeFailed, "Cannot keep the choices in C:\\None\\s.inf", {}, {"/SAVEINF=C:\\None\\s.inf"}},
  };
  for (const auto& row : cases) {
    computer.disks.clear();
    computer.currentDirectory = "E:\\";
    computer.busy.clear();
    host.Clear();
    if (row.hinder) row.hinder();
    EXPECT_EQ(install(row.arguments), row.status) << row.logged;
    EXPECT_THAT(log(), HasSubstr(row.logged));
    EXPECT_THAT(computer.told, Not(IsEmpty())) << row.logged;
  }
}

// The choices that were kept are those that are loaded, and arguments go before.
TEST_F(SetupRunTest, KeepsAndLoadsChoices) {
  install({"/SAVEINF=C:\\s.inf", "/NOTWISTEL"});
  const InstallSettings kept = settings;
  EXPECT_EQ(run({"/SILENT", "/LOADINF=C:\\s.inf", "/GROUP=Other", "/NODOCS"}), kAllDone);
  EXPECT_STREQ(settings.programDir, kept.programDir);
  EXPECT_STREQ(settings.picturesDir, kept.picturesDir);
  EXPECT_STREQ(settings.dataDir, kept.dataDir);
  EXPECT_STREQ(settings.groupName, "Other");
  EXPECT_EQ(settings.installTwistel, 0U);
  EXPECT_EQ(settings.installDocs, 0U);
  const std::string text = computer.contentOf("C:\\s.inf");
  for (const std::string more : {"NoDocs=yes\n", "Log=C:\\x\n", "Dir\n", "Nothing=1\n"}) {
    computer.addFile("C:\\t.inf", text + more);
    EXPECT_EQ(run({"/SILENT", "/LOADINF=C:\\t.inf"}), kWrongChoices);
    EXPECT_THAT(log(), HasSubstr("C:\\t.inf, line 9: no choice"));
  }
}

// What stood in a file's place gives way to a whole new one or stays.
TEST_F(SetupRunTest, OldFilesGiveWayWholeOrStay) {
  const std::string old = "C:\\Windows\\colorset.ini";
  computer.addFile(old, "old").readOnly = true;
  EXPECT_EQ(install(), kAllDone);
  EXPECT_EQ(computer.contentOf(old), "c=%i..");
  for (const int pauses : {2, 0}) {
    computer.addFile(old, "old").readOnly = true;
    computer.busy = old;
    computer.busyPauses = pauses;
    EXPECT_EQ(install(), pauses != 0 ? kAllDone : kSomeFailed);
    EXPECT_EQ(computer.contentOf(old), pauses != 0 ? "c=%i.." : "old");
  }
  EXPECT_THAT(log(), HasSubstr("Not copied: C:\\Windows\\colorset.ini: the disk is broken"));
  EXPECT_THAT(log(), HasSubstr("1 failed"));
}

TEST_F(SetupRunTest, WhatAKilledRunLeftGivesWay) {
  computer.addFile("C:\\Apps\\G\\~qmsetup.tmp", "cut");
  EXPECT_EQ(install(), kAllDone);
  EXPECT_THAT(computer.filesBelow("C:\\Apps\\G"), Not(Contains(EndsWith(".tmp"))));
}

// The n-th disk call fails, for every n: status 0 is only given for a whole installation.
TEST_F(SetupRunTest, NoFailurePassesForSuccess) {
  int calls = 1;
  for (int failing = 0; failing < calls; ++failing) {
    MemoryPlatform fresh;
    addSampleMedium(fresh);
    fresh.addFile("E:\\setup.exe", "setup");
    fresh.failAt = failing;
    InstallSettings chosen;
    const SetupStatus status =
        runSetup(fresh.platform(), chosen, parseArguments(kPlaces + Words{"/VERYSILENT"}));
    calls = std::max(calls, fresh.diskCalls);
    if (status != kAllDone) continue;
    for (const SampleFile& file : sampleFiles()) {
      EXPECT_EQ(fresh.contentOf(file.destination), file.installed) << failing;
    }
    EXPECT_EQ(fresh.links.size(), 3U) << failing;
  }
  EXPECT_GT(calls, 200);
}

TEST_F(SetupRunTest, VerifyListsWhatRepairMends) {
  ASSERT_EQ(install({"/NOTWISTEL"}), kAllDone);
  EXPECT_EQ(run({"/VERIFY"}), kAllDone);  // by the choices of the installation
  const std::string psy = "C:\\Apps\\D x\\psys\\s.psy";
  const std::string picture = "C:\\Apps\\P\\1.trm";
  const std::string link = "C:\\Menu\\Programs\\Glim\\Glint_7.lnk";
  for (const std::string longer : {"C:\\Apps\\D x and more", "%d.."}) {
    computer.addFile(psy, longer);
    for (const std::string& gone : {picture, link}) {
      computer.platform().removeFile(&computer, gone.c_str());
    }
    computer.addFile("C:\\Apps\\H\\~qmsetup.tmp", "cut");
    EXPECT_EQ(run({"/VERIFY"}), kSomeFailed);
    EXPECT_THAT(log(), HasSubstr("Different: " + psy));
    EXPECT_THAT(log(), HasSubstr("Missing: " + picture));
    EXPECT_THAT(log(), HasSubstr("Missing: " + link));
    EXPECT_THAT(log(), HasSubstr("; 3 wrong"));
    EXPECT_EQ(computer.contentOf(psy), longer);
    EXPECT_EQ(run({"/REPAIR"}), kAllDone);
    EXPECT_EQ(computer.contentOf(psy), "C:\\Apps\\D x");
    EXPECT_EQ(run({"/VERIFY"}), kAllDone);
    EXPECT_THAT(computer.filesBelow("C:\\Apps"), Not(Contains(EndsWith(".tmp"))));
  }
  computer.failAt = computer.diskCalls + 400;
  EXPECT_EQ(run({"/VERIFY"}), kSomeFailed);
}

TEST_F(SetupRunTest, RemovalLeavesWhatIsTheUsers) {
  const std::string changed = "C:\\Apps\\P\\2.trm";
  const std::string added = "C:\\Apps\\D x\\psys\\mine.psy";
  ASSERT_EQ(install(), kAllDone);
  ASSERT_EQ(install(), kAllDone);  // over itself: the runtime is no less installed
  EXPECT_EQ(computer.machine.size(), 1U);
  EXPECT_EQ(computer.machine.begin()->second["QuietUninstallString"],
            "\"C:\\Common\\Quillmark\\Glimmerix7\\setup.exe\" /REMOVE /VERYSILENT");
  computer.addFile(changed, "2!!");
  computer.addFile(added, "");
  computer.busy = "C:\\Apps\\G\\glint.exe";
  EXPECT_EQ(run({"/REMOVE", "/VERYSILENT"}), kSomeFailed);
  EXPECT_EQ(computer.filesBelow("C:\\Apps").size(), 3U);
  EXPECT_EQ(computer.machine.size(), 1U);
  computer.busy.clear();
  EXPECT_EQ(run({"/REMOVE", "/VERYSILENT"}), kAllDone);
  computer.platform().removeFile(&computer, kLog);
  EXPECT_THAT(computer.filesBelow("C:\\"), testing::UnorderedElementsAre(changed, added));
  EXPECT_THAT(computer.told, Contains(HasSubstr("added: " + added)));
  EXPECT_THAT(computer.machine, IsEmpty());
  for (const char* const gone : {"C:\\Apps\\G", "C:\\Apps\\H", "C:\\Apps\\D x\\psys\\pals",
                                 "C:\\Menu\\Programs\\Glim", "C:\\Common\\Quillmark"}) {
    EXPECT_FALSE(computer.hasDirectory(gone)) << gone;
  }
  EXPECT_EQ(run({"/REMOVE", "/VERYSILENT"}), kWrongChoices);
}

TEST_F(SetupRunTest, ADamagedListRemovesNothing) {
  ASSERT_EQ(install(), kAllDone);
  const std::string place = "C:\\Common\\Quillmark\\Glimmerix7\\installed.txt";
  const std::string list = computer.contentOf(place);
  for (const std::string damage : {"x", "0 1 C:\\x", "z"}) {
    computer.addFile(place, list + damage);
    EXPECT_EQ(run({"/REMOVE", "/VERYSILENT"}), kWrongChoices) << damage;
    EXPECT_EQ(computer.contentOf("C:\\Apps\\G\\glint.exe"), "glint");
  }
}

TEST_F(SetupRunTest, WithoutRegistrationNothingElseIsWritten) {
  ASSERT_EQ(install({"/NOREGISTER"}), kAllDone);
  EXPECT_THAT(computer.machine, IsEmpty());
  EXPECT_FALSE(computer.hasDirectory("C:\\Common"));
}

TEST_F(SetupRunTest, TheMediumIsComparedWithItsList) {
  EXPECT_EQ(run({"/VERIFYMEDIUM"}), kNoMedium);
  std::string list;
  for (const SampleFile& file : sampleFiles()) {
    std::string path = "nt9895\\" + file.source;
    std::replace(path.begin(), path.end(), '\\', '/');
    list += digestOf(file.content) + "  " + path + "\n";
  }
  computer.addFile("E:\\medium.sha256", list);
  EXPECT_EQ(run({"/VERIFYMEDIUM"}), kAllDone);
  computer.addFile("E:\\nt9895\\images\\2.trm", "tow");
  EXPECT_EQ(run({"/VERIFYMEDIUM"}), kSomeFailed);
  EXPECT_THAT(log(), HasSubstr("Damaged on the medium: E:\\nt9895\\images\\2.trm"));
  EXPECT_EQ(install(), kNoMedium);
  EXPECT_FALSE(computer.hasDirectory("C:\\Apps\\G"));
  computer.addFile("E:\\medium.sha256", "nonsense\n");
  EXPECT_EQ(run({"/VERIFYMEDIUM"}), kSomeFailed);
}

TEST_F(SetupRunTest, TheManualHasTheTables) {
  EXPECT_THAT(ReadTextFile(IMX_SOURCE_DIR "/docs/setup.md"),
              EndsWith(argumentTable() + "\n## Exit status\n\n" + statusTable()));
  runSetup(computer.platform(), settings, parseArguments(Words{"/?"}));
  EXPECT_THAT(computer.told, Contains(HasSubstr("/SILENT ")));
}

}  // namespace
}  // namespace imx::test

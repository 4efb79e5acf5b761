// The real setup program without questions, beside the wizard that asks them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "resources/wizard_ids.h"
#include "tests/support/files.h"
#include "tests/wizard/install_tree.h"
#include "tests/wizard/setup_run.h"

// After the system's basic header.
#include <objbase.h>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

const std::string kBase = "C:\\imx silent tests";

bool isKey(const std::string& name) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, name.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(key);
  return true;
}

class SilentTest : public testing::Test {
 protected:
  void SetUp() override {
    CoInitialize(nullptr);
    for (const char* const name : {"msvcp50.dll", "msvcrt.dll", "msvcrt40.dll"}) {
      const std::string path = SystemDirectory() + "\\" + name;
      if (!FileExists(path)) outside_.push_back(path);
    }
    for (const char* const name : {"colorset.ini", "winglint.ini", "twistel.ini"}) {
      outside_.push_back(WindowsDirectory() + "\\" + name);
    }
    clear();
  }
  void TearDown() override {
    clear();
    CoUninitialize();
  }

  void clear() {
    std::error_code ignored;
    fs::remove_all(kBase, ignored);
    fs::remove_all(groupFolder(), ignored);
    for (const std::string& path : outside_) fs::remove(path, ignored);
    fs::create_directories(kBase);
  }

  std::string groupFolder() const { return ProgramsFolder() + "\\" + choices.group; }

  /// What an installation left. Of a link what it says: the file holds times as well.
  Tree installed() const {
    Tree tree = ReadTree(kBase);
    for (const auto& [path, entry] : ReadTree(groupFolder())) {
      const std::string link = ReadShortcut(path);
      tree[path].content.assign(link.begin(), link.end());
    }
    for (const std::string& path : outside_) {
      if (FileExists(path)) tree[path] = {false, ReadFile(path)};
    }
    return tree;
  }

  /// Runs the setup program without questions; its exit status.
  DWORD run(std::vector<std::string> arguments) {
    for (const std::string& argument :
         {std::string("/VERYSILENT"), "/DIR=" + choices.programDir,
          "/PICTURES=" + choices.picturesDir, "/HELP=" + choices.helpDir,
          "/DATA=" + choices.dataDir, "/GROUP=" + choices.group, "/LOG=" + log}) {
      arguments.push_back(argument);
    }
    DrivenProgram program;
    DWORD status = STILL_ACTIVE;
    EXPECT_TRUE(StartProgram(SetupProgram(), SampleMedium(), &program, arguments));
    EXPECT_TRUE(WaitForEnd(program, kAnswerMilliseconds, &status));
    EndProgram(&program);
    return status;
  }

  Choices choices{kBase + "\\Glimmerix", kBase + "\\Pictures", kBase + "\\Manual",
                  kBase + "\\My Data", "IMX silent tests"};
  std::string log = "C:\\imx silent tests.log";

 private:
  std::vector<std::string> outside_;
};

TEST_F(SilentTest, LeavesWhatTheWizardLeaves) {
  for (const bool twistel : {true, false}) {
    for (const bool docs : {true, false}) {
      clear();
      {
        SetupRun wizard(SampleMedium());
        wizard.NextTo("Choose Components");
        if (!twistel) wizard.PressButton(IDC_TWISTEL);
        wizard.Leave(IDC_NEXT, "Large Component Query");
        if (!docs) wizard.PressButton(IDC_DOCS);
        wizard.Leave(IDC_NEXT, "Install Locations");
        wizard.AnswerFromLocations(choices);
        wizard.Install();
        wizard.Expect("Wizard Finished");
        wizard.PressButton(IDC_OK);
        wizard.ExpectEnd();
      }
      const Tree driven = installed();
      clear();
      EXPECT_EQ(run({twistel ? "/SILENT" : "/NOTWISTEL", docs ? "/SILENT" : "/NODOCS"}), 0u);
      const Tree silent = installed();
      EXPECT_GT(silent.size(), 50u);
      EXPECT_EQ(silent.size(), driven.size());
      for (const auto& [path, entry] : driven) {
        const auto found = silent.find(path);
        EXPECT_TRUE(found != silent.end() && found->second.content == entry.content) << path;
      }
    }
  }
}

TEST_F(SilentTest, AFileInUseStaysAndIsTold) {
  ASSERT_EQ(run({}), 0u);
  const std::string busy = choices.picturesDir + "\\dunes.png";
  ASSERT_TRUE(SetFileAttributesA((choices.picturesDir + "\\planet.ppm").c_str(),
                                 FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
  const HANDLE held =
      CreateFileA(busy.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(run({}), 1u);
  CloseHandle(held);
  EXPECT_NE(ReadTextFile(log).find("Not copied: " + busy), std::string::npos);
  EXPECT_NE(ReadTextFile(log).find(" 1 failed"), std::string::npos);
  EXPECT_EQ(run({}), 0u);
}

TEST_F(SilentTest, RemovalLeavesWhatIsTheUsers) {
  const std::string entry = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Glimmerix7";
  run({"/REMOVE"});  // what others left
  ASSERT_EQ(run({}), 0u);
  EXPECT_TRUE(isKey(entry));
  const std::string changed = choices.picturesDir + "\\dunes.png";
  const std::string added = choices.dataDir + "\\mine.txt";
  std::ofstream(changed, std::ios::app) << "!";
  std::ofstream(added) << "mine";
  DrivenRun removal(SetupProgram(), kBase, {"/REMOVE"});
  removal.Expect("Remove Glimmerix?");
  removal.PressButton(IDC_OK);
  removal.Expect("Wizard Finished");
  EXPECT_NE(ControlTextOf(removal.dialog(), IDC_OUTCOME).find("2 files stay"), std::string::npos);
  removal.PressButton(IDC_OK);
  removal.ExpectEnd();
  std::vector<std::string> left;
  for (const auto& [path, found] : installed()) {
    if (!found.isDirectory) left.push_back(path);
  }
  EXPECT_EQ(left, (std::vector{added, changed}));
  EXPECT_FALSE(fs::exists(groupFolder()));
  EXPECT_FALSE(isKey(entry));
}

}  // namespace
}  // namespace imx::test

// The real setup program from the first page to the last, on the sample medium: what it leaves on
// the disk, file by file.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "resources/resource_ids.h"
#include "resources/wizard_ids.h"
#include "tests/support/files.h"
#include "tests/wizard/install_tree.h"
#include "tests/wizard/setup_run.h"
#include "tools/drive/user_input.h"

// After the system's basic header.
#include <objbase.h>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

// The space shows in the templates' lists, which have a bar in its place.
const char kBase[] = "C:\\imx wizard tests";
const char kGroup[] = "IMX wizard tests";
const char* const kSettingsFiles[] = {"colorset.ini", "winglint.ini", "twistel.ini"};
const char* const kRuntimeLibraries[] = {"msvcp50.dll", "msvcrt.dll", "msvcrt40.dll"};
const char kProgressClass[] = "KZ_prgz_clazz";

BOOL CALLBACK CloseGroupWindow(HWND window, LPARAM) {
  if (WindowText(window).find(kGroup) != std::string::npos) PostMessageA(window, WM_CLOSE, 0, 0);
  return TRUE;
}

std::string Names(const Tree& tree) {
  std::string names;
  for (const auto& [path, entry] : tree) names += path + (entry.isDirectory ? "\\\n" : "\n");
  return names;
}

/// A fresh place for each installation, and the system as it was afterwards.
class WizardTest : public testing::Test {
 protected:
  void SetUp() override {
    CoInitialize(nullptr);
    ASSERT_TRUE(fs::is_directory(SampleMedium()))
        << SampleMedium() << " is missing; tools/make-medium makes it";
    for (const char* const name : kRuntimeLibraries) {
      if (!FileExists(SystemDirectory() + "\\" + name)) missingLibraries_.push_back(name);
    }
    RemoveInstalled();
    fs::create_directories(Place(""));
    choices.programDir = Place("Glimmerix");
    choices.picturesDir = Place("Pictures");
    choices.helpDir = Place("Manual");
    choices.dataDir = Place("My Data");
    choices.group = kGroup;
  }

  void TearDown() override {
    RemoveInstalled();
    CoUninitialize();
  }

  /// Each test has a folder of its own: what an ending program still holds cannot be removed.
  static std::string Place(const char* name) {
    const char* const test = testing::UnitTest::GetInstance()->current_test_info()->name();
    return std::string(kBase) + "\\" + test + "\\" + name;
  }
  static std::string GroupFolder() { return ProgramsFolder() + "\\" + kGroup; }

  void RemoveInstalled() {
    EnumWindows(CloseGroupWindow, 0);
    std::error_code ignored;
    fs::remove_all(kBase, ignored);
    fs::remove_all(GroupFolder(), ignored);
    for (const char* const name : kSettingsFiles) {
      fs::remove(WindowsDirectory() + "\\" + name, ignored);
    }
    for (const std::string& name : missingLibraries_) {
      fs::remove(SystemDirectory() + "\\" + name, ignored);
    }
  }

  /// What is on the disk in the places that an installation writes to, links excepted.
  static Tree ReadInstalled(const Expectation& expectation) {
    Tree tree = ReadTree(Place(""));
    for (const auto& [path, entry] : expectation.tree) {
      if (!tree.contains(path) && FileExists(path)) tree[path] = {false, ReadFile(path)};
    }
    return tree;
  }

  static void ExpectInstalled(const Expectation& expectation) {
    const Tree installed = ReadInstalled(expectation);
    EXPECT_EQ(Names(installed), Names(expectation.tree));
    for (const auto& [path, entry] : expectation.tree) {
      const auto found = installed.find(path);
      if (found == installed.end()) continue;
      EXPECT_TRUE(found->second.content == entry.content) << path << " differs";
    }
  }

  /// The links in the program group, each "NAME -> TARGET|DESCRIPTION".
  static std::vector<std::string> Shortcuts() {
    std::vector<std::string> links;
    for (const auto& [path, entry] : ReadTree(GroupFolder())) {
      links.push_back(fs::path(path).filename().string() + " -> " + ReadShortcut(path));
    }
    return links;
  }

  std::string GlintLink() const {
    return "Glint_7.lnk -> " + choices.programDir + "\\glint.exe|Shortcut to glint.exe";
  }
  std::string ManualLink() const {
    return "R7 Manual.lnk -> " + choices.helpDir + "\\f_toc.html|Shortcut to f_toc.html";
  }
  std::string TwistelLink() const {
    return "Twistel_7.lnk -> " + choices.programDir + "\\twistel.exe|Shortcut to twistel.exe";
  }

  static std::string FinishText(const Expectation& expectation) {
    return "Install Complete\n\n\t" + std::to_string(expectation.files) + " files copied\n\n\t" +
           std::to_string(expectation.bytes) + " bytes copied";
  }

  Choices choices;

 private:
  std::vector<std::string> missingLibraries_;
};

TEST_F(WizardTest, InstallsEverythingOverAnEarlierInstallation) {
  fs::create_directories(choices.dataDir);
  const std::string old = choices.dataDir + "\\readme.txt";
  std::ofstream(old) << "an older and much longer text, " << std::string(5000, 'x');
  SetFileAttributesA(old.c_str(), FILE_ATTRIBUTE_HIDDEN);
  const Expectation expectation = ExpectInstallation(SampleMedium(), choices);
  SetupRun run(SampleMedium());
  run.AnswerPages(choices);
  run.Install();
  run.ExpectAndClose("Wizard Finished", FinishText(expectation));
  run.ExpectEnd();
  ExpectInstalled(expectation);
  EXPECT_EQ(GetFileAttributesA(old.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
  EXPECT_EQ(Shortcuts(), (std::vector{GlintLink(), ManualLink(), TwistelLink()}));
  for (const std::string name : {"Glint", "Twistel"}) {  // which find their pictures
    DrivenProgram program;
    ASSERT_TRUE(StartProgram(choices.programDir + "\\" + name + ".exe", Place(""), &program));
    const HWND window = WaitForWindowOfClass(program, "Glimmerix sample", kAnswerMilliseconds);
    EXPECT_EQ(WindowText(window), name + " - " + choices.picturesDir);
    PostMessageA(window, WM_CLOSE, 0, 0);
    DWORD status = 1;
    EXPECT_TRUE(WaitForEnd(program, kAnswerMilliseconds, &status));
    EXPECT_EQ(status, 0u);
    EndProgram(&program);
  }
}

TEST_F(WizardTest, HaltsOnADirectoryThatCannotBeMade) {
  std::ofstream(choices.dataDir) << "in the way";
  SetupRun run(SampleMedium());
  run.AnswerPages(choices);
  run.Install();
  run.ExpectAndClose("Wizard Halted",
                     "You may have used a file's name, or you may not have write permission in "
                     "one or more locations.");
  run.ExpectEnd();
  EXPECT_EQ(Names(ReadTree(Place(""))), choices.dataDir + "\n");
  EXPECT_FALSE(fs::exists(GroupFolder()));
  for (const char* const name : kSettingsFiles) {
    EXPECT_FALSE(FileExists(WindowsDirectory() + "\\" + name)) << name;
  }
}

TEST_F(WizardTest, WithoutRoomEnterGoesBack) {
  const std::string medium = Place("medium");
  fs::copy(SampleMedium(), medium, fs::copy_options::recursive);
  const std::string large = medium + "\\nt9895\\images\\large.trm";
  std::ofstream{large}.close();
  // What is wanted, with its reserve, comes to nearly 2^32 as the wizard reckons: more than is
  // free, as it reckons that, on any drive.
  fs::resize_file(large, 325'000'000);
  SetupRun run(medium);
  run.AnswerPages(choices);
  if (run.dialog()) TypeKey(run.dialog(), VK_RETURN);
  run.Expect("Installation Confirmation");
  run.PressButton(IDC_EXIT);
  run.ExpectEnd();
}

TEST_F(WizardTest, AMediumInstalledOverItselfKeepsItsTemplates) {
  const std::string medium = Place("medium");
  fs::copy(SampleMedium(), medium, fs::copy_options::recursive);
  const std::string data = medium + "\\nt9895\\data";
  const Tree before = ReadTree(data);
  for (const std::string& spelling : {data + "\\", std::string("nt9895\\data")}) {
    choices.dataDir = spelling;
    SetupRun run(medium);
    run.AnswerPages(choices);
    run.Install();
    run.Expect("Wizard Finished");
    run.PressButton(IDC_OK);
    run.ExpectEnd();
    for (const auto& [path, entry] : before) {
      EXPECT_TRUE(ReadFile(path) == entry.content) << path << " by " << spelling;
    }
  }
}

// The programs ask for no code page and are given the system's; the setup program has its own.
TEST_F(WizardTest, InstalledProgramsFindDirectoriesBeyondAscii) {
  choices.picturesDir = Place("Fot\xF3s");
  SetupRun run(SampleMedium());
  run.AnswerPages(choices);
  run.Install();
  run.Expect("Wizard Finished");
  run.PressButton(IDC_OK);
  run.ExpectEnd();
  EXPECT_NE(GetFileAttributesA((choices.picturesDir + "\\.").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(ReadTextFile(WindowsDirectory() + "\\winglint.ini").find(choices.picturesDir),
            std::string::npos);
}

/// Copying from a medium with so many files that there is time to press Stop.
class WizardStoppedTest : public WizardTest {
 protected:
  static constexpr int kMoreFiles = 600;

  void SetUp() override {
    WizardTest::SetUp();
    if (HasFatalFailure()) return;
    medium = Place("medium");
    fs::copy(SampleMedium(), medium, fs::copy_options::recursive);
    for (int i = 0; i < kMoreFiles; ++i) {
      std::ofstream(medium + "\\nt9895\\images\\more" + std::to_string(i) + ".txt") << i;
    }
    expectation = ExpectInstallation(medium, choices);
  }

  /// Installs up to the question that the Stop button brings.
  void Stop(SetupRun& run) {
    run.AnswerPages(choices);
    run.Install();
    const HWND progress = WaitForWindowOfClass(run.program(), kProgressClass, kAnswerMilliseconds);
    ASSERT_NE(progress, nullptr) << "no progress window";
    EXPECT_TRUE(Press(progress, IDC_STOP));
    run.Expect("Abort Installation?");
  }

  /// What was installed: below the base, without the medium's copy that stands there too.
  Tree Installed() const {
    Tree tree = ReadInstalled(expectation);
    std::erase_if(tree, [&](const auto& entry) { return entry.first.starts_with(medium); });
    return tree;
  }

  std::string medium;
  Expectation expectation;
};

TEST_F(WizardStoppedTest, AndAborted) {
  SetupRun run(medium);
  Stop(run);
  run.PressButton(IDC_ABORT);
  if (run.Expect("Wizard Halted")) {
    EXPECT_EQ(ControlTextOf(run.dialog(), IDC_HALT_MESSAGE),
              "User aborted the install process.\n\nInstallation terminated.\n\nGlimmerix may be "
              "unstable or dangerous to run.");
    EXPECT_EQ(ControlTextOf(run.dialog(), IDC_HALT_SUGGESTION),
              "Please re-run the installer at a later time.");
  }
  run.PressButton(IDC_OK);
  run.ExpectEnd();

  const Tree installed = Installed();
  EXPECT_LT(installed.size(), expectation.tree.size());
  EXPECT_TRUE(installed.contains(choices.programDir + "\\glint.exe"));
  for (const auto& [path, entry] : installed) {
    const auto expected = expectation.tree.find(path);
    ASSERT_NE(expected, expectation.tree.end()) << path;
    EXPECT_TRUE(entry.content == expected->second.content) << path << " differs";
  }
  EXPECT_EQ(Shortcuts(), std::vector<std::string>{});
}

TEST_F(WizardStoppedTest, AndContinued) {
  SetupRun run(medium);
  Stop(run);
  run.PressButton(IDC_CONTINUE);
  run.ExpectAndClose("Wizard Finished", FinishText(expectation));
  run.ExpectEnd();

  EXPECT_EQ(Names(Installed()), Names(expectation.tree));
  EXPECT_EQ(Shortcuts(), (std::vector{GlintLink(), ManualLink(), TwistelLink()}));
}

}  // namespace

}  // namespace imx::test

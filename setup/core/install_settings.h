/// The one record that the wizard fills and the installation engine works from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "setup/core/path_text.h"

namespace imx {

/// What a copied file counts towards; the index of InstallSettings::categoryBytes.
enum InstallCategory : std::int32_t {
  kSystemFiles = 0,   ///< goes to systemDir
  kWindowsFiles = 1,  ///< goes to windowsDir
  kProgramFiles = 2,  ///< goes to programDir
  kPictureFiles = 3,  ///< goes to picturesDir
  kHelpFiles = 4,     ///< goes to helpDir
  kDataFiles = 5,     ///< goes to dataDir
};
inline constexpr std::int32_t kCategoryCount = 6;

/// Modes of runInstall.
inline constexpr std::int32_t kCountMode = 0;
inline constexpr std::int32_t kInstallMode = 2;
/// Modes of runCheck.
inline constexpr std::int32_t kVerifyMode = 3;
inline constexpr std::int32_t kRepairMode = 4;

/// How a directory of the installation came to be.
enum class DirState : std::int32_t {
  unknown = 0,  ///< not reached
  existed = 1,
  created = 2,  ///< made by this run
};

/// The directories whose state is kept; the index of InstallSettings::dirState.
enum TrackedDirectory : std::int32_t {
  kGroupFolder,
  kProgramDirectory,
  kPicturesDirectory,
  kHelpDirectory,
  kHelpPicsDirectory,
  kHelpAnimsDirectory,
  kDataDirectory,
};
inline constexpr std::int32_t kTrackedDirectoryCount = 7;
inline constexpr std::int32_t kDataSubdirectoryCount = 8;

/// All that one run of the wizard knows. Make it with `InstallSettings settings{}`.
struct InstallSettings {
  std::int32_t navStep = 1;          ///< +1 after Next, -1 after Back
  std::uint32_t pageAccepted = 0;    ///< 1 when the last page was left by Next or Back
  std::uint32_t installGlint = 1;    ///< Glint chosen
  std::uint32_t installTwistel = 1;  ///< Twistel chosen
  std::uint32_t installDocs = 1;     ///< copy the documentation; 0: it is read from the CD
  std::uint32_t docsWithGlint = 1;   ///< installDocs when the components page is opened with Glint
  PathText windowsDir = {};          ///< destination of the .ini files
  PathText systemDir = {};           ///< destination of the shared runtime DLLs
  PathText sourceDir = {};           ///< the medium; ends in a backslash unless empty
  PathText packageDir = {};          ///< root of the install data, ends in a backslash
  PathText programsFolder = {};      ///< parent of the program group
  PathText programDir = {};
  PathText picturesDir = {};
  PathText helpDir = {};
  PathText dataDir = {};
  PathText defaultProgramDir = {};
  PathText defaultPicturesDir = {};
  PathText defaultHelpDir = {};
  PathText defaultDataDir = {};
  PathText groupName = {};         ///< folder under programsFolder that receives the shortcuts
  std::uint32_t spaceOk = 0;       ///< verdict of the free-space test
  std::uint32_t userAborted = 0;   ///< the user broke off the copying
  std::uint32_t removeAgreed = 0;  ///< the user wants everything removed
  PathText haltMessage = {};       ///< main text of the next halt, finish or storage page
  PathText haltSuggestion = {};    ///< what the halt page advises
  const char* problemLabel = "";   ///< name of the rejected field; static text
  std::int32_t problemCode = 0;    ///< validation code minus 1
  char badChar = 0;                ///< the illegal character of the last code 4
  bool unattended = false;         ///< nobody answers: no dialog is shown, and Stop is Abort
  bool registers = false;          ///< enter the installation into the system's list of programs
  void* log = nullptr;             ///< file of the log; null: none is kept

  // The engine's part.
  std::int32_t mode = kCountMode;   ///< of the current pass; kCountMode after an abort
  std::uint32_t copyEnabled = 0;    ///< files are copied and shortcuts made only while it is 1
  std::uint32_t runningFiles = 0;   ///< counted by every pass
  std::uint32_t runningBytes = 0;   ///< counted by every pass
  std::uint32_t expectedFiles = 0;  ///< result of the last counting pass
  std::uint32_t expectedBytes = 0;  ///< result of the last counting pass
  std::uint32_t copiedFiles = 0;    ///< that now stand whole at their destination
  std::uint64_t copiedBytes = 0;    ///< their size on the medium
  std::uint32_t failedItems = 0;    ///< files and shortcuts with which something went wrong
  std::uint32_t categoryBytes[kCategoryCount] = {};
  PathText rootTexts[kCategoryCount] = {};        ///< root of each category's destination
  const char* driveRoot[kCategoryCount] = {};     ///< distinct ones of rootTexts
  std::int32_t driveCount = 0;                    ///< entries of driveRoot in use
  std::uint32_t driveBytes[kCategoryCount] = {};  ///< bytes needed per distinct drive
  DirState dirState[kTrackedDirectoryCount] = {};
  PathText dataSubdirectories[kDataSubdirectoryCount] = {};  ///< those reached, for removal
  std::vector<std::string> madeDirectories;                  ///< by this run, in that order
  std::vector<std::string> installedFiles;  ///< that this run copied, links included
  PathText sourceBase = {};  ///< prefix of the files being copied; empty: nothing can be found
  PathText destBase = {};    ///< prefix of their copies; empty: nothing can be written
};

/// Whether the mode is one of runCheck.
inline bool isCheck(std::int32_t mode) {
  return mode == kVerifyMode || mode == kRepairMode;
}

/// What a step of the installation depends on.
enum class InstallCondition { always, glint, twistel, help };

/// Whether the choices ask for the step. Help needs both the documentation and Glint.
inline bool isWanted(const InstallSettings& settings, InstallCondition condition) {
  switch (condition) {
    case InstallCondition::always:
      return true;
    case InstallCondition::glint:
      return settings.installGlint != 0;
    case InstallCondition::twistel:
      return settings.installTwistel != 0;
    case InstallCondition::help:
      return settings.installGlint != 0 && settings.installDocs != 0;
  }
  return false;
}

}  // namespace imx

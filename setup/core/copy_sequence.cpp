#include "setup/core/copy_sequence.h"

#include "setup/core/file_copy.h"
#include "setup/core/replace_file.h"

namespace imx {
namespace {

enum class Operation { plain, expand, ifMissing, plainDirectory, expandDirectory };

struct CopyStep {
  Operation operation;
  const char* source;  // directory below packageDir
  const char* name;    // of the file; unused for directories
  PathText InstallSettings::*destination;
  const char* below;  // directory below the destination
  InstallCategory category;
  InstallCondition condition;
};

using Settings = InstallSettings;
using enum Operation;
using enum InstallCondition;

constexpr CopyStep kCopySequence[] = {
    {plain, "", "glint.exe", &Settings::programDir, "", kProgramFiles, glint},
    {plain, "", "twistel.exe", &Settings::programDir, "", kProgramFiles, twistel},
    {plain, "", "twainlnk.dll", &Settings::programDir, "", kProgramFiles, glint},
    {plain, "", "glintldjpeg.dll", &Settings::programDir, "", kProgramFiles, always},
    {plain, "", "glintldtiff.dll", &Settings::programDir, "", kProgramFiles, always},
    {plain, "", "glintpal.dll", &Settings::programDir, "", kProgramFiles, always},
    {plain, "", "glintsvjpeg.dll", &Settings::programDir, "", kProgramFiles, always},
    {plain, "", "demoloop.avi", &Settings::programDir, "", kProgramFiles, twistel},
    // Both programs' settings are installed whatever was chosen.
    {plain, "", "colorset.ini", &Settings::windowsDir, "", kWindowsFiles, always},
    {expand, "", "winglint.ini", &Settings::windowsDir, "", kWindowsFiles, always},
    {expand, "", "twistel.ini", &Settings::windowsDir, "", kWindowsFiles, always},
    {ifMissing, "", "msvcp50.dll", &Settings::systemDir, "", kSystemFiles, always},
    {ifMissing, "", "msvcrt.dll", &Settings::systemDir, "", kSystemFiles, always},
    {ifMissing, "", "msvcrt40.dll", &Settings::systemDir, "", kSystemFiles, always},
    {expandDirectory, "data\\", "", &Settings::dataDir, "", kDataFiles, always},
    {plainDirectory, "data\\land_pals\\", "", &Settings::dataDir, "land_pals\\", kDataFiles,
     always},
    {plainDirectory, "data\\tex_pals\\", "", &Settings::dataDir, "tex_pals\\", kDataFiles, always},
    {plainDirectory, "data\\convos\\", "", &Settings::dataDir, "convos\\", kDataFiles, always},
    {plainDirectory, "data\\plugins\\", "", &Settings::dataDir, "plugins\\", kDataFiles, always},
    {plainDirectory, "data\\scripts\\", "", &Settings::dataDir, "scripts\\", kDataFiles, always},
    {plainDirectory, "data\\transitions\\", "", &Settings::dataDir, "transitions\\", kDataFiles,
     always},
    {expandDirectory, "data\\psys\\", "", &Settings::dataDir, "psys\\", kDataFiles, always},
    {plainDirectory, "data\\psys\\pals\\", "", &Settings::dataDir, "psys\\pals\\", kDataFiles,
     always},
    {plainDirectory, "images\\", "", &Settings::picturesDir, "", kPictureFiles, always},
    {plainDirectory, "html_docs\\", "", &Settings::helpDir, "", kHelpFiles, help},
    {plainDirectory, "html_docs\\anims\\", "", &Settings::helpDir, "anims\\", kHelpFiles, help},
    {plainDirectory, "html_docs\\pics\\", "", &Settings::helpDir, "pics\\", kHelpFiles, help},
};

void runStep(const Platform& platform, InstallSettings& settings, const CopyStep& step) {
  joinPath(settings.sourceBase, {settings.packageDir, step.source});
  joinPath(settings.destBase, {settings.*step.destination, "\\", step.below});
  if (settings.mode == kRepairMode) sweepUnfinished(platform, settings.destBase);
  switch (step.operation) {
    case plain:
      copyPlain(platform, settings, step.name, step.category);
      break;
    case expand:
      copyTemplate(platform, settings, step.name, step.category);
      break;
    case ifMissing:
      copyIfMissing(platform, settings, step.name, step.category);
      break;
    case plainDirectory:
      copyDirectory(platform, settings, step.category, false);
      break;
    case expandDirectory:
      copyDirectory(platform, settings, step.category, true);
      break;
  }
}

}  // namespace

void walkCopySequence(const Platform& platform, InstallSettings& settings) {
  for (const CopyStep& step : kCopySequence) {
    if (isWanted(settings, step.condition)) runStep(platform, settings, step);
  }
}

}  // namespace imx

#include "setup/core/shortcuts.h"

namespace imx {
namespace {

struct Shortcut {
  InstallCondition condition;
  const char* linkName;
  const PathText InstallSettings::*targetDir;
  const char* targetName;
  const char* description;
};

constexpr Shortcut kShortcuts[] = {
    {InstallCondition::glint, "\\Glint_7.lnk", &InstallSettings::programDir, "\\glint.exe",
     "Shortcut to glint.exe"},
    {InstallCondition::help, "\\R7 Manual.lnk", &InstallSettings::helpDir, "\\f_toc.html",
     "Shortcut to f_toc.html"},
    {InstallCondition::twistel, "\\Twistel_7.lnk", &InstallSettings::programDir, "\\twistel.exe",
     "Shortcut to twistel.exe"},
};

}  // namespace

void makeShortcuts(const Platform& platform, const InstallSettings& settings) {
  for (const Shortcut& shortcut : kShortcuts) {
    PathText target;
    PathText link;
    if (isWanted(settings, shortcut.condition) &&
        joinPath(target, {settings.*shortcut.targetDir, shortcut.targetName}) &&
        joinPath(link, {settings.programsFolder, "\\", settings.groupName, shortcut.linkName})) {
      platform.makeShortcut(platform.context, target, link, shortcut.description);
    }
  }
}

}  // namespace imx

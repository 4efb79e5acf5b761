#include "setup/core/shortcuts.h"

#include <cstdio>
#include <string>

#include "setup/core/log.h"

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

std::string inHex(ResultCode code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
  return text;
}

void makeOne(const Platform& platform, InstallSettings& settings, const char* target,
             const char* link, const char* description) {
  const ResultCode result = platform.makeShortcut(platform.context, target, link, description);
  if (result >= 0) {
    logLine(platform, settings, {"Made the shortcut ", link});
    settings.installedFiles.emplace_back(link);
    return;
  }
  settings.failedItems += 1;
  announce(platform, settings, {"No shortcut ", link, ": error ", inHex(result)});
}

// In a check, one that is there is left alone.
void treatOne(const Platform& platform, InstallSettings& settings, const char* target,
              const char* link, const char* description) {
  FileEntry entry;
  if (!isCheck(settings.mode)) {
    makeOne(platform, settings, target, link, description);
  } else if (lookUp(platform, link, &entry)) {
    settings.installedFiles.emplace_back(link);
  } else if (settings.mode == kRepairMode) {
    makeOne(platform, settings, target, link, description);
  } else {
    settings.failedItems += 1;
    announce(platform, settings, {"Missing: ", link});
  }
}

}  // namespace

void makeShortcuts(const Platform& platform, InstallSettings& settings) {
  for (const Shortcut& shortcut : kShortcuts) {
    PathText target;
    PathText link;
    if (isWanted(settings, shortcut.condition) &&
        joinPath(target, {settings.*shortcut.targetDir, shortcut.targetName}) &&
        joinPath(link, {settings.programsFolder, "\\", settings.groupName, shortcut.linkName})) {
      treatOne(platform, settings, target, link, shortcut.description);
    }
  }
}

}  // namespace imx

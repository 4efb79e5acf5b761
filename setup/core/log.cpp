#include "setup/core/log.h"

#include <algorithm>

namespace imx {
namespace {

constexpr int kDatedNames = 100;  // tried, for runs that start within a second

std::string joinParts(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

// A message of several lines stays one line of the log.
std::string flat(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

std::string timeNow(const Platform& platform) {
  TimeText now = {};
  platform.localTime(platform.context, now);
  return now;
}

void* createDatedLog(const Platform& platform, PathText& path) {
  PathText folder = {};
  platform.temporaryFolder(platform.context, folder);
  std::string stamp = timeNow(platform);
  std::replace(stamp.begin(), stamp.end(), ' ', '_');
  std::erase(stamp, ':');
  for (int i = 1; i <= kDatedNames; ++i) {
    const std::string again = i == 1 ? "" : "_" + std::to_string(i);
    if (!joinPath(path, {folder, "Glimmerix setup ", stamp, again, ".log"})) return nullptr;
    if (void* const file = platform.createFile(platform.context, path)) return file;
  }
  return nullptr;
}

std::string yesOrNo(std::uint32_t flag) {
  return flag != 0 ? "yes" : "no";
}

}  // namespace

bool openLog(const Platform& platform, InstallSettings& settings, const std::string& path) {
  PathText name;
  if (path.empty()) {
    settings.log = createDatedLog(platform, name);
  } else if (copyPath(name, path)) {
    platform.removeFile(platform.context, name);
    settings.log = platform.createFile(platform.context, name);
  }
  logLine(platform, settings, {"Log ", name, " of Glimmerix setup " IMX_VERSION});
  return settings.log != nullptr;
}

void logLine(const Platform& platform, const InstallSettings& settings,
             std::initializer_list<std::string_view> parts) {
  if (!settings.log) return;
  const std::string line = timeNow(platform) + "  " + flat(joinParts(parts)) + "\r\n";
  platform.writeBytes(platform.context, settings.log, line.data(), line.size());
}

void logFailure(const Platform& platform, const InstallSettings& settings, std::string_view what,
                std::string_view subject) {
  announce(platform, settings,
           {what, " ", subject, ": ", platform.failureReason(platform.context)});
}

void announce(const Platform& platform, const InstallSettings& settings,
              std::initializer_list<std::string_view> parts) {
  logLine(platform, settings, parts);
  if (settings.unattended) {
    platform.tell(platform.context, ("setup: " + flat(joinParts(parts))).c_str());
  }
}

void logChoices(const Platform& platform, const InstallSettings& settings) {
  logLine(platform, settings,
          {"Chosen: Glint ", yesOrNo(settings.installGlint), ", Twistel ",
           yesOrNo(settings.installTwistel), ", documentation ", yesOrNo(settings.installDocs)});
  logLine(platform, settings, {"Glimmerix directory: ", settings.programDir});
  logLine(platform, settings, {"Pictures directory: ", settings.picturesDir});
  logLine(platform, settings, {"Help directory: ", settings.helpDir});
  logLine(platform, settings, {"Data directory: ", settings.dataDir});
  logLine(platform, settings,
          {"Program group: ", settings.programsFolder, "\\", settings.groupName});
}

void logCounts(const Platform& platform, const InstallSettings& settings) {
  logLine(platform, settings,
          {std::to_string(settings.copiedFiles), " of ", std::to_string(settings.expectedFiles),
           " files copied, ", std::to_string(settings.copiedBytes), " of ",
           std::to_string(settings.expectedBytes), " bytes; ", std::to_string(settings.failedItems),
           " failed"});
}

void logCheck(const Platform& platform, const InstallSettings& settings) {
  logLine(platform, settings,
          {std::to_string(settings.runningFiles), " of ", std::to_string(settings.expectedFiles),
           " files checked, ", std::to_string(settings.copiedFiles), " copied; ",
           std::to_string(settings.failedItems), " wrong"});
}

void closeLog(const Platform& platform, InstallSettings& settings) {
  if (settings.log) platform.closeFile(platform.context, settings.log);
  settings.log = nullptr;
}

}  // namespace imx

#include "setup/core/medium.h"

#include <algorithm>
#include <string>

#include "setup/core/file_stream.h"
#include "setup/core/installed_list.h"
#include "setup/core/log.h"
#include "setup/core/text_lines.h"

namespace imx {
namespace {

constexpr std::size_t kListLimit = 1 << 24;
constexpr const char* kListName = "medium.sha256";

bool isAsListed(const Platform& platform, const InstallSettings& settings, std::string_view line) {
  const std::size_t gap = line.find("  ");
  if (gap != kSha256Digits) {
    announce(platform, settings, {kListName, " has the line: ", line});
    return false;
  }
  std::string name(line.substr(gap + 2));
  std::replace(name.begin(), name.end(), '/', '\\');
  PathText path;
  InstalledFile file;
  if (!joinPath(path, {settings.sourceDir, name}) || !describeFile(platform, path, file)) {
    logFailure(platform, settings, "Cannot read", settings.sourceDir + name);
    return false;
  }
  if (file.sha256 == line.substr(0, gap)) return true;
  announce(platform, settings, {"Damaged on the medium: ", path});
  return false;
}

}  // namespace

MediumState checkMedium(const Platform& platform, InstallSettings& settings) {
  PathText path;
  FileEntry entry;
  if (!joinPath(path, {settings.sourceDir, kListName}) || !lookUp(platform, path, &entry)) {
    logLine(platform, settings, {"The medium has no ", kListName});
    return MediumState::unlisted;
  }
  std::string list;
  const std::string problem = readText(platform, settings, path, kListLimit, list);
  if (!problem.empty()) {
    announce(platform, settings, {"Cannot read ", path, ": ", problem});
    return MediumState::damaged;
  }
  std::uint32_t files = 0;
  bool whole = true;
  forEachLine(list, [&](std::string_view line) {
    files += 1;
    whole = isAsListed(platform, settings, line) && whole;
  });
  logLine(platform, settings,
          {"The medium's ", std::to_string(files), " files are ", whole ? "whole" : "damaged"});
  return whole ? MediumState::whole : MediumState::damaged;
}

}  // namespace imx

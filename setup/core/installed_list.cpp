#include "setup/core/installed_list.h"

#include <algorithm>
#include <charconv>

#include "setup/core/file_stream.h"
#include "setup/core/replace_file.h"
#include "setup/core/text_lines.h"

namespace imx {
namespace {

constexpr std::size_t kListLimit = 1 << 24;
constexpr const char* kFolders[] = {"\\Quillmark", "\\Quillmark\\Glimmerix7"};
constexpr const char* kListName = "\\installed.txt";

bool isDigest(std::string_view text) {
  return text.size() == kSha256Digits &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// "DIGEST SIZE PATH"
bool takeFile(InstalledList& list, std::string_view line) {
  const std::size_t digestEnd = std::min(line.find(' '), line.size());
  const std::size_t sizeEnd = line.find(' ', digestEnd + 1);
  if (sizeEnd == std::string_view::npos) return false;
  InstalledFile file{std::string(line.substr(sizeEnd + 1)), 0,
                     std::string(line.substr(0, digestEnd))};
  const char* const end = line.data() + sizeEnd;
  const auto number = std::from_chars(line.data() + digestEnd + 1, end, file.size);
  if (!isDigest(file.sha256) || number.ec != std::errc() || number.ptr != end) return false;
  list.files.push_back(file);
  return true;
}

bool takeLine(InstalledList& list, const std::string& section, std::string_view line) {
  if (section == "[Files]") return takeFile(list, line);
  if (section == "[Directories]") {
    list.directories.emplace_back(line);
  } else if (section == "[Setup]") {
    list.choices += std::string(line) + "\r\n";
  }
  return true;
}

}  // namespace

bool listPlace(const Platform& platform, const char* name, PathText& path) {
  PathText common = {};
  platform.commonDataFolder(platform.context, common);
  return common[0] != '\0' && joinPath(path, {common, kFolders[1], name});
}

bool hasInstalledList(const Platform& platform) {
  PathText path;
  FileEntry entry;
  return listPlace(platform, kListName, path) && lookUp(platform, path, &entry);
}

std::string loadInstalledList(const Platform& platform, const InstallSettings& settings,
                              InstalledList& list) {
  PathText path;
  if (!listPlace(platform, kListName, path)) return "there is no folder for it";
  std::string text;
  const std::string problem = readText(platform, settings, path, kListLimit, text);
  if (!problem.empty()) return problem;
  std::string section;
  bool sound = true;
  forEachLine(text, [&](std::string_view line) {
    if (line.starts_with('[')) {
      section = line;
    } else if (!line.empty()) {
      sound = takeLine(list, section, line) && sound;
    }
  });
  return sound ? "" : std::string(path) + " is damaged";
}

bool saveInstalledList(const Platform& platform, const InstallSettings& settings,
                       const InstalledList& list) {
  PathText path = {};
  platform.commonDataFolder(platform.context, path);
  const std::string common = path;
  for (const char* const folder : kFolders) {
    if (common.empty() || !joinPath(path, {common, folder}) ||
        !platform.makeGuardedDirectory(platform.context, path)) {
      return false;
    }
  }
  std::string text = "[Setup]\r\n" + list.choices + "[Directories]\r\n";
  for (const std::string& directory : list.directories) text += directory + "\r\n";
  text += "[Files]\r\n";
  for (const InstalledFile& file : list.files) {
    text += file.sha256 + " " + std::to_string(file.size) + " " + file.path + "\r\n";
  }
  return listPlace(platform, kListName, path) && replaceWithText(platform, settings, path, text);
}

bool removeInstalledList(const Platform& platform, const InstallSettings& settings) {
  PathText path;
  if (!listPlace(platform, kListName, path) || !removeStubborn(platform, settings, path)) {
    return false;
  }
  PathText common = {};
  platform.commonDataFolder(platform.context, common);
  for (const char* const folder : {kFolders[1], kFolders[0]}) {
    if (joinPath(path, {common, folder})) platform.removeDirectory(platform.context, path);
  }
  return true;
}

bool describeFile(const Platform& platform, const char* path, InstalledFile& file) {
  Sha256Text digest = {};
  if (!platform.hashFile(platform.context, path, digest, &file.size)) return false;
  file.path = path;
  file.sha256 = digest;
  return true;
}

}  // namespace imx

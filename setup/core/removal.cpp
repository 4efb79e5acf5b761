#include "setup/core/removal.h"

#include <algorithm>

#include "imagelib/guards.h"
#include "imagelib/text.h"
#include "setup/core/installed_list.h"
#include "setup/core/log.h"
#include "setup/core/registration.h"
#include "setup/core/replace_file.h"

namespace imx {
namespace {

struct Removing {
  const Platform& platform;
  InstallSettings& settings;
  InstalledList& list;
  Removal result;
  std::vector<std::string> kept;          // paths that were told of
  std::vector<InstalledFile> notRemoved;  // for another try
};

void keep(Removing& run, std::string_view why, const std::string& path) {
  run.result.stay += 1;
  run.kept.push_back(path);
  announce(run.platform, run.settings, {why, path});
}

void removeFile(Removing& run, const InstalledFile& file) {
  const char* const path = file.path.c_str();
  FileEntry entry;
  InstalledFile found;
  if (!lookUp(run.platform, path, &entry)) {
    logLine(run.platform, run.settings, {"Gone already: ", path});
  } else if (describeFile(run.platform, path, found) &&
             (found.size != file.size || found.sha256 != file.sha256)) {
    keep(run, "Stays, since it was changed: ", file.path);
  } else if (!found.sha256.empty() && removeStubborn(run.platform, run.settings, path)) {
    run.result.removed += 1;
    logLine(run.platform, run.settings, {"Removed ", path});
  } else {
    run.settings.failedItems += 1;
    run.kept.push_back(file.path);
    run.notRemoved.push_back(file);
    logFailure(run.platform, run.settings, "Not removed:", path);
  }
}

// What is in a directory and has not been told of.
void tellAdded(Removing& run, const std::string& directory) {
  forEachEntry(run.platform, (directory + "\\*").c_str(), [&](const FileEntry& entry) {
    const std::string path = directory + "\\" + entry.name;
    const auto isThis = [&](const std::string& known) { return EqualNoCase(known, path); };
    if ((entry.attributes & kDirectoryAttribute) == 0 &&
        std::none_of(run.kept.begin(), run.kept.end(), isThis)) {
      keep(run, "Stays, since it was added: ", path);
    }
    return true;
  });
}

// The inner ones were made last.
void removeDirectories(Removing& run) {
  std::vector<std::string> stay;
  for (auto at = run.list.directories.rbegin(); at != run.list.directories.rend(); ++at) {
    if (!run.platform.isDirectory(run.platform.context, at->c_str())) continue;
    sweepUnfinished(run.platform, *at);
    if (run.platform.removeDirectory(run.platform.context, at->c_str())) {
      logLine(run.platform, run.settings, {"Removed the directory ", *at});
    } else {
      logLine(
          run.platform, run.settings,
          {"The directory stays: ", *at, ": ", run.platform.failureReason(run.platform.context)});
      tellAdded(run, *at);
      stay.push_back(*at);
    }
  }
  std::reverse(stay.begin(), stay.end());
  run.list.directories = std::move(stay);
}

void removeFiles(Removing& run) {
  const ProgressScope progress("Removing Files", static_cast<std::int32_t>(run.list.files.size()),
                               1, StopButton::none);
  std::int32_t position = 0;
  for (const InstalledFile& file : run.list.files) {
    removeFile(run, file);
    ProgressUpdate(++position);
  }
}

}  // namespace

Removal removeInstalled(const Platform& platform, InstallSettings& settings) {
  InstalledList list;
  Removal nothing;
  nothing.problem = loadInstalledList(platform, settings, list);
  if (!nothing.problem.empty()) return nothing;
  Removing run{platform, settings, list, {}, {}, {}};
  removeFiles(run);
  removeDirectories(run);
  if (settings.failedItems == 0) {
    forgetInstallation(platform, settings);
  } else {
    list.files = run.notRemoved;
    if (!saveInstalledList(platform, settings, list)) {
      logFailure(platform, settings, "Cannot write", "the list of files");
    }
  }
  logLine(platform, settings,
          {std::to_string(run.result.removed), " files removed, ", std::to_string(run.result.stay),
           " stay, ", std::to_string(settings.failedItems), " failed"});
  return run.result;
}

}  // namespace imx

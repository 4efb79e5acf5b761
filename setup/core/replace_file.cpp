#include "setup/core/replace_file.h"

#include <cstring>
#include <string_view>

#include "imagelib/text.h"
#include "setup/core/log.h"

namespace imx {
namespace {

constexpr int kAttempts = 5;
constexpr std::uint32_t kPauseMilliseconds = 200;
// No other program's, so that what a killed run left behind gives way to the next.
constexpr std::string_view kUnfinishedName = "~qmsetup.tmp";

bool isThere(const Platform& platform, const char* path) {
  FileEntry entry;
  return lookUp(platform, path, &entry);
}

// Where the name does not fit, one of the destination's length takes its place.
void nameBeside(const Platform& platform, std::string_view destination, PathText& beside) {
  const std::string_view name = PathFileName(destination, kWindowsPathSeparators);
  if (!joinPath(beside,
                {destination.substr(0, destination.size() - name.size()), kUnfinishedName})) {
    joinPath(beside, {destination.substr(0, destination.size() - 1), "~"});
  } else if (isThere(platform, beside)) {
    platform.removeFile(platform.context, beside);
  }
}

// Runs `act`, which a file at `path` can hinder, until it succeeds or hope is lost.
bool insist(const Platform& platform, const InstallSettings& settings, const char* path,
            const std::function<bool()>& act) {
  FileEntry old;
  const bool exists = lookUp(platform, path, &old);
  const bool isProtected =
      exists && (old.attributes & (kReadOnlyAttribute | kHiddenAttribute)) != 0;
  if (isProtected) platform.setAttributes(platform.context, path, kNormalAttributes);
  for (int attempt = 1; !act(); ++attempt) {
    if (!exists || attempt == kAttempts) {
      if (isProtected) platform.setAttributes(platform.context, path, old.attributes);
      return false;
    }
    logLine(platform, settings,
            {"Waiting for ", path, ": ", platform.failureReason(platform.context)});
    platform.pause(platform.context, kPauseMilliseconds);
  }
  return true;
}

}  // namespace

void sweepUnfinished(const Platform& platform, std::string_view directory) {
  PathText path;
  const std::string_view separator = directory.ends_with('\\') ? "" : "\\";
  if (joinPath(path, {directory, separator, kUnfinishedName}) && isThere(platform, path)) {
    platform.removeFile(platform.context, path);
  }
}

bool replaceFile(const Platform& platform, const InstallSettings& settings, const char* destination,
                 const MakeFile& make) {
  PathText beside;
  nameBeside(platform, destination, beside);
  // A name that is taken is somebody's file.
  const bool isFree = !isThere(platform, beside);
  const bool done = make(beside) && insist(platform, settings, destination, [&] {
                      return platform.moveFile(platform.context, beside, destination);
                    });
  if (!done && isFree && isThere(platform, beside)) platform.removeFile(platform.context, beside);
  return done;
}

bool replaceWithText(const Platform& platform, const InstallSettings& settings,
                     const char* destination, std::string_view text) {
  return replaceFile(platform, settings, destination, [&](const char* beside) {
    void* const file = platform.createFile(platform.context, beside);
    const bool written =
        file && platform.writeBytes(platform.context, file, text.data(), text.size());
    return file && platform.closeFile(platform.context, file) && written;
  });
}

bool removeStubborn(const Platform& platform, const InstallSettings& settings, const char* path) {
  return insist(platform, settings, path,
                [&] { return platform.removeFile(platform.context, path); });
}

}  // namespace imx

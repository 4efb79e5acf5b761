#include "setup/core/file_copy.h"

#include <string>
#include <string_view>

#include "imagelib/host.h"
#include "imagelib/text.h"
#include "setup/core/file_compare.h"
#include "setup/core/file_stream.h"
#include "setup/core/log.h"
#include "setup/core/replace_file.h"
#include "setup/core/wizard_pages.h"

namespace imx {
namespace {

constexpr std::string_view kTemplateEndings[] = {".tml", ".mpt", ".mpr", ".psy", ".ini"};

enum class Copied { done, kept, failed };

// False when there is no such path: an empty base is one that did not fit.
bool joinName(PathText& path, const PathText& base, const char* name) {
  return base[0] != '\0' && joinPath(path, {base, name});
}

bool makeAsIs(const Platform& platform, const char* source, const char* beside) {
  if (!platform.copyFile(platform.context, source, beside)) return false;
  platform.setAttributes(platform.context, beside, kNormalAttributes);
  return true;
}

// One that cannot be opened for reading can perhaps be copied.
bool makeExpanded(const Platform& platform, InstallSettings& settings, const char* source,
                  const char* beside) {
  void* const out = platform.createFile(platform.context, beside);
  if (!out) return false;
  const auto write = [&](std::string_view piece) {
    return platform.writeBytes(platform.context, out, piece.data(), piece.size());
  };
  const Streamed streamed = streamFile(platform, settings, source, true, write);
  if (!platform.closeFile(platform.context, out)) return false;
  if (streamed != Streamed::notOpened) return streamed == Streamed::whole;
  if (!platform.removeFile(platform.context, beside) || !makeAsIs(platform, source, beside)) {
    return false;
  }
  settings.failedItems += 1;
  announce(platform, settings, {"Copied with its directories left open: ", source});
  return true;
}

Copied copyFile(const Platform& platform, InstallSettings& settings, const char* source,
                const char* destination, bool expands) {
  // A medium that is installed over itself keeps its files.
  if (platform.isSameFile(platform.context, source, destination)) return Copied::kept;
  const auto make = [&](const char* beside) {
    return expands ? makeExpanded(platform, settings, source, beside)
                   : makeAsIs(platform, source, beside);
  };
  return replaceFile(platform, settings, destination, make) ? Copied::done : Copied::failed;
}

bool isTemplateName(std::string_view name) {
  if (name.size() <= 4) return false;
  for (const std::string_view ending : kTemplateEndings) {
    if (EndsWithNoCase(name, ending)) return true;
  }
  return false;
}

void reportFile(const Platform& platform, InstallSettings& settings) {
  if (ProgressUpdateAbort(static_cast<std::int32_t>(settings.runningFiles)) == 0) return;
  if (settings.unattended) {
    settings.userAborted = 1;
  } else {
    platform.showPage(platform.context, Page::abortQuery);
  }
  // The display keeps the request until its end; one press asks once.
  platform.clearStopRequest(platform.context);
  if (settings.userAborted == 0) return;
  settings.copyEnabled = 0;
  settings.mode = kCountMode;
}

void noteResult(const Platform& platform, InstallSettings& settings, Copied result,
                const char* destination, std::uint32_t size) {
  switch (result) {
    case Copied::done:
      logLine(platform, settings, {"Copied ", destination});
      break;
    case Copied::kept:
      logLine(platform, settings, {"Kept the medium's own ", destination});
      break;
    case Copied::failed:
      settings.failedItems += 1;
      logFailure(platform, settings, "Not copied:", destination);
      return;
  }
  settings.copiedFiles += 1;
  settings.copiedBytes += size;
  if (result == Copied::done) settings.installedFiles.emplace_back(destination);
}

void install(const Platform& platform, InstallSettings& settings, const char* source,
             const char* name, bool expands, std::uint32_t size) {
  PathText destination;
  if (!joinName(destination, settings.destBase, name)) {
    settings.failedItems += 1;
    announce(platform, settings, {"Not copied: ", source, ": the destination's path is too long"});
    return;
  }
  noteResult(platform, settings, copyFile(platform, settings, source, destination, expands),
             destination, size);
}

// Compares what stands at the destination with what the medium gives, and in a repair copies that.
void check(const Platform& platform, InstallSettings& settings, const char* source,
           const char* name, bool expands, std::uint32_t size) {
  PathText destination;
  if (!joinName(destination, settings.destBase, name)) return;  // is not installed either
  const std::string fault = compareInstalled(platform, settings, source, destination, expands);
  if (fault.empty()) {
    settings.installedFiles.emplace_back(destination);
    return;
  }
  announce(platform, settings, {fault, destination});
  if (settings.mode == kRepairMode) {
    install(platform, settings, source, name, expands, size);
  } else {
    settings.failedItems += 1;
  }
}

std::int32_t handleFile(const Platform& platform, InstallSettings& settings, const char* name,
                        InstallCategory category, bool expands) {
  PathText source;
  FileEntry entry;
  if (!joinName(source, settings.sourceBase, name) || !lookUp(platform, source, &entry) ||
      (entry.attributes & kDirectoryAttribute) != 0) {
    if (settings.copyEnabled == 1) {
      logLine(platform, settings, {"Not on the medium: ", settings.sourceBase, name});
    }
    return 1;
  }
  // Only right below 4 GiB; the totals are 32-bit anyway.
  const std::uint32_t size = entry.sizeLow - entry.sizeHigh;
  settings.runningBytes += size;
  settings.categoryBytes[category] += size;
  if (isCheck(settings.mode)) {
    check(platform, settings, source, name, expands, size);
  } else if (settings.copyEnabled == 1) {
    install(platform, settings, source, name, expands, size);
  }
  settings.runningFiles += 1;
  if (settings.mode != kCountMode) reportFile(platform, settings);
  return 0;
}

}  // namespace

std::int32_t copyPlain(const Platform& platform, InstallSettings& settings, const char* name,
                       InstallCategory category) {
  return handleFile(platform, settings, name, category, false);
}

std::int32_t copyTemplate(const Platform& platform, InstallSettings& settings, const char* name,
                          InstallCategory category) {
  return handleFile(platform, settings, name, category, isTemplateName(name));
}

std::int32_t copyIfMissing(const Platform& platform, InstallSettings& settings, const char* name,
                           InstallCategory category) {
  PathText destination;
  FileEntry existing;
  if (joinName(destination, settings.destBase, name) && lookUp(platform, destination, &existing)) {
    if (settings.copyEnabled == 1) logLine(platform, settings, {"Kept the system's ", destination});
    return 1;
  }
  return copyPlain(platform, settings, name, category);
}

std::int32_t copyDirectory(const Platform& platform, InstallSettings& settings,
                           InstallCategory category, bool asTemplates) {
  PathText pattern;
  if (!joinName(pattern, settings.sourceBase, "*")) return 1;
  const std::int32_t modeAtStart = settings.mode;
  const bool found = forEachEntry(platform, pattern, [&](const FileEntry& entry) {
    if ((entry.attributes & kDirectoryAttribute) == 0) {
      (asTemplates ? copyTemplate : copyPlain)(platform, settings, entry.name, category);
    }
    return settings.mode == modeAtStart;  // an abort ends this directory
  });
  return found ? 0 : 1;
}

}  // namespace imx

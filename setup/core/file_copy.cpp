#include "setup/core/file_copy.h"

#include <cstring>
#include <string_view>

#include "imagelib/host.h"
#include "imagelib/text.h"
#include "setup/core/token_expander.h"
#include "setup/core/wizard_pages.h"

namespace imx {
namespace {

constexpr std::string_view kTemplateEndings[] = {".tml", ".mpt", ".mpr", ".psy", ".ini"};

using CopyFunction = void (*)(const Platform& platform, const InstallSettings& settings,
                              const char* source, const char* destination);

// False when there is no such path: an empty base is one that did not fit.
bool joinName(PathText& path, const PathText& base, const char* name) {
  return base[0] != '\0' && joinPath(path, {base, name});
}

void copyAsIs(const Platform& platform, const InstallSettings&, const char* source,
              const char* destination) {
  platform.copyFile(platform.context, source, destination);
  platform.setNormalAttributes(platform.context, destination);
}

// False when not all of it could be written.
bool expandInto(const Platform& platform, const InstallSettings& settings, void* in, void* out) {
  const TokenTexts texts = makeTokenTexts(platform, settings);
  TokenExpander expander(texts);
  std::uint8_t byte = 0;
  while (platform.readByte(platform.context, in, &byte)) {
    const std::string_view text = expander.take(byte);
    if (text.empty()) continue;
    if (platform.writeBytes(platform.context, out, text.data(), text.size()) != text.size()) {
      return false;
    }
  }
  return true;
}

// Makes a file beside `destination` under a name that is not taken, and no longer, so that it fits.
void* createBeside(const Platform& platform, const char* destination, PathText& beside) {
  for (const char mark : std::string_view("~_!#$&@")) {
    copyPath(beside, destination);
    beside[std::strlen(beside) - 1] = mark;
    if (void* const file = platform.createFile(platform.context, beside)) return file;
  }
  return nullptr;
}

// What was at `destination` is replaced by a whole file or not at all. False when a file could not
// be opened or replaced.
bool copyExpanded(const Platform& platform, const InstallSettings& settings, const char* source,
                  const char* destination) {
  void* const in = platform.openForReading(platform.context, source);
  if (!in) return false;
  PathText beside;
  void* const out = createBeside(platform, destination, beside);
  bool whole = out && expandInto(platform, settings, in, out);
  if (out && !platform.closeFile(platform.context, out)) whole = false;
  if (!platform.closeFile(platform.context, in)) whole = false;
  if (whole && platform.moveFile(platform.context, beside, destination)) return true;
  if (out) platform.removeFile(platform.context, beside);
  return out && !whole;
}

void copyExpandedOrAsIs(const Platform& platform, const InstallSettings& settings,
                        const char* source, const char* destination) {
  // A medium that is installed over itself keeps its templates.
  if (platform.isSameFile(platform.context, source, destination)) return;
  if (!copyExpanded(platform, settings, source, destination)) {
    copyAsIs(platform, settings, source, destination);
  }
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
  platform.showPage(platform.context, Page::abortQuery);
  // The display keeps the request until its end; one press asks once.
  platform.clearStopRequest(platform.context);
  if (settings.userAborted == 0) return;
  settings.copyEnabled = 0;
  settings.mode = kCountMode;
}

std::int32_t handleFile(const Platform& platform, InstallSettings& settings, const char* name,
                        InstallCategory category, CopyFunction copy) {
  PathText source;
  FileEntry entry;
  if (!joinName(source, settings.sourceBase, name) || !lookUp(platform, source, &entry) ||
      (entry.attributes & kDirectoryAttribute) != 0) {
    return 1;
  }
  // Only right below 4 GiB; the totals are 32-bit anyway.
  const std::uint32_t size = entry.sizeLow - entry.sizeHigh;
  settings.runningBytes += size;
  settings.categoryBytes[category] += size;
  PathText destination;
  if (settings.copyEnabled == 1 && joinName(destination, settings.destBase, name)) {
    copy(platform, settings, source, destination);
  }
  settings.runningFiles += 1;
  if (settings.mode == kInstallMode) reportFile(platform, settings);
  return 0;
}

}  // namespace

std::int32_t copyPlain(const Platform& platform, InstallSettings& settings, const char* name,
                       InstallCategory category) {
  return handleFile(platform, settings, name, category, copyAsIs);
}

std::int32_t copyTemplate(const Platform& platform, InstallSettings& settings, const char* name,
                          InstallCategory category) {
  return handleFile(platform, settings, name, category,
                    isTemplateName(name) ? copyExpandedOrAsIs : copyAsIs);
}

std::int32_t copyIfMissing(const Platform& platform, InstallSettings& settings, const char* name,
                           InstallCategory category) {
  PathText destination;
  FileEntry existing;
  if (joinName(destination, settings.destBase, name) && lookUp(platform, destination, &existing)) {
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

// A plug-in library whose behaviour the name of the file to load or save chooses.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "imagelib/dispatch/plugin_interface.h"

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

using imx::PluginRecord;

namespace {

struct Services {
  imx::PluginProgressBegin begin;
  imx::PluginProgressUpdate update;
  imx::PluginProgressEnd end;
  imx::PluginMakeImage makeImage;
  imx::PluginAllocate allocate;
  imx::PluginFree free;
};

/// Every byte of the 3 x 2 pixels is its own index, plus `first`.
PluginRecord* MakeCounted(const Services& host, int first) {
  PluginRecord* record = host.makeImage(3, 2, "made by the plug-in");
  if (!record) return nullptr;
  for (int i = 0; i < 3 * 2 * 4; ++i) record->pixels[i] = static_cast<std::uint8_t>(first + i);
  return record;
}

void GiveLargerPixels(const Services& host, PluginRecord& record) {
  constexpr std::int32_t kWidth = 5, kHeight = 4;
  record.width = kWidth;
  record.height = kHeight;
  record.pixels = static_cast<std::uint8_t*>(host.allocate(kWidth * kHeight * 4, 0));
  record.rowOffsets = static_cast<std::int32_t*>(host.allocate(kHeight * 4, 0));
  std::memset(record.pixels, 77, kWidth * kHeight * 4);
  for (std::int32_t y = 0; y < kHeight; ++y) record.rowOffsets[y] = y * kWidth;
}

/// Texts without a terminator.
void Fill(PluginRecord& record) {
  record.red[7] = 70;
  record.green[7] = 71;
  record.blue[7] = 72;
  std::memset(record.name, 'n', sizeof record.name);
  std::memset(record.comment, 'c', imx::kPluginTextSize);
  std::memset(record.formatLabel, 'f', sizeof record.formatLabel);
  std::memset(record.author, 'a', sizeof record.author);
  std::memset(record.notice, 'r', sizeof record.notice);
}

PluginRecord* Load(std::string_view how, const Services& host) {
  static PluginRecord foreign;
  if (how == "foreign") return &foreign;
  if (how == "toolarge" && !host.makeImage(0x7FFFFFFF, 0x7FFFFFFF, "x")) return nullptr;

  PluginRecord* first = MakeCounted(host, 0);
  if (!first || how == "null") return nullptr;
  if (how == "full") Fill(*first);
  if (how == "second") return MakeCounted(host, 100);
  if (how == "first") MakeCounted(host, 100);
  if (how == "larger" || how == "replaced") {
    void* const pixels = first->pixels;
    void* const rows = first->rowOffsets;
    GiveLargerPixels(host, *first);
    if (how == "larger") {
      host.free(pixels);
      host.free(rows);
    }
  }
  if (how == "turned") std::swap(first->rowOffsets[0], first->rowOffsets[1]);
  if (how == "wide") first->width = 1000;
  if (how == "flat") first->height = 0;
  if (how == "strayrow") first->rowOffsets[1] = 4;
  if (how == "negativerow") first->rowOffsets[1] = -1;
  if (how == "nopixels") first->pixels = nullptr;
  if (how == "freed") host.free(first->pixels);
  if (how == "mixed") {
    first->pixels = static_cast<std::uint8_t*>(host.allocate(100, 0));
    first->rowOffsets = reinterpret_cast<std::int32_t*>(first->pixels);
  }
  if (how == "shared") {
    if (const PluginRecord* other = MakeCounted(host, 100)) first->pixels = other->pixels;
  }
  if (how == "owncomment") first->comment = std::strcpy(first->author, "words");
  if (how == "untidy") {
    host.begin("never ended", 5, 6);
    host.update(2);
    host.allocate(1000, 0);
  }
  if (how == "progress") {
    host.begin("a title", 5, 6);
    host.update(3);
    host.end();
  }
  if (how == "frees") host.free(first);
  return first;
}

/// The file name at the end of a path, without its extension.
std::string_view BaseName(std::string_view path) {
  path.remove_prefix(path.find_last_of("/\\") + 1);
  return path.substr(0, path.rfind('.'));
}

}  // namespace

EXPORTED PluginRecord* IMX_PLUGIN_CALL
PLUGIN_LOAD(const char* path, void* mainWindow, void* instance, imx::PluginProgressBegin begin,
            imx::PluginProgressBegin beginAgain, imx::PluginProgressUpdate update,
            imx::PluginProgressEnd end, imx::PluginMakeImage makeImage,
            imx::PluginAllocate allocate, imx::PluginFree free, imx::PluginNothing nothing) {
  if (begin != beginAgain || nothing() != 0) return nullptr;
  const std::string_view how = BaseName(path);
  PluginRecord* record = Load(how, {begin, update, end, makeImage, allocate, free});
  if (record && how == "handles") {
    std::snprintf(record->author, sizeof record->author, "%p %p", mainWindow, instance);
  }
  return record;
}

/// Writes what it was given as text.
EXPORTED std::int32_t IMX_PLUGIN_CALL
PLUGIN_SAVE(const char* path, PluginRecord* record, void* instance, void* mainWindow,
            std::int32_t option, imx::PluginProgressBegin begin, imx::PluginProgressBegin,
            imx::PluginProgressUpdate, imx::PluginProgressEnd, imx::PluginAllocate allocate,
            imx::PluginFree free, imx::PluginNothing) {
  const std::string_view how = BaseName(path);
  if (how == "refused") return 7;
  if (how == "untidy") {
    begin("never ended", 1, 1);
    allocate(10, 0);
    free(record->pixels);
  }
  std::FILE* file = std::fopen(path, "wb");
  if (!file) return 1;
  std::fprintf(file, "%dx%d %s [%s] depth %d option %d red %d row %d handles %d", record->width,
               record->height, record->name, record->comment, record->depth, option,
               record->pixels[0], record->rowOffsets[1], instance != mainWindow);
  return std::fclose(file) == 0 ? 0 : 1;
}

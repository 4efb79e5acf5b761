#include "dispatch/plugins.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "dispatch/plugin_interface.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/memory_edge.h"
#include "imagelib/plugin_library.h"
#include "imagelib/quirks.h"
#include "imagelib/save_outcome.h"
#include "imagelib/text.h"

namespace imx {
namespace {

constexpr std::int32_t kPluginDepth = 24;

std::string failure;
bool found = false;

/// An exchange record and its text buffer.
struct Exchange {
  TrackedArray<PluginRecord> record{1, "alloc_wi1"};
  TrackedArray<char> text{kPluginTextSize, "alloc_wi2"};

  explicit operator bool() const { return record && text; }
};

/// An image that the plug-in made through its service.
struct MadeImage {
  ImageGuard image;
  Exchange exchange;
};

/// A block that the plug-in took through its service and still has.
struct PluginBlock {
  void* pointer;
  std::uint32_t size;
};

// The services carry no context, so what they work on is kept here for the length of one call.
std::vector<MadeImage> madeImages;
std::vector<PluginBlock> blocks;
bool progressOpen = false;

auto FindBlock(const void* pointer) {
  return std::find_if(blocks.begin(), blocks.end(),
                      [pointer](const PluginBlock& block) { return block.pointer == pointer; });
}

/// Text of a fixed-size field that may lack its terminator.
template <std::size_t size>
std::string_view FieldText(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

void CopyToPlugin(const ImageRecord& image, Exchange& exchange) {
  PluginRecord& to = exchange.record[0];
  to.width = image.width;
  to.height = image.height;
  std::memcpy(to.name, image.name, sizeof to.name);
  std::memcpy(to.red, image.palette.red, sizeof to.red);
  std::memcpy(to.green, image.palette.green, sizeof to.green);
  std::memcpy(to.blue, image.palette.blue, sizeof to.blue);
  to.pixels = image.pixels;
  to.rowOffsets = image.rowOffsets;
  to.comment = exchange.text.data();
  std::memcpy(to.comment, image.comment, sizeof image.comment);
  to.depth = kPluginDepth;
}

/// The texts of fixed size, which plug-ins write where they find any.
void CopyCreditsToPlugin(const ImageRecord& image, PluginRecord& to) {
  if (image.author[0] == 0 && image.notice[0] == 0) return;
  if (!Quirk(kTiffTexts)) return;
  std::memcpy(to.author, image.author, strnlen(image.author, sizeof to.author - 1));
  std::memcpy(to.notice, image.notice, strnlen(image.notice, sizeof to.notice - 1));
}

/// Bytes behind a pointer of the exchange record: the image's own block, or one that the plug-in
/// took. 0 for anything else.
std::uint64_t BlockBytes(const void* given, const void* own, std::uint64_t ownBytes) {
  if (given && given == own) return ownBytes;
  const auto block = FindBlock(given);
  return block == blocks.end() ? 0 : block->size;
}

/// Whether the record's size, pixels and row table belong together: every row lies inside the
/// pixels, and all of it in memory that is known.
bool IsUsable(const PluginRecord& record, const ImageRecord& image) {
  if (HeaderOnly()) {
    return record.width > 0 && record.height > 0 && !record.pixels && !record.rowOffsets;
  }
  const std::uint64_t pixels =
      BlockBytes(record.pixels, image.pixels, std::uint64_t{4} * image.pixelCount) / 4;
  const std::uint64_t rows = BlockBytes(record.rowOffsets, image.rowOffsets,
                                        4 * static_cast<std::uint64_t>(image.height)) /
                             4;
  if (record.width < 1 || record.height < 1) return false;
  if (static_cast<const void*>(record.pixels) == record.rowOffsets) return false;
  const auto width = static_cast<std::uint64_t>(record.width);
  const auto height = static_cast<std::uint64_t>(record.height);
  if (width * height > pixels || height > rows) return false;
  return std::all_of(record.rowOffsets, record.rowOffsets + height, [&](std::int32_t offset) {
    return offset >= 0 && static_cast<std::uint64_t>(offset) + width <= pixels;
  });
}

/// Gives `owned` the plug-in's block in place of its own.
template <typename T>
void Adopt(T*& owned, T* given) {
  if (owned == given) return;
  if (owned) FreeMem(owned);
  owned = given;
  blocks.erase(FindBlock(given));
}

void CopyComment(ImageRecord& image, const MadeImage& made) {
  const char* comment = made.exchange.record[0].comment;
  if (comment != made.exchange.text.data()) return;  // not a buffer whose size is known
  CopyTextCut(image.comment, {comment, strnlen(comment, kPluginTextSize)});
}

void CopyFromPlugin(MadeImage& made) {
  const PluginRecord& from = made.exchange.record[0];
  ImageRecord& image = *made.image;
  image.width = from.width;
  image.height = from.height;
  image.pixelCount =
      static_cast<std::uint32_t>(from.width) * static_cast<std::uint32_t>(from.height);
  CopyTextCut(image.name, FieldText(from.name));
  std::memcpy(image.palette.red, from.red, sizeof from.red);
  std::memcpy(image.palette.green, from.green, sizeof from.green);
  std::memcpy(image.palette.blue, from.blue, sizeof from.blue);
  Adopt(image.pixels, from.pixels);
  Adopt(image.rowOffsets, from.rowOffsets);
  CopyComment(image, made);
  CopyTextCut(image.formatLabel, FieldText(from.formatLabel));
  CopyTextCut(image.author, FieldText(from.author));
  CopyTextCut(image.notice, FieldText(from.notice));
}

int IMX_PLUGIN_CALL ServiceBegin(const char* title, std::int32_t total, std::int32_t extra) {
  ProgressBegin(title, total, extra);
  progressOpen = true;
  return 0;
}

int IMX_PLUGIN_CALL ServiceUpdate(std::int32_t position) {
  ProgressUpdate(position);
  return 0;
}

int IMX_PLUGIN_CALL ServiceEnd() {
  ProgressEnd();
  progressOpen = false;
  return 0;
}

PluginRecord* IMX_PLUGIN_CALL ServiceMakeImage(std::int32_t width, std::int32_t height,
                                               const char* name) {
  ImageGuard image(AllocImage(width, height, name, nullptr));
  if (!image) return nullptr;
  Exchange exchange;
  if (!exchange) return nullptr;
  CopyToPlugin(*image, exchange);
  PluginRecord* const record = exchange.record.data();
  const bool kept = WithinMemory(
      [&] {
        madeImages.push_back({std::move(image), std::move(exchange)});
        return true;
      },
      false);
  return kept ? record : nullptr;
}

void* IMX_PLUGIN_CALL ServiceAllocate(std::uint32_t size, std::uint32_t /*unused*/) {
  TrackedBytes block(size, "dll_allocmum");
  if (!block) return nullptr;
  const bool kept = WithinMemory(
      [&] {
        blocks.push_back({block.data(), size});
        return true;
      },
      false);
  return kept ? block.release() : nullptr;
}

/// Frees `owned` and forgets it when it is what the plug-in wants to be freed.
template <typename T>
bool FreeOwned(T*& owned, const void* pointer) {
  if (!pointer || owned != pointer) return false;
  FreeMem(owned);
  owned = nullptr;
  return true;
}

/// A plug-in frees what it took and what its own images hold, nothing else of the library's.
int IMX_PLUGIN_CALL ServiceFree(void* pointer) {
  const auto block = FindBlock(pointer);
  if (block != blocks.end()) {
    blocks.erase(block);
    FreeMem(pointer);
    return 0;
  }
  for (MadeImage& made : madeImages) {
    if (FreeOwned(made.image->pixels, pointer) || FreeOwned(made.image->rowOffsets, pointer)) {
      return 0;
    }
  }
  LibError("attempted free of unknown pointer!");
  return 0;
}

int IMX_PLUGIN_CALL ServiceNothing() {
  return 0;
}

/// The image behind the record that the plug-in gave back, or null.
ImageRecord* TakeImage(const PluginRecord* returned) {
  for (MadeImage& made : madeImages) {
    if (made.exchange.record.data() != returned) continue;
    if (!IsUsable(*returned, *made.image)) return nullptr;
    CopyFromPlugin(made);
    return made.image.release();
  }
  return nullptr;
}

/// Ends and releases what the plug-in left behind: it is about to be unloaded.
void CleanUpCall() {
  if (progressOpen) ServiceEnd();
  madeImages.clear();
  for (const PluginBlock& block : blocks) FreeMem(block.pointer);
  blocks.clear();
}

std::string Because(const char* library, const std::string& why) {
  return std::string("plug-in library ") + library + ": " + why;
}

/// Asks the plug-in, if it tells, what went wrong, and notes it. `unsaid`: what is said of a fault
/// that it has no words for.
PluginFault TakeFault(const PluginLibrary& library, const char* name, bool failed,
                      const char* unsaid) {
  if (failed) failure = Because(name, unsaid);
  const auto faultOf = library.Find<PluginFaultOf>({"ImageFault", "IMAGEFAULT"});
  const char* text = nullptr;
  const auto fault = static_cast<PluginFault>(faultOf ? faultOf(&text) : kPluginNoFault);
  if (fault == kPluginFileEnded) NoteFileEndedEarly();
  if (fault == kPluginNoMemory) {
    NoteRefusedMemory();
    failure = kOutOfMemory;
  } else if (fault != kPluginNoFault && text) {
    failure = Because(name, text);
  }
  return fault;
}

struct LoaderResult {
  ImageGuard image;
  PluginFault fault;
};

LoaderResult CallLoader(PluginLoad load, const char* path, const PluginLibrary& library,
                        const char* name) {
  const PluginRecord* returned = load(
      path, Services().mainWindow, Services().instance, ServiceBegin, ServiceBegin, ServiceUpdate,
      ServiceEnd, ServiceMakeImage, ServiceAllocate, ServiceFree, ServiceNothing);
  ImageGuard image(TakeImage(returned));
  CleanUpCall();
  const PluginFault fault = TakeFault(library, name, !image, "it could not load the image");
  return {std::move(image), fault};
}

std::int32_t CallSaver(const ImageRecord& image, const char* path, const char* name,
                       std::int32_t option) {
  const PluginLibrary library(name);
  if (!library.ok()) {
    failure = Because(name, library.error());
    return 1;
  }
  const auto save = library.Find<PluginSave>({"ImageSave", "IMAGESAVE"});
  if (!save) {
    failure = Because(name, "it has no saver");
    return 1;
  }
  Exchange exchange;
  if (!exchange) {
    failure = kOutOfMemory;
    return 1;
  }
  CopyToPlugin(image, exchange);
  CopyCreditsToPlugin(image, exchange.record[0]);
  found = true;
  const std::int32_t result =
      save(path, exchange.record.data(), Services().instance, Services().mainWindow, option,
           ServiceBegin, ServiceBegin, ServiceUpdate, ServiceEnd, ServiceAllocate, ServiceFree,
           ServiceNothing);
  CleanUpCall();
  if (result != 0) TakeFault(library, name, true, "it could not save the image");
  return result;
}

}  // namespace

ImageRecord* LoadWithPlugin(const char* path, const char* name) {
  failure.clear();
  found = false;
  const PluginLibrary library(name);
  if (!library.ok()) {
    failure = Because(name, library.error());
    return nullptr;
  }
  auto load = library.Find<PluginLoad>({"ImageHeader", "IMAGEHEADER"});
  const HeaderOnlyScope header(HeaderOnly() && load);
  if (!HeaderOnly()) load = library.Find<PluginLoad>({"ImageLoad", "IMAGELOAD"});
  if (!load) {
    failure = Because(name, "it has no loader");
    return nullptr;
  }
  found = true;
  LoaderResult result = CallLoader(load, path, library, name);
  const bool damaged = result.fault == kPluginFileEnded || result.fault == kPluginOtherFault;
  const auto salvage = library.Find<PluginLoad>({"ImageSalvage", "IMAGESALVAGE"});
  if (!HeaderOnly() && damaged && salvage && Quirk(kTiffDamage)) {
    result.image = ImageGuard();
    result = CallLoader(salvage, path, library, name);
  }
  return result.image.release();
}

std::int32_t SaveWithPlugin(const ImageRecord* image, const char* path, const char* library,
                            std::int32_t option) {
  failure.clear();
  found = false;
  const std::int32_t result = CallSaver(*image, path, library, option);
  if (result == 0) {
    NoteSaveWhole();
  } else {
    NoteSaveFailed(failure.c_str());
  }
  return result;
}

const std::string& PluginFailure() {
  return failure;
}

bool PluginWasFound() {
  return found;
}

}  // namespace imx

#include "dispatch/load.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "api/call.h"
#include "dispatch/host_alpha.h"
#include "formats/codec_state.h"
#include "formats/raw.h"
#include "imagelib/open_file.h"
#include "imagelib/registry.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"

namespace imx::api {
namespace {

constexpr std::uint64_t kDefaultLimit = std::uint64_t{1} << 30;

imx_status StatusOf(LoadFailure failure) {
  switch (failure) {
    case LoadFailure::none:
      return IMX_OK;
    case LoadFailure::cannotOpen:
      return IMX_CANNOT_OPEN;
    case LoadFailure::notKnown:
      return IMX_NOT_KNOWN;
    case LoadFailure::choiceMissing:
      return IMX_CHOICE_MISSING;
    case LoadFailure::noSuchFrame:
      return IMX_NO_SUCH_FRAME;
    case LoadFailure::aboveLimit:
      return IMX_ABOVE_LIMIT;
    case LoadFailure::tooLarge:
      return IMX_TOO_LARGE;
    case LoadFailure::outOfMemory:
      return IMX_NO_MEMORY;
    case LoadFailure::pluginMissing:
    case LoadFailure::pluginFailed:
      return IMX_PLUGIN_FAILED;
    case LoadFailure::empty:
    case LoadFailure::endedEarly:
      return IMX_ENDED_EARLY;
    case LoadFailure::damaged:
      return IMX_DAMAGED;
  }
  return IMX_DAMAGED;
}

/// What is wrong with the options; null when nothing is.
const char* TakeChoices(const imx_load_options& options, const char* path, LoadChoices* choices) {
  if (options.reading < IMX_READ_EXACT || options.reading > IMX_READ_INTEROP) return "reading";
  if (options.frame < 0) return "frame";
  if (options.raw_layout < IMX_RAW_BY_NAME || options.raw_layout >= kRawKinds) return "raw_layout";
  if (options.raw_width < 0 || options.raw_height < 0) return "raw_width and raw_height";
  choices->way = static_cast<ReadingWay>(options.reading);
  choices->frame = options.frame;
  choices->maxBytes = options.max_bytes;
  choices->rawWidth = options.raw_width;
  choices->rawHeight = options.raw_height;
  choices->rawKind = options.raw_layout;
  if (options.extension) choices->extension = options.extension;
  // With its size told, a name that tells the layout is enough.
  if (choices->rawKind < 0 && choices->rawWidth > 0) {
    choices->rawKind = RawKindByName((std::string(path) + "." + choices->extension).c_str());
    if (choices->extension.empty()) choices->rawKind = RawKindByName(path);
  }
  if (options.quirks) {
    const std::optional<QuirkSet> named = QuirksNamed(options.quirks);
    if (!named) return "quirks names one that is not known";
    choices->quirks = *named;
  }
  return nullptr;
}

/// Notes how it was read when nobody asked for that.
void NoteReading(const LoadResult& result, ReadingWay way) {
  if (way != ReadingWay::atNeed) return;
  if (result.applied.any()) AddNote("read as other programs do: " + QuirkNames(result.applied));
  if (result.applied.none() && result.shown.any()) {
    AddNote("other programs read it otherwise: " + QuirkNames(result.shown));
  }
}

/// Takes what was loaded, of which there is an image.
using Taker = Outcome (*)(LoadResult& result, void* to);

Outcome TakeImage(LoadResult& result, void* to) {
  return GiveImage(std::move(result.image), result.frames, static_cast<imx_image**>(to));
}

Outcome TakeInfo(LoadResult& result, void* to) {
  const ImageRecord& image = *result.image;
  imx_info info = {};
  info.width = image.width;
  info.height = image.height;
  info.depth = static_cast<std::int32_t>(image.depth);
  info.has_alpha = (image.flags & kFlagAlpha) != 0 ? 1 : 0;
  if (!result.alphaTold) info.has_alpha = -1;
  info.frames = result.frames;
  std::string_view(image.formatLabel).copy(info.format, sizeof info.format - 1);
  GiveStructure(info, static_cast<imx_info*>(to));
  return {};
}

/// A load of what `take` wants.
struct Request {
  const imx_load_options& options;
  Taker take;
  void* to;
};

Outcome LoadPath(const char* path, const Request& request) {
  LoadChoices choices;
  if (const char* wrong = TakeChoices(request.options, path, &choices)) return BadArgument(wrong);
  choices.headerOnly = request.take == TakeInfo;
  if (KindOfPath(path) == PathKind::directory) return {IMX_CANNOT_OPEN, "is a directory"};
  ResetCodecState();
  LoadResult result = Load(path, choices);
  if (IsStopped()) return {IMX_STOPPED, "stopped", result.frames};
  NoteReading(result, choices.way);
  if (!choices.headerOnly) NotePluginAlpha(result);
  Outcome outcome = {StatusOf(result.failure), result.reason, result.frames};
  const std::string errors = Errors();
  const bool isSaid =
      result.failure == LoadFailure::damaged || result.failure == LoadFailure::pluginFailed;
  if (result.failure == LoadFailure::none) {
    if (!errors.empty()) AddNote(errors);
  } else if (!errors.empty() && isSaid) {
    outcome.text = errors;  // what the loader said itself is more exact
  }
  if (!result.image) return outcome;
  const Outcome taken = request.take(result, request.to);
  return taken.status == IMX_OK ? outcome : taken;
}

Outcome LoadBytes(const void* bytes, std::size_t size, const Request& request) {
  const TemporaryFile file{std::string()};
  if (!file.ok()) return {IMX_CANNOT_OPEN, file.reason()};
  OpenFile to(std::fopen(file.path().c_str(), "wb"));
  const bool written = to && std::fwrite(bytes, 1, size, to.get()) == size;
  if (!written || std::fclose(to.release()) != 0) return {IMX_CANNOT_OPEN, SystemErrorText()};
  return LoadPath(file.path().c_str(), request);
}

imx_status RunLoad(const char* path, const imx_load_options* options, Taker take, void* to,
                   imx_report* report) {
  imx_load_options taken;
  const bool isUsable = path && to && TakeOptions(options, imx_load_options_init, &taken);
  return RunUsable(isUsable, taken, "path, what is to be filled or struct_size", report, [&] {
    return LoadPath(path, {taken, take, to});
  });
}

imx_status RunLoad(const void* bytes, std::size_t size, const imx_load_options* options, Taker take,
                   void* to, imx_report* report) {
  imx_load_options taken;
  const bool isUsable =
      (bytes || size == 0) && to && TakeOptions(options, imx_load_options_init, &taken);
  return RunUsable(isUsable, taken, "bytes, what is to be filled or struct_size", report, [&] {
    return LoadBytes(bytes, size, {taken, take, to});
  });
}

}  // namespace
}  // namespace imx::api

using imx::api::kDefaultLimit;
using imx::api::RunLoad;
using imx::api::TakeImage;
using imx::api::TakeInfo;

void imx_load_options_init(imx_load_options* options) {
  *options = {};
  options->struct_size = sizeof *options;
  options->max_bytes = kDefaultLimit;
  options->raw_layout = IMX_RAW_BY_NAME;
}

imx_status imx_load_file(const char* path, const imx_load_options* options, imx_image** image,
                         imx_report* report) {
  if (image) *image = nullptr;
  return RunLoad(path, options, TakeImage, image, report);
}

imx_status imx_load_memory(const void* bytes, size_t size, const imx_load_options* options,
                           imx_image** image, imx_report* report) {
  if (image) *image = nullptr;
  return RunLoad(bytes, size, options, TakeImage, image, report);
}

imx_status imx_probe_file(const char* path, const imx_load_options* options, imx_info* info,
                          imx_report* report) {
  return RunLoad(path, options, TakeInfo, info, report);
}

imx_status imx_probe_memory(const void* bytes, size_t size, const imx_load_options* options,
                            imx_info* info, imx_report* report) {
  return RunLoad(bytes, size, options, TakeInfo, info, report);
}

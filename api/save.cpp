#include <cstdio>
#include <cstdlib>
#include <memory>

#include "api/call.h"
#include "dispatch/safe_save.h"
#include "dispatch/save_choices.h"
#include "formats/codec_state.h"
#include "imagelib/open_file.h"
#include "imagelib/quirks.h"
#include "imagelib/registry.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"
#include "imagelib/text.h"
#include "render/render.h"

namespace imx::api {
namespace {

bool IsFlag(std::int32_t value) {
  return value == 0 || value == 1;
}

bool IsPaletteSource(std::int32_t value) {
  return value == IMX_PALETTE_FIXED || value == IMX_PALETTE_GREY || value == IMX_PALETTE_BUILT ||
         value == IMX_PALETTE_OWN;
}

/// What is wrong with the options; null when nothing is.
const char* WrongOption(const imx_save_options& options) {
  if (!IsFlag(options.compress)) return "compress";
  if (!IsFlag(options.interlace)) return "interlace";
  if (!IsFlag(options.ordered)) return "ordered";
  if (!IsFlag(options.durable)) return "durable";
  if (options.quality < 0 || options.quality > 100) return "quality";
  if (options.strength < 0 || options.strength > 100) return "strength";
  if (!IsPaletteSource(options.palette_source)) return "palette_source";
  if (options.palette_bits < 0 || options.palette_bits > 8) return "palette_bits";
  return nullptr;
}

/// Tells the savers what is wanted. IMX_OK, or what is wrong with it.
Outcome Choose(const imx_save_options& options, const char* path, ImageRecord& image) {
  if (const char* wrong = WrongOption(options)) return BadArgument(wrong);
  const std::string_view ending = PathExtension(path);
  const std::string type =
      options.type ? options.type : std::string(ending.substr(ending.empty() ? 0 : 1));
  const std::int32_t row = TypeRowByExtension(type.c_str());
  if (row < 0) return {IMX_NOT_KNOWN, "'" + type + "' is no known type"};
  if (!TypeCanSave(row)) return {IMX_NOT_KNOWN, type + " files cannot be saved"};
  const std::int32_t depth =
      options.depth ? DepthChoice(row, options.depth) : DefaultDepthChoice(row, image);
  if (depth == kNoDepthChoice) return BadArgument("the type has no such depth");
  image.saveType = row;
  image.saveDepth = depth;
  ResetCodecState();
  ResetRenderer();
  Output().compression = options.compress;
  Output().interlace = options.interlace;
  Output().quality = options.quality;
  Rendering() = {options.palette_bits ? options.palette_bits : PaletteBits(row, depth),
                 options.palette_source, options.ordered, options.strength};
  return {};
}

/// Saves as chosen through `save`.
template <typename Save>
Outcome SaveChosen(const imx_save_options& options, const char* path, ImageRecord& image,
                   Save&& save) {
  Outcome chosen = Choose(options, path, image);
  if (chosen.status != IMX_OK) return chosen;
  const std::optional<QuirkSet> quirks = QuirksNamed(options.quirks ? options.quirks : "");
  if (!quirks) return BadArgument("quirks names one that is not known");
  const QuirkScope scope(*quirks);
  const SaveResult result = save();
  if (result.saved) {
    TellLostTexts(image);
    if (const std::string errors = Errors(); !errors.empty()) AddNote(errors);
    return {};
  }
  if (IsStopped()) return {IMX_STOPPED, "stopped"};
  const std::string why = result.reason.empty() ? Errors() : result.reason;
  return {IMX_SAVE_FAILED, why.empty() ? "could not be saved" : why};
}

struct Freer {
  void operator()(void* bytes) const { std::free(bytes); }
};

/// Everything that the stream holds, from its start.
Outcome TakeBytes(std::FILE* stream, void** bytes, std::size_t* size) {
  const long length = std::fseek(stream, 0, SEEK_END) == 0 ? std::ftell(stream) : -1;
  if (length < 0) return {IMX_SAVE_FAILED, SystemErrorText()};
  const auto wanted = static_cast<std::size_t>(length);
  std::unique_ptr<void, Freer> taken(std::malloc(wanted + 1));
  if (!taken) throw std::bad_alloc();
  std::rewind(stream);
  if (std::fread(taken.get(), 1, wanted, stream) != wanted) {
    return {IMX_SAVE_FAILED, SystemErrorText()};
  }
  *bytes = taken.release();
  *size = wanted;
  return {};
}

Outcome SaveBytes(const imx_save_options& options, ImageRecord& image, void** bytes,
                  std::size_t* size) {
  const TemporaryFile file{std::string()};
  if (!file.ok()) return {IMX_SAVE_FAILED, file.reason()};
  const OpenFile stream(std::fopen(file.path().c_str(), "w+b"));
  if (!stream) return {IMX_SAVE_FAILED, SystemErrorText()};
  const Outcome saved =
      SaveChosen(options, "", image, [&] { return SaveImageToStream(stream.get(), &image); });
  return saved.status == IMX_OK ? TakeBytes(stream.get(), bytes, size) : saved;
}

}  // namespace
}  // namespace imx::api

using imx::api::RunUsable;
using imx::api::SaveBytes;
using imx::api::SaveChosen;
using imx::api::TakeOptions;

void imx_save_options_init(imx_save_options* options) {
  *options = {};
  options->struct_size = sizeof *options;
  options->compress = 1;
  options->quality = 100;
  options->palette_source = IMX_PALETTE_BUILT;
  options->strength = 100;
  options->durable = 1;
}

imx_status imx_save_file(imx_image* image, const char* path, const imx_save_options* options,
                         imx_report* report) {
  imx_save_options taken;
  const bool isUsable = image && path && TakeOptions(options, imx_save_options_init, &taken);
  return RunUsable(isUsable, taken, "image, path or struct_size", report, [&] {
    imx::ImageRecord& record = *image->record;
    return SaveChosen(taken, path, record, [&] {
      return imx::SaveImageSafely(path, &record, {taken.durable != 0, true});
    });
  });
}

imx_status imx_save_memory(imx_image* image, const imx_save_options* options, void** bytes,
                           size_t* size, imx_report* report) {
  imx_save_options taken;
  const bool isUsable =
      image && bytes && size && TakeOptions(options, imx_save_options_init, &taken) && taken.type;
  if (bytes) *bytes = nullptr;
  if (size) *size = 0;
  return RunUsable(isUsable, taken, "image, bytes, size, struct_size or type", report,
                   [&] { return SaveBytes(taken, *image->record, bytes, size); });
}

void imx_bytes_free(void* bytes) {
  std::free(bytes);
}

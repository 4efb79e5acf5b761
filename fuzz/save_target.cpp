// A picture, operations on it, and a save of any type, depth and options, maybe with an accident;
// what is loaded again is what the format keeps of the picture.

#include <algorithm>
#include <optional>

#include "dispatch/load.h"
#include "dispatch/save.h"
#include "formats/codec_state.h"
#include "formats/indexed.h"
#include "formats/raw.h"
#include "fuzz/targets.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "ops/operations.h"
#include "tests/support/fault_injection.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

ImageGuard AnyPicture(Input& input) {
  const int kind = input.Choice(6);
  int width = 1 + input.Choice(48);
  int height = 1 + input.Choice(48);
  if (kind == 5) (input.Bit() ? width : height) = 1 + input.Choice(2000);
  switch (kind) {
    case 0:
      return PhotoLike(width, height, input.Word());
    case 1:
      return Drawing(width, height);
    case 2:
      return AlphaGradient(width, height);
    case 3:
      return Solid(width, height, {input.Byte(), input.Byte(), input.Byte(), input.Byte()});
    default:
      break;
  }
  // The same few bytes again and again make every kind of run.
  const Bytes cycle = input.Before(0xFE);
  ImageGuard image = Solid(width, height, {0, 0, 0, input.Byte()});
  for (std::uint32_t i = 0; i < 4 * image->pixelCount && !cycle.empty(); ++i) {
    if (kind == 4 || i % 4 != 3) image->pixels[i] = cycle[i % cycle.size()];
  }
  return image;
}

/// A step on a region of the picture; one that is not possible leaves it as it is.
void Operate(Input& input, ImageGuard* image) {
  ClipRegion region = {};
  for (std::int32_t* edge : {&region.left, &region.top, &region.right, &region.bottom}) {
    *edge = input.Byte() - 32;
  }
  const int operation = input.Choice(5);
  const float factor = input.Bit() ? input.Float() : static_cast<float>(input.Byte()) / 32;
  NewImage made;
  if (operation == 0) made = Clipped(**image, region);
  if (operation == 1) made = Rescaled(**image, region, factor);
  if (operation == 2) made = Resampled(**image, region, factor);
  if (operation == 3) CorrectGamma(**image, factor);
  if (operation == 4) MergeInto(**image, region, *AnyPicture(input));
  if (made) *image = std::move(made.image);
  RequireSound(image->get());
}

void ChooseOptions(Input& input, ImageRecord& image) {
  image.saveType = input.Choice(kRegistryRows);
  image.saveDepth = input.Choice(std::max(1, DepthChoiceCount(image.saveType)));
  if (input.Bit()) image.flags ^= kFlagAlpha;
  Output() = {
      .compression = input.Choice(2), .quality = input.Choice(101), .interlace = input.Choice(2)};
  Rendering() = {.renderBits = 1 + input.Choice(8),
                 .renderMode = input.Choice(5),
                 .renderOrdered = input.Choice(2),
                 .renderStrength = input.Choice(101)};
  const Bytes text = input.Before(0);
  for (TextField* field : {&image.author, &image.comment, &image.notice}) {
    CopyTextCut(*field, {reinterpret_cast<const char*>(text.data()), text.size()});
  }
}

void MapPixels(ImageRecord& image, const std::function<Rgba(std::uint32_t i, Rgba)>& map) {
  for (std::uint32_t i = 0; i < image.pixelCount; ++i) {
    const std::int32_t x = static_cast<std::int32_t>(i) % image.width;
    const std::int32_t y = static_cast<std::int32_t>(i) / image.width;
    SetPixel(image, x, y, map(i, PixelAt(image, x, y)));
  }
}

/// The picture in the colours of a palette; the renderer starts afresh as it did for the save.
void Reduce(ImageRecord& image, FileType type, int bits) {
  const bool anyDepth = type == kTypeBmp || type == kTypePcx;
  IndexedImage indexed;
  ResetRenderer();
  Require(RenderIndexed(image, RenderCodeForDepth(anyDepth ? bits : 8), &indexed), "no render");
  MapPixels(image, [&](std::uint32_t i, Rgba) {
    const unsigned index = indexed.indices[i] & ((1u << bits) - 1);
    return Rgba{indexed.palette.red[index], indexed.palette.green[index],
                indexed.palette.blue[index], 0};
  });
}

/// Leaves in `image` what a file of that type and depth keeps of it.
void KeepWhatIsSaved(ImageRecord& image, FileType type, int bits) {
  const auto keep = [&image](auto map) {
    MapPixels(image, [map](std::uint32_t, Rgba p) { return map(p); });
  };
  const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
  switch (type) {
    case kTypeRawRed:
      return keep([](Rgba p) { return Rgba{p.r, 0, 0, 0}; });
    case kTypeRawGreen:
      return keep([](Rgba p) { return Rgba{0, p.g, 0, 0}; });
    case kTypeRawBlue:
      return keep([](Rgba p) { return Rgba{0, 0, p.b, 0}; });
    case kTypeRawGrey:
      return keep([](Rgba p) { return Rgba{p.r, p.r, p.r, 0}; });
    case kTypeSgi:
      if (bits != 8) return;
      return keep([byte](Rgba p) {
        const std::uint8_t grey = byte((p.r + p.g + p.b) / 3);
        return Rgba{grey, grey, grey, 0};
      });
    default:
      if (bits <= 8) Reduce(image, type, bits);
  }
}

bool KeepsAlpha(const ImageRecord& image, FileType type, int bits) {
  if (type == kTypePng) return bits == 32;
  const bool inAnyDepth = type == kTypeTrim || type == kTypeSoftimage || type == kTypeRla;
  return (image.flags & kFlagAlpha) != 0 && (bits == 32 ? type != kTypeTiff : inAnyDepth);
}

/// Stop, memory that runs out, or a full disk, at some step. None in half of the runs.
struct Accident {
  std::optional<AllocationFailure> allocation;
  std::optional<WriteFailure> write;
  bool any;

  explicit Accident(Run& run) {
    const int kind = run.input.Choice(6);
    const int step = run.input.Byte();
    any = kind < 3;
    if (kind == 0) run.host.stopAt = step;
    if (kind == 1) allocation.emplace(step);
    if (kind == 2) write.emplace(step);
  }
};

/// By its name alone where it has no header: its first pixels can be those of another type's.
LoadResult LoadAgain(const char* path, FileType type, const ImageRecord& image) {
  if (type < kTypeRawRgb || type > kTypeRawGrey) return Load(path, {});
  LoadResult result;
  result.image.reset(LoadRaw(path, RawKindByName(path), image.width, image.height));
  return result;
}

}  // namespace

void FuzzSaving(Run& run) {
  SetImageCeiling(4 << 20);  // a framestore's size is its own
  Input& input = run.input;
  ImageGuard image = AnyPicture(input);
  for (int steps = input.Choice(4); steps > 0; --steps) Operate(input, &image);
  ChooseOptions(input, *image);
  const std::int32_t row = image->saveType;
  const auto type = static_cast<FileType>(Registry(row).type);
  const std::string path = run.temp.file(std::string("out.") + TypeExtension(row));
  const RenderSettings settings = Rendering();
  ResetRenderer();
  BeginSaveOutcome();
  bool accident = false;
  {
    const Accident one(run);
    accident = one.any;
    SaveImage(path.c_str(), image.get());
    run.host.stopAt = HostRecord::kNever;
  }
  if (TypeCanSave(row)) {
    Require(accident || GetSaveOutcome() == SaveOutcome::whole, "not saved without an accident");
  }
  if (GetSaveOutcome() != SaveOutcome::whole || type == kTypeFramestore) return;

  const LoadResult result = LoadAgain(path.c_str(), type, *image);
  const ImageGuard& loaded = result.image;
  RequireSound(loaded.get());
  Require(static_cast<bool>(loaded), path + " cannot be loaded again: " + result.reason);
  const int bits = Output().depthBits;
  const bool size = type == kTypeJpeg || (accident && bits <= 8);
  Require(loaded->width == image->width && loaded->height == image->height, "another size");
  if (size) return;
  const bool alpha = KeepsAlpha(*image, type, bits);
  Rendering() = settings;
  KeepWhatIsSaved(*image, type, bits);
  Require(Difference(*image, *loaded, alpha ? Channels::rgba : Channels::rgb).empty(),
          Difference(*image, *loaded, alpha ? Channels::rgba : Channels::rgb));
}

}  // namespace imx::test

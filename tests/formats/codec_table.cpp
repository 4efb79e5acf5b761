#include "tests/formats/codec_table.h"

#include <filesystem>

#include "formats/alias.h"
#include "formats/avi.h"
#include "formats/bmp.h"
#include "formats/codec_state.h"
#include "formats/dem.h"
#include "formats/flic.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "formats/psd.h"
#include "formats/raw.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "tests/formats/codec_calls.h"
#include "tests/formats/png_builder.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

template <int depth, int interlace>
void SavePngAt(const ImageRecord& image, const char* path) {
  Output().depthBits = depth;
  SavePng(&image, path, interlace);
}

/// Nothing in the file tells its layout, so the one that was saved last is read.
ImageRecord* LoadRawAsSaved(const char* path) {
  constexpr std::int32_t kSide = 5;
  const RawState& raw = Raw();
  if (std::filesystem::is_directory(path)) return nullptr;  // hosts look before they ask
  return raw.kind < 0 ? LoadRaw(path, kRawGbr, kSide, kSide)
                      : LoadRaw(path, raw.kind, raw.width, raw.height);
}

template <RawKind kind>
void SaveRawAs(const ImageRecord& image, const char* path) {
  Raw() = {.kind = kind, .width = image.width, .height = image.height};
  SaveRaw(&image, path, kind);
}

ImageRecord* LoadLastFlicFrame(const char* path) {
  Sequence().chosenFrame = 99;
  return LoadFlic(path);
}

ImageRecord* LoadSecondGifFrame(const char* path) {
  Sequence().chosenFrame = 1;
  return LoadPath<LoadGif>(path);
}

/// The frames of AVI files, once the system has decoded them.
ImageRecord* LoadPackedBitmap(const char* path) {
  return ImageFromPackedBitmap(ReadFile(path));
}

ImageRecord* LoadDemNamed(const char* path) {
  return LoadDem(path, "elevations");
}

}  // namespace

const std::vector<Codec>& Codecs() {
  static const std::vector<Codec> table = {
      {.name = "pix", .load = LoadAlias, .savings = {{"24", SaveWith<SaveAlias>, Kept::rgb}}},
      {.name = "bmp",
       .load = LoadPath<LoadBmp>,
       .savings = {{"24", SaveWith<SaveBmp, 24>, Kept::rgb},
                   {"32", SaveWith<SaveBmp, 32>, Kept::flagged},
                   {"8", SaveWith<SaveBmp, 8>, Kept::size},
                   {"4", SaveWith<SaveBmp, 4>, Kept::size},
                   {"1", SaveWith<SaveBmp, 1>, Kept::size}}},
      {.name = "dem", .load = LoadDemNamed},
      {.name = "flic", .load = LoadLastFlicFrame},
      {.name = "gif",
       .load = LoadSecondGifFrame,
       .savings = {{"plain", SaveWith<SaveGif, 0>, Kept::size},
                   {"interlaced", SaveWith<SaveGif, 1>, Kept::size}}},
      {.name = "iff",
       .load = LoadPath<LoadIff>,
       .savings = {{"plain", SaveWith<SaveIff, 0, 0>, Kept::rgb},
                   {"packed", SaveWith<SaveIff, 0, 1>, Kept::rgb}}},
      {.name = "dib", .load = LoadPackedBitmap, .isFile = false},
      {.name = "pcx",
       .load = LoadPath<LoadPcx>,
       .savings = {{"24", SaveWith<SavePcx, 24>, Kept::rgb},
                   {"8", SaveWith<SavePcx, 8>, Kept::size},
                   {"4", SaveWith<SavePcx, 4>, Kept::size},
                   {"1", SaveWith<SavePcx, 1>, Kept::size}}},
      {.name = "png",
       .load = LoadPng,
       .savings = {{"24", SavePngAt<24, 0>, Kept::rgb},
                   {"32", SavePngAt<32, 0>, Kept::rgba},
                   {"24-interlaced", SavePngAt<24, 1>, Kept::rgb},
                   {"32-interlaced", SavePngAt<32, 1>, Kept::rgba},
                   {"palette", SavePngAt<8, 0>, Kept::size}},
       .repair = RepairPng},
      {.name = "ppm",
       .load = LoadPpm,
       .savings = {{"binary", SaveWith<SavePpm, 1>, Kept::rgb},
                   {"text", SaveWith<SavePpm, 0>, Kept::rgb}}},
      {.name = "psd", .load = LoadPsd},
      {.name = "raw",
       .load = LoadRawAsSaved,
       .savings = {{"grey", SaveRawAs<kRawGrey>, Kept::size},
                   {"blue", SaveRawAs<kRawBlue>, Kept::size},
                   {"rgb", SaveRawAs<kRawRgb>, Kept::rgb}}},
      {.name = "sgi",
       .load = LoadSgi,
       .savings = {{"24", SaveWith<SaveSgi, 24, 0>, Kept::rgb},
                   {"24-packed", SaveWith<SaveSgi, 24, 1>, Kept::rgb},
                   {"32", SaveWith<SaveSgi, 32, 0>, Kept::flagged},
                   {"32-packed", SaveWith<SaveSgi, 32, 1>, Kept::flagged},
                   {"grey", SaveWith<SaveSgi, 8, 0>, Kept::size},
                   {"grey-packed", SaveWith<SaveSgi, 8, 1>, Kept::size}}},
      {.name = "pic",
       .load = LoadSoftimage,
       .savings = {{"plain", SaveWith<SaveSoftimage>, Kept::flagged}}},
      {.name = "tga",
       .load = LoadPath<LoadTarga>,
       .savings = {{"24", SaveWith<SaveTarga, 24, 0>, Kept::rgb},
                   {"24-packed", SaveWith<SaveTarga, 24, 1>, Kept::rgb},
                   {"32", SaveWith<SaveTarga, 32, 0>, Kept::flagged},
                   {"32-packed", SaveWith<SaveTarga, 32, 1>, Kept::flagged}}},
      {.name = "trm",
       .load = LoadPath<LoadIff>,
       .savings = {{"trim", SaveWith<SaveIff, 1, 1>, Kept::flagged}}},
      {.name = "rla",
       .load = LoadWavefront,
       .savings = {{"literals", SaveWith<SaveWavefront>, Kept::flagged}}},
  };
  return table;
}

const Codec* FindCodec(std::string_view name) {
  for (const Codec& codec : Codecs()) {
    if (codec.name == name) return &codec;
  }
  return nullptr;
}

}  // namespace imx::test

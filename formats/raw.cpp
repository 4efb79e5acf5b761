#include "formats/raw.h"

#include <algorithm>
#include <string>

#include "formats/codec_state.h"
#include "formats/pixel_rows.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// Extensions of the three files that hold one channel each.
struct ChannelExtensions {
  const char* extension[3];
};

enum ChannelSet : std::int32_t { kNoSet = -1, kLongSet = 0, kLetterSet = 1, kShortSet = 2 };

constexpr ChannelExtensions kChannelSets[] = {
    {{".red", ".grn", ".blu"}}, {{".r", ".g", ".b"}}, {{".rd", ".gr", ".bl"}}};

struct KnownExtension {
  const char* extension;
  RawKind kind;
  ChannelSet channels;  // kNoSet: the set stays as it is
};

constexpr KnownExtension kKnown[] = {
    {".rd", kRawRed, kShortSet},  {".gr", kRawGreen, kShortSet}, {".bl", kRawBlue, kShortSet},
    {".r", kRawRed, kLetterSet},  {".g", kRawGreen, kLetterSet}, {".b", kRawBlue, kLetterSet},
    {".red", kRawRed, kLongSet},  {".grn", kRawGreen, kLongSet}, {".blu", kRawBlue, kLongSet},
    {".gry", kRawGrey, kLongSet}, {".rgb", kRawRgb, kNoSet},     {".raw", kRawRgb, kNoSet},
    {".rbg", kRawRbg, kNoSet},    {".gbr", kRawGbr, kNoSet},     {".grb", kRawGrb, kNoSet},
    {".bgr", kRawBgr, kNoSet},    {".brg", kRawBrg, kNoSet},
};

/// Channel (0 red, 1 green, 2 blue) of each of a triple's three bytes.
constexpr std::uint8_t kTripleOrder[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0},
                                            {1, 0, 2}, {2, 1, 0}, {2, 0, 1}};

void TriplesToPixels(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count,
                     const std::uint8_t (&order)[3]) {
  for (std::size_t i = 0; i < count; ++i, packed += 3, pixels += 4) {
    for (std::size_t k = 0; k < 3; ++k) pixels[order[k]] = packed[k];
  }
}

/// Stores `count` whole pixels of a row that was read.
void ConvertRow(std::int32_t kind, const std::uint8_t* packed, std::uint8_t* pixels,
                std::size_t count) {
  switch (kind) {
    case kRawGrey:
      return RowFromGrey(packed, pixels, count);
    case kRawRed:
    case kRawGreen:
    case kRawBlue:
      for (std::size_t i = 0; i < count; ++i)
        pixels[4 * i + static_cast<std::size_t>(kind) - 1] = packed[i];
      return;
    case kRawRgb:
      return RowFromRgb(packed, pixels, count);
    case kRawBgr:
      return RowFromBgr(packed, pixels, count);
    default:
      return TriplesToPixels(packed, pixels, count, kTripleOrder[kind - kRawRgb]);
  }
}

/// Reads rows until the first short one.
void ReadRows(FileReader& in, std::int32_t kind, ImageRecord* image, TrackedBytes& row) {
  const std::size_t pixelBytes = kind >= kRawRgb ? 3 : 1;
  ForEachRow(image->height, 1, [&](std::int32_t y) {
    const std::size_t got = in.Read(row.data(), row.size());
    ConvertRow(kind, row.data(), PixelRow(*image, y), got / pixelBytes);
    if (got < row.size()) NoteFileEndedEarly();
    return got == row.size();
  });
}

/// The three channel files side by side; pixels that the shortest one lacks stay as they are.
void ReadChannelRows(FileReader* (&files)[3], ImageRecord* image, TrackedBytes& rows) {
  const auto width = static_cast<std::size_t>(image->width);
  ForEachRow(image->height, 1, [&](std::int32_t y) {
    std::size_t count = width;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      count = std::min(count, files[channel]->Read(rows.data() + channel * width, width));
    }
    const std::uint8_t* from = rows.data();
    std::uint8_t* pixels = PixelRow(*image, y);
    for (std::size_t i = 0; i < count; ++i, ++from, pixels += 4) {
      pixels[0] = from[0];
      pixels[1] = from[width];
      pixels[2] = from[2 * width];
    }
    if (count < width) NoteFileEndedEarly();
    return count == width;
  });
}

const KnownExtension* FindExtension(const char* path) {
  const std::string_view extension = PathExtension(path);
  for (const KnownExtension& known : kKnown) {
    if (EqualNoCase(extension, known.extension)) return &known;
  }
  return nullptr;
}

/// The set that was chosen, else the one that the named file belongs to.
const ChannelExtensions& ExtensionsOf(const char* path) {
  std::int32_t set = Raw().channelSet;
  const KnownExtension* const known = FindExtension(path);
  if (set == kNoSet && known) set = known->channels;
  return kChannelSets[set == kNoSet ? kLongSet : set];
}

std::string ChannelPath(const char* path, std::size_t channel) {
  const std::string whole = path;
  return whole.substr(0, whole.size() - PathExtension(whole).size()) +
         ExtensionsOf(path).extension[channel];
}

ImageRecord* LoadThreeFiles(const char* path, ImageGuard image) {
  FileReader red(ChannelPath(path, 0).c_str());
  FileReader green(ChannelPath(path, 1).c_str());
  FileReader blue(ChannelPath(path, 2).c_str());
  if (!red.ok() || !green.ok() || !blue.ok()) return nullptr;
  TrackedBytes rows(std::uint64_t{3} * static_cast<std::uint32_t>(image->width), "allocptr");
  if (!rows) return nullptr;
  ProgressScope progress("Reading RAW Image", image->height, 1);
  FileReader* files[3] = {&red, &green, &blue};
  ReadChannelRows(files, image.get(), rows);
  return image.release();
}

/// Packs a row for writing. Grey is written as red * 3 / 3, which is red.
void PackRow(std::int32_t kind, const std::uint8_t* pixels, std::uint8_t* packed,
             std::size_t count) {
  if (kind == kRawRgb) return RowToRgb(pixels, packed, count);
  const std::size_t channel = kind == kRawGrey ? 0 : static_cast<std::size_t>(kind - kRawRed);
  for (std::size_t i = 0; i < count; ++i) packed[i] = pixels[4 * i + channel];
}

}  // namespace

std::int32_t RawKindByName(const char* fileName) {
  const KnownExtension* known = FindExtension(fileName);
  return known ? known->kind : -1;
}

std::int32_t GuessRawLayout(const char* fileName) {
  if (Raw().kind >= 0) return 1;
  const KnownExtension* known = FindExtension(fileName);
  if (!known) return 0;
  Raw().kind = known->kind;
  if (known->channels != kNoSet) Raw().channelSet = known->channels;
  return 1;
}

ImageRecord* LoadRaw(const char* path, std::int32_t kind, std::int32_t width, std::int32_t height) {
  if (kind < kRawGrey || kind > kRawThreeFiles) return nullptr;
  ImageGuard image(AllocImage(width, height, "raw", nullptr));
  if (!image) return nullptr;
  image->depth = kind >= kRawRgb ? 24 : 8;
  if (HeaderOnly()) return image.release();
  if (kind == kRawThreeFiles) return LoadThreeFiles(path, std::move(image));
  FileReader in(path);
  if (!in.ok()) return nullptr;
  TrackedBytes row(std::uint64_t{kind >= kRawRgb ? 3u : 1u} * static_cast<std::uint32_t>(width),
                   "allocptr");
  if (!row) return nullptr;
  ProgressScope progress("Reading RAW Image", height, 1);
  ReadRows(in, kind, image.get(), row);
  return image.release();
}

std::int32_t SaveRaw(const ImageRecord* image, const char* path, std::int32_t kind) {
  if (kind < kRawGrey || kind > kRawRgb) return 1;
  FileWriter out(path);
  if (!out.ok()) return 1;
  const auto width = static_cast<std::size_t>(image->width);
  TrackedBytes row(std::uint64_t{kind == kRawRgb ? 3u : 1u} * width, "allocptr");
  if (!row) return 1;
  ProgressScope progress("Save RAW Image", image->height, 1);
  const Rows end = ForEachRow(image->height, 1, [&](std::int32_t y) {
    PackRow(kind, PixelRow(*image, y), row.data(), width);
    return out.Write(row.data(), row.size());
  });
  if (end != Rows::done) return 1;
  return out.Finish() ? 0 : 1;
}

}  // namespace imx

#include "imagelib/image.h"

#include <cstdio>
#include <cstring>

#include "imagelib/header_only.h"
#include "imagelib/memory.h"

namespace imx {
namespace {

static_assert(sizeof(Palette) == 3 * kPaletteSize);
static_assert(sizeof(void*) != 4 ||
              (offsetof(ImageRecord, fileType) == 4 && offsetof(ImageRecord, width) == 8 &&
               offsetof(ImageRecord, height) == 12 && offsetof(ImageRecord, depth) == 16 &&
               offsetof(ImageRecord, pixelCount) == 20 && offsetof(ImageRecord, frame) == 24 &&
               offsetof(ImageRecord, magic) == 28 && offsetof(ImageRecord, flags) == 32 &&
               offsetof(ImageRecord, palette) == 36 && offsetof(ImageRecord, paletteCount) == 804 &&
               offsetof(ImageRecord, name) == 808 && offsetof(ImageRecord, path) == 1064 &&
               offsetof(ImageRecord, extension) == 1320 && offsetof(ImageRecord, author) == 1576 &&
               offsetof(ImageRecord, comment) == 1832 &&
               offsetof(ImageRecord, formatLabel) == 2088 &&
               offsetof(ImageRecord, notice) == 2344 && offsetof(ImageRecord, display) == 2600 &&
               offsetof(ImageRecord, rowOffsets) == 2604 &&
               offsetof(ImageRecord, saveType) == 2608 &&
               offsetof(ImageRecord, saveDepth) == 2612 && sizeof(ImageRecord) == 2616));

constexpr std::uint64_t kMostPixelBytes = 0xFFFFFFFFull - 16;

std::int32_t nextGeneratedName = 1;
std::uint64_t ceiling = UINT64_MAX;
std::uint64_t refused = 0;

void NameImage(ImageRecord& image, const char* name) {
  if (name && CopyText(image.name, name)) return;
  std::snprintf(image.name, sizeof image.name, "NEW_%d", nextGeneratedName++);
  image.flags |= kFlagNameGenerated;
}

}  // namespace

void WriteDefaultPalette(Palette& palette) {
  const auto set = [&palette](int index, int r, int g, int b) {
    palette.red[index] = static_cast<std::uint8_t>(r);
    palette.green[index] = static_cast<std::uint8_t>(g);
    palette.blue[index] = static_cast<std::uint8_t>(b);
  };
  for (int r = 0; r < 7; ++r) {
    for (int g = 0; g < 8; ++g) {
      for (int b = 0; b < 4; ++b) {
        set(r * 32 + g * 4 + b, r * 255 / 6, g * 255 / 7, b * 255 / 3);
      }
    }
  }
  for (int k = 0; k <= 20; ++k) set(224 + k, k * 255 / 21, k * 255 / 21, k * 255 / 21);
  for (int i = 245; i < kPaletteSize; ++i) set(i, 255, 255, 255);
}

ImageRecord* AllocImage(std::int32_t width, std::int32_t height, const char* name,
                        const char* path) {
  refused = 0;
  if (width < 1 || height < 1) return nullptr;
  const std::uint64_t bytes =
      std::uint64_t{4} * static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  if (!HeaderOnly() && (bytes > kMostPixelBytes || bytes > ceiling)) {
    refused = bytes;
    return nullptr;
  }
  auto* image = static_cast<ImageRecord*>(AllocMem(1, sizeof(ImageRecord), "allocimage1"));
  if (!image) return nullptr;
  image->height = height;
  image->width = width;
  image->pixelCount = static_cast<std::uint32_t>(bytes / 4);
  NameImage(*image, name);
  if (path) CopyText(image->path, path);
  image->magic = kImageMagic;
  image->fileType = -1;
  image->saveType = -1;
  image->saveDepth = -1;

  WriteDefaultPalette(image->palette);
  image->paletteCount = kPaletteSize;
  if (HeaderOnly()) return image;

  const auto rows = static_cast<std::uint32_t>(height);
  image->rowOffsets = static_cast<std::int32_t*>(AllocMem(4 * rows, 1, "allocimage2"));
  if (image->rowOffsets) {
    for (std::int32_t r = 0; r < height; ++r) image->rowOffsets[r] = r * width;
    image->pixels = static_cast<std::uint8_t*>(AllocMem(image->pixelCount, 4, "allocimage3"));
  }
  if (!image->pixels) {
    FreeImage(image);
    return nullptr;
  }
  return image;
}

bool IsValidImage(const ImageRecord* image) {
  // A stale pointer must not be followed: the magic behind it is anybody's memory by now.
  return LiveBlockSize(image) == sizeof(ImageRecord) && image->magic == kImageMagic;
}

std::int32_t FreeImage(ImageRecord* image) {
  if (!IsValidImage(image)) return 1;
  if (image->pixels) FreeMem(image->pixels);
  if (image->rowOffsets) FreeMem(image->rowOffsets);
  image->pixels = nullptr;
  image->rowOffsets = nullptr;
  image->magic = 0;
  FreeMem(image);
  return 0;
}

bool IsGrey(const ImageRecord& image) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* row = PixelRow(image, y);
    unsigned difference = 0;
    for (std::int32_t x = 0; x < image.width; ++x, row += 4) {
      difference |= static_cast<unsigned>(row[0] ^ row[1]) | static_cast<unsigned>(row[1] ^ row[2]);
    }
    if (difference != 0) return false;
  }
  return true;
}

void SetImageCeiling(std::uint64_t bytes) {
  ceiling = bytes;
  refused = 0;
}

std::uint64_t ImageCeiling() {
  return ceiling;
}

std::uint64_t RefusedImageBytes() {
  return refused;
}

}  // namespace imx

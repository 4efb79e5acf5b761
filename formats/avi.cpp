#include "formats/avi.h"

#include <algorithm>
#include <memory>

#include "formats/avi_source.h"
#include "formats/bit_masks.h"
#include "formats/codec_state.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::size_t kInfoSize = 40;
constexpr std::size_t kMasksSize = 12;
constexpr std::uint32_t kBitFields = 3;  // a compression: the pixels lie as masks say
constexpr std::size_t kTableEntry = 4;   // blue, green, red, reserved
// Stop requests are seen on every row but those that this divides.
constexpr std::int32_t kUncheckedRows = 4;

struct StreamCloser {
  void operator()(AviStream* stream) const { CloseAviStream(stream); }
};
using StreamGuard = std::unique_ptr<AviStream, StreamCloser>;

struct BitmapInfo {
  std::uint32_t size;
  std::int32_t width, height;
  std::uint16_t planes, bits;
  std::uint32_t compression, coloursUsed;
  bool topDown = false;
  BitMasks masks;  // of frames that the library has no way for; else none

  explicit BitmapInfo(const std::uint8_t* p)
      : size(Long(p)),
        width(static_cast<std::int32_t>(Long(p + 4))),
        height(static_cast<std::int32_t>(Long(p + 8))),
        planes(LoadU16(p + 12, ByteOrder::little)),
        bits(LoadU16(p + 14, ByteOrder::little)),
        compression(Long(p + 16)),
        coloursUsed(Long(p + 32)) {}

  std::uint64_t RowBytes() const {
    return (std::uint64_t{bits} * static_cast<std::uint32_t>(width) + 31) / 32 * 4;
  }
  static std::uint32_t Long(const std::uint8_t* p) { return LoadU32(p, ByteOrder::little); }
};

void RowFrom555(const std::uint8_t* in, std::uint8_t* pixels, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x, in += 2, pixels += 4) {
    const unsigned word = LoadU16(in, ByteOrder::little);
    pixels[0] = static_cast<std::uint8_t>((word >> 10 & 31) * 8);
    pixels[1] = static_cast<std::uint8_t>((word >> 5 & 31) * 8);
    pixels[2] = static_cast<std::uint8_t>((word & 31) * 8);
  }
}

void ConvertRow(const BitmapInfo& info, const PixelTable& table, const std::uint8_t* in,
                std::uint8_t* pixels) {
  const auto width = static_cast<std::size_t>(info.width);
  if (info.masks != BitMasks{}) return RowFromMasks(in, info.bits / 8u, info.masks, pixels, width);
  switch (info.bits) {
    case 8:
      return RowFromIndices(in, table, pixels, width);
    case 16:
      return RowFrom555(in, pixels, info.width);
    case 24:
      return RowFromBgr(in, pixels, width);
    default:
      return;
  }
}

/// Other programs' frames: with the top row first, of 32 bits, and with bit masks. The masks stand
/// in a long header or behind a short one; answers how many bytes they take there.
std::size_t AskQuirks(std::span<const std::uint8_t> bitmap, BitmapInfo* info) {
  if (info->height < 0 && info->height > INT32_MIN && Quirk(kAviTopDown)) {
    info->height = -info->height;
    info->topDown = true;
  }
  if (info->bits != 16 && info->bits != 32) return 0;
  const bool stated = info->compression == kBitFields && bitmap.size() >= kInfoSize + kMasksSize;
  if ((info->bits == 16 && !stated) || !QuirkShown(kAviDeepPixels)) return 0;
  info->masks = {0xFF0000, 0xFF00, 0xFF, 0};
  if (!stated) return 0;
  const std::uint8_t* masks = &bitmap[kInfoSize];
  info->masks = {BitmapInfo::Long(masks), BitmapInfo::Long(masks + 4), BitmapInfo::Long(masks + 8),
                 0};
  return info->size < kInfoSize + kMasksSize ? kMasksSize : 0;
}

/// Takes the colours of an 8-bit frame into the record's palette, and answers how many bytes they
/// take.
std::size_t TakeColours(const BitmapInfo& info, std::span<const std::uint8_t> bytes,
                        Palette* palette) {
  if (info.bits != 8) return 0;
  const std::size_t stated = std::min<std::size_t>(info.coloursUsed, bytes.size() / kTableEntry);
  const std::size_t count = std::min<std::size_t>(stated, kPaletteSize);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* entry = &bytes[i * kTableEntry];
    palette->red[i] = entry[2];
    palette->green[i] = entry[1];
    palette->blue[i] = entry[0];
  }
  return stated * kTableEntry;
}

PixelTable TableFrom(const Palette& palette) {
  PixelTable table;
  for (std::size_t i = 0; i < kPaletteSize; ++i) {
    table.Set(i, palette.red[i], palette.green[i], palette.blue[i]);
  }
  return table;
}

}  // namespace

ImageRecord* ImageFromPackedBitmap(std::span<const std::uint8_t> bitmap) {
  if (bitmap.size() < kInfoSize) return nullptr;
  BitmapInfo info(bitmap.data());
  if (info.size < kInfoSize || info.size > bitmap.size()) return nullptr;
  const std::size_t maskBytes = AskQuirks(bitmap, &info);
  if (maskBytes > bitmap.size() - info.size) return nullptr;
  ImageGuard image(AllocImage(info.width, info.height, "avi", nullptr));
  if (!image) return nullptr;
  image->depth = std::uint32_t{info.planes} * info.bits;
  std::span<const std::uint8_t> rest = bitmap.subspan(info.size + maskBytes);
  rest = rest.subspan(TakeColours(info, rest, &image->palette));
  if (HeaderOnly()) return image.release();
  const PixelTable table = TableFrom(image->palette);
  const std::uint64_t rowBytes = info.RowBytes();
  ProgressScope progress("Reading AVI", info.height, 5);
  for (std::int32_t y = info.height - 1; y >= 0 && rest.size() >= rowBytes; --y) {
    if (y % kUncheckedRows != 0 && ProgressUpdateAbort(info.height - 1 - y) != 0) break;
    const std::int32_t row = info.topDown ? info.height - 1 - y : y;
    ConvertRow(info, table, rest.data(), PixelRow(*image, row));
    rest = rest.subspan(static_cast<std::size_t>(rowBytes));
  }
  return image.release();
}

ImageRecord* LoadAviFrame(const char* path) {
  if (!AviIsAvailable()) {
    LibError("AVI files cannot be read here: no video decoder is available");
    return nullptr;
  }
  AviInfo info;
  const StreamGuard stream(OpenAviStream(path, &info));
  if (!stream) return nullptr;
  SequenceState& sequence = Sequence();
  sequence.frameCount = info.frames;
  if (sequence.chosenFrame < 0) {
    sequence.frameWanted = true;
    return nullptr;
  }
  ImageRecord* image = ImageFromPackedBitmap(AviFrame(stream.get(), sequence.chosenFrame));
  if (!image) return nullptr;
  CopyText(image->formatLabel, "AVI");
  image->frame = sequence.chosenFrame + 1;
  if (info.name[0] != 0) CopyText(image->comment, info.name);
  return image;
}

}  // namespace imx

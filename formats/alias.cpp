#include "formats/alias.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::size_t kHeaderSize = 10;
constexpr std::size_t kBitsOffset = 8;
constexpr std::uint16_t kColourBits = 24, kMatteBits = 8;
constexpr std::uint8_t kMatteGrey = 136;
constexpr std::size_t kLongestRun = 254;

struct AliasHeader {
  std::uint16_t width = 0, height = 0, xOffset = 0, yOffset = 0, bits = kColourBits;

  bool IsMatte() const { return bits == kMatteBits; }
  bool IsKnown() const { return bits == kColourBits || bits == kMatteBits; }
};

bool ReadHeader(FileReader& in, AliasHeader* h) {
  SetFileByteOrder(ByteOrder::big);
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  for (std::uint16_t* field : {&h->width, &h->height, &h->xOffset, &h->yOffset, &h->bits}) {
    *field = in.U16();
  }
  return true;
}

/// Decodes packets into pixels[*done..width) until the row is full or no whole packet is left in
/// the view; a run past the row is cut. Bytes used.
template <bool matte>
std::size_t DecodePackets(FileReader::View view, std::size_t width, std::uint8_t* pixels,
                          std::size_t* done) {
  constexpr std::size_t kPacketSize = matte ? 2 : 4;
  std::size_t used = 0;
  std::size_t at = *done;
  for (; at < width && view.size - used >= kPacketSize; used += kPacketSize) {
    const std::uint8_t* packet = view.data + used;
    const std::uint8_t pixel[4] = {matte ? kMatteGrey : packet[1], matte ? kMatteGrey : packet[2],
                                   matte ? kMatteGrey : packet[3],
                                   matte ? packet[1] : std::uint8_t{255}};
    const std::size_t end = at + std::min<std::size_t>(packet[0], width - at);
    for (; at < end; ++at) std::memcpy(pixels + 4 * at, pixel, 4);
  }
  *done = at;
  return used;
}

/// False when the data end within the row.
bool ReadRow(FileReader& in, const AliasHeader& h, std::uint8_t* pixels) {
  constexpr std::size_t kWindow = 8192;
  for (std::size_t done = 0; done < h.width;) {
    const FileReader::View view = in.Peek(kWindow);
    const std::size_t used = h.IsMatte() ? DecodePackets<true>(view, h.width, pixels, &done)
                                         : DecodePackets<false>(view, h.width, pixels, &done);
    if (used == 0) {
      NoteFileEndedEarly();
      return false;
    }
    in.Skip(used);
  }
  return true;
}

/// Packs one row; `out` has room for 4 * width bytes. Alpha does not count. Bytes written.
std::size_t PackRow(const std::uint8_t* pixels, std::size_t width, std::uint8_t* out) {
  const auto same = [pixels](std::size_t a, std::size_t b) {
    return std::memcmp(pixels + 4 * a, pixels + 4 * b, 3) == 0;
  };
  const std::uint8_t* const start = out;
  for (std::size_t at = 0; at < width;) {
    std::size_t run = 1;
    while (run < kLongestRun && at + run < width && same(at, at + run)) ++run;
    *out++ = static_cast<std::uint8_t>(run);
    std::memcpy(out, pixels + 4 * at, 3);
    out += 3;
    at += run;
  }
  return static_cast<std::size_t>(out - start);
}

/// Red and blue change places.
void SwapColours(std::uint8_t* pixels, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x, pixels += 4) std::swap(pixels[0], pixels[2]);
}

/// A matte as a picture of its own.
void ShowMatte(std::uint8_t* pixels, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x, pixels += 4) {
    std::memset(pixels, pixels[3], 3);
    pixels[3] = 255;
  }
}

}  // namespace

bool IsAliasStart(const std::uint8_t* start, std::size_t size) {
  AliasHeader header;
  header.bits = LoadU16(start + kBitsOffset, ByteOrder::big);
  return size >= kHeaderSize && header.IsKnown();
}

std::int32_t IsAlias(const char* path) {
  if (!EndsWithNoCase(path, ".pix")) return 0;
  FileReader in(path);
  std::uint8_t start[kHeaderSize];
  return IsAliasStart(start, in.Read(start, sizeof start)) ? 1 : 0;
}

ImageRecord* LoadAlias(const char* path) {
  const auto fail = [](const char* text) -> ImageRecord* {
    LibError(text);
    return nullptr;
  };
  FileReader in(path);
  if (!in.ok()) return fail("Alias loader: could not open file");
  AliasHeader header;
  if (!ReadHeader(in, &header)) return fail("Alias loader: could not read image header");
  if (!header.IsKnown()) {
    return fail("Alias loader: Unrecognized image depth, not 8 or 24 bits");
  }
  ImageGuard image(AllocImage(header.width, header.height, "Alias", nullptr));
  if (!image) return fail("Alias loader: could not get image memory");
  image->depth = header.bits;
  const bool greyMatte = header.IsMatte() && Quirk(kAliasGreyMatte);
  const bool blueFirst = !header.IsMatte() && Quirk(kAliasBlueFirst);
  if (header.IsMatte() && !greyMatte) image->flags |= kFlagAlpha;
  if (HeaderOnly()) return image.release();
  ProgressScope progress("Loading Alias Image", header.height, 5);
  const Rows end = ForEachRow(header.height, 1, [&](std::int32_t y) {
    std::uint8_t* pixels = PixelRow(*image, y);
    const bool read = ReadRow(in, header, pixels);
    if (read && blueFirst) SwapColours(pixels, header.width);
    if (read && greyMatte) ShowMatte(pixels, header.width);
    return read;
  });
  if (end == Rows::ended) LibError("Alias loader: could not read a scan line");
  return image.release();
}

void SaveAlias(const char* path, const ImageRecord* image) {
  FileWriter out(path);
  if (!out.ok()) return LibError("Alias saver: could not open file");
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    return LibError("Alias saver: at most 65535 x 65535 pixels fit the format");
  }
  SetFileByteOrder(ByteOrder::big);
  out.U16(static_cast<std::uint16_t>(image->width));
  out.U16(static_cast<std::uint16_t>(image->height));
  out.U16(0);
  out.U16(0);
  if (!out.U16(kColourBits)) return LibError("Alias saver: could not write header");
  const auto width = static_cast<std::size_t>(image->width);
  TrackedBytes packed(4 * width, "allocptr");
  if (!packed) return;
  const bool blueFirst = Quirk(kAliasBlueFirst);
  for (std::int32_t y = 0; y < image->height; ++y) {
    const std::size_t size = PackRow(PixelRow(*image, y), width, packed.data());
    if (blueFirst) SwapColours(packed.data() + 1, size / 4);
    if (!out.Write(packed.data(), size)) {
      return LibError("Alias saver: could not write a scan line");
    }
  }
  out.Finish();
}

}  // namespace imx

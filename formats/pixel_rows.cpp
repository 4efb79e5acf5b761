#include "formats/pixel_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "imagelib/image.h"

namespace imx {
namespace {

static_assert(std::endian::native == std::endian::little, "words below are built low byte first");

std::uint32_t Load(const std::uint8_t* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

void Store(std::uint8_t* p, std::uint32_t word) {
  std::memcpy(p, &word, sizeof word);
}

constexpr std::uint32_t kColour = 0x00FFFFFF;

/// Bytes 0 and 2 of a word change places; byte 1 stays, byte 3 becomes 0.
std::uint32_t SwapColour(std::uint32_t w) {
  return (w & 0xFF) << 16 | (w & 0xFF00) | (w >> 16 & 0xFF);
}

/// Three-byte samples to pixels, four at a time from three words.
template <bool swap>
void FromTriples(const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
  const auto put = [&out](std::uint32_t triple) {
    Store(out, swap ? SwapColour(triple) : triple & kColour);
    out += 4;
  };
  for (; count >= 4; count -= 4, in += 12) {
    const std::uint32_t a = Load(in), b = Load(in + 4), c = Load(in + 8);
    put(a);
    put(a >> 24 | b << 8);
    put(b >> 16 | c << 16);
    put(c >> 8);
  }
  for (; count > 0; --count, in += 3) {
    put(std::uint32_t{in[0]} | std::uint32_t{in[1]} << 8 | std::uint32_t{in[2]} << 16);
  }
}

/// Pixels to three-byte samples, four at a time into three words.
template <bool swap>
void ToTriples(const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
  const auto take = [&in] {
    const std::uint32_t w = Load(in);
    in += 4;
    return swap ? SwapColour(w) : w & kColour;
  };
  for (; count >= 4; count -= 4, out += 12) {
    const std::uint32_t a = take(), b = take(), c = take(), d = take();
    Store(out, a | b << 24);
    Store(out + 4, b >> 8 | c << 16);
    Store(out + 8, c >> 16 | d << 8);
  }
  for (; count > 0; --count, out += 3) {
    const std::uint32_t w = take();
    std::memcpy(out, &w, 3);
  }
}

void SwapQuads(const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
  for (; count > 0; --count, in += 4, out += 4) {
    const std::uint32_t w = Load(in);
    Store(out, SwapColour(w) | (w & ~kColour));
  }
}

}  // namespace

void RowFromRgb(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count) {
  FromTriples<false>(packed, pixels, count);
}

void RowFromBgr(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count) {
  FromTriples<true>(packed, pixels, count);
}

void RowFromBgra(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count) {
  SwapQuads(packed, pixels, count);
}

void RowFromGrey(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count) {
  for (; count > 0; --count, ++packed, pixels += 4) Store(pixels, *packed * 0x010101u);
}

void RowToRgb(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count) {
  ToTriples<false>(pixels, packed, count);
}

void RowToBgr(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count) {
  ToTriples<true>(pixels, packed, count);
}

void RowToBgra(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count) {
  SwapQuads(pixels, packed, count);
}

void PixelTable::Set(std::size_t index, std::uint8_t r, std::uint8_t g, std::uint8_t b,
                     std::uint8_t a) {
  pixel[index] =
      std::uint32_t{r} | std::uint32_t{g} << 8 | std::uint32_t{b} << 16 | std::uint32_t{a} << 24;
}

void KeepPalette(const PixelTable& table, std::size_t count, ImageRecord* image) {
  for (std::size_t i = 0; i < count; ++i) {
    std::uint8_t entry[4];
    Store(entry, table.pixel[i]);
    image->palette.red[i] = entry[0];
    image->palette.green[i] = entry[1];
    image->palette.blue[i] = entry[2];
  }
  image->paletteCount = static_cast<std::int32_t>(count);
}

void DivideByAlpha(ImageRecord* image) {
  std::uint8_t* pixel = image->pixels;
  for (std::size_t i = 0; i < image->pixelCount; ++i, pixel += 4) {
    const unsigned alpha = pixel[3];
    for (int c = 0; alpha > 0 && c < 3; ++c) {
      pixel[c] = static_cast<std::uint8_t>(std::min((pixel[c] * 255 + alpha / 2) / alpha, 255u));
    }
  }
}

void RowFromIndices(const std::uint8_t* indices, const PixelTable& table, std::uint8_t* pixels,
                    std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) Store(pixels + 4 * i, table.pixel[indices[i]]);
}

void RowFromBits(const std::uint8_t* bits, const PixelTable& table, std::uint8_t* pixels,
                 std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    Store(pixels + 4 * i, table.pixel[bits[i / 8] >> (7 - i % 8) & 1]);
  }
}

void RowFromPairs(const std::uint8_t* pairs, const PixelTable& table, std::uint8_t* pixels,
                  std::size_t count) {
  for (std::size_t x = 0; x < count; ++x) {
    Store(pixels + 4 * x, table.pixel[pairs[x / 4] >> (6 - 2 * (x % 4)) & 3]);
  }
}

void RowFromNibbles(const std::uint8_t* nibbles, const PixelTable& table, std::uint8_t* pixels,
                    std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    Store(pixels + 4 * i, table.pixel[nibbles[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15]);
  }
}

void PackNibbles(const std::uint8_t* indices, std::uint8_t* nibbles, std::size_t count) {
  for (; count >= 2; count -= 2, indices += 2) {
    *nibbles++ = static_cast<std::uint8_t>(indices[0] << 4 | (indices[1] & 15));
  }
  if (count > 0) *nibbles = static_cast<std::uint8_t>(indices[0] << 4);
}

void PackBits(const std::uint8_t* indices, std::uint8_t* bits, std::size_t count) {
  for (; count > 0; ++bits) {
    const std::size_t part = count < 8 ? count : 8;
    unsigned packed = 0;
    for (std::size_t i = 0; i < part; ++i) packed |= (indices[i] != 0 ? 0x80u : 0u) >> i;
    *bits = static_cast<std::uint8_t>(packed);
    indices += part;
    count -= part;
  }
}

}  // namespace imx

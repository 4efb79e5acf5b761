#include "viewer/model/clipboard_bitmap.h"

#include <algorithm>

#include "imagelib/byte_order.h"
#include "imagelib/image.h"

namespace imx {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kFileHeader = 14, kShortHeader = 40, kV5Header = 124;
constexpr std::uint32_t kBitFields = 3;
constexpr std::uint32_t kSrgb = 0x73524742;
constexpr std::uint32_t kRelativeIntent = 4;

void Put16(Bytes& bytes, std::uint32_t value) {
  bytes.push_back(static_cast<std::uint8_t>(value));
  bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void Put32(Bytes& bytes, std::uint32_t value) {
  Put16(bytes, value);
  Put16(bytes, value >> 16);
}

std::uint32_t Get32(std::span<const std::uint8_t> bytes, std::size_t at) {
  return at + 4 <= bytes.size() ? LoadU32(&bytes[at], ByteOrder::little) : 0;
}

// The part that both headers have.
Bytes BeginHeader(std::uint32_t size, const ClipRegion& region, std::uint32_t bits,
                  std::uint32_t compression) {
  Bytes bytes;
  Put32(bytes, size);
  Put32(bytes, static_cast<std::uint32_t>(region.Width()));
  Put32(bytes, static_cast<std::uint32_t>(region.Height()));
  Put16(bytes, 1);  // planes
  Put16(bytes, bits);
  Put32(bytes, compression);
  bytes.resize(kShortHeader);  // the rest may be zero
  return bytes;
}

template <typename PutPixel>
void PutRows(Bytes& bytes, const ImageRecord& image, const ClipRegion& region, PutPixel&& put) {
  for (std::int32_t y = region.Height() - 1; y >= 0; --y) {
    const std::uint8_t* pixel = RegionRow(image, region, y);
    for (std::int32_t x = 0; x < region.Width(); ++x, pixel += 4) put(pixel);
    while (bytes.size() % 4 != 0) bytes.push_back(0);
  }
}

void Reserve(Bytes& bytes, const ClipRegion& region) {
  bytes.reserve(bytes.size() + (std::size_t{4} * static_cast<std::size_t>(region.Width()) + 4) *
                                   static_cast<std::size_t>(region.Height()));
}

}  // namespace

Bytes PackedBitmapV5(const ImageRecord& image, const ClipRegion& region) {
  Bytes bytes = BeginHeader(kV5Header, region, 32, kBitFields);
  for (const std::uint32_t mask : {0xFF0000u, 0xFF00u, 0xFFu, 0xFF000000u}) Put32(bytes, mask);
  Put32(bytes, kSrgb);
  bytes.resize(108);  // end points and gamma, which sRGB needs none of
  Put32(bytes, kRelativeIntent);
  bytes.resize(kV5Header);
  Reserve(bytes, region);
  const bool alpha = (image.flags & kFlagAlpha) != 0;
  PutRows(bytes, image, region, [&](const std::uint8_t* pixel) {
    const std::uint8_t a = alpha ? pixel[3] : 255;
    bytes.insert(bytes.end(), {pixel[2], pixel[1], pixel[0], a});
  });
  return bytes;
}

Bytes PackedBitmap24(const ImageRecord& image, const ClipRegion& region) {
  Bytes bytes = BeginHeader(kShortHeader, region, 24, 0);
  Reserve(bytes, region);
  PutRows(bytes, image, region, [&](const std::uint8_t* pixel) {
    bytes.insert(bytes.end(), {pixel[2], pixel[1], pixel[0]});
  });
  return bytes;
}

Bytes FileOfPackedBitmap(std::span<const std::uint8_t> packed) {
  const std::uint32_t header = Get32(packed, 0);
  if (packed.size() < kShortHeader || header < kShortHeader || header > packed.size()) return {};
  const std::uint32_t bits = Get32(packed, 14) & 0xFFFF;
  const std::uint32_t used = Get32(packed, 32);
  const std::uint32_t colours = bits <= 8 && used == 0 ? 1u << bits : std::min(used, 256u);
  // A short header has the masks behind it.
  const bool masks = header == kShortHeader && Get32(packed, 16) == kBitFields;
  const std::uint32_t offset = kFileHeader + header + (masks ? 12 : 0) + 4 * colours;
  Bytes file = {'B', 'M'};
  file.reserve(kFileHeader + packed.size());
  Put32(file, static_cast<std::uint32_t>(kFileHeader + packed.size()));
  Put32(file, 0);
  Put32(file, offset);
  file.insert(file.end(), packed.begin(), packed.end());
  return file;
}

}  // namespace imx

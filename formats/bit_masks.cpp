#include "formats/bit_masks.h"

#include <algorithm>
#include <bit>

#include "imagelib/byte_order.h"

namespace imx {
namespace {

/// One channel: its bits moved down give an index into the levels.
struct Channel {
  std::uint32_t mask;
  int shift = 0;
  std::uint8_t levels[256] = {};

  explicit Channel(std::uint32_t wholeMask) : mask(wholeMask) {
    if (mask == 0) return;
    const int end = static_cast<int>(std::bit_width(mask));
    const int bits = std::min(end - std::countr_zero(mask), 8);
    shift = end - bits;
    const int most = (1 << bits) - 1;
    for (int i = 0; i <= most; ++i) {
      levels[i] = static_cast<std::uint8_t>((i * 255 + most / 2) / most);
    }
  }

  std::uint8_t Level(std::uint32_t word) const { return levels[(word & mask) >> shift]; }
};

}  // namespace

void RowFromMasks(const std::uint8_t* packed, std::size_t bytesPerPixel, const BitMasks& masks,
                  std::uint8_t* pixels, std::size_t count) {
  const Channel channels[] = {Channel(masks.red), Channel(masks.green), Channel(masks.blue),
                              Channel(masks.alpha)};
  for (; count > 0; --count, packed += bytesPerPixel) {
    const std::uint32_t word = bytesPerPixel == 2 ? LoadU16(packed, ByteOrder::little)
                                                  : LoadU32(packed, ByteOrder::little);
    for (const Channel& channel : channels) *pixels++ = channel.Level(word);
  }
}

}  // namespace imx

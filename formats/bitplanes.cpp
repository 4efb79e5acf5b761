#include "formats/bitplanes.h"

#include <array>
#include <bit>
#include <cstring>

namespace imx {
namespace {

static_assert(std::endian::native == std::endian::little, "words hold their first byte lowest");

/// Entry b holds eight bytes of 0 or 1: the bits of b, the most significant one first.
constexpr std::array<std::uint64_t, 256> SpreadTable() {
  std::array<std::uint64_t, 256> table{};
  for (std::size_t b = 0; b < table.size(); ++b) {
    for (unsigned i = 0; i < 8; ++i) table[b] |= std::uint64_t{b >> (7 - i) & 1} << 8 * i;
  }
  return table;
}
constexpr std::array<std::uint64_t, 256> kSpread = SpreadTable();

template <unsigned planeCount>
void Gather(const std::uint8_t* planes, std::size_t planeBytes, std::uint8_t* bytes) {
  for (std::size_t i = 0; i < planeBytes; ++i) {
    std::uint64_t eight = 0;
    for (unsigned k = 0; k < planeCount; ++k) eight |= kSpread[planes[k * planeBytes + i]] << k;
    std::memcpy(bytes + 8 * i, &eight, sizeof eight);
  }
}

constexpr std::uint64_t kLowestBits = 0x0101010101010101;
/// Brings the lowest bit of byte i to bit 63 - i.
constexpr std::uint64_t kCollect = 0x8040201008040201;

}  // namespace

void BytesFromPlanes(const std::uint8_t* planes, std::size_t planeBytes, std::size_t planeCount,
                     std::uint8_t* bytes) {
  static constexpr decltype(&Gather<0>) kByCount[] = {
      Gather<0>, Gather<1>, Gather<2>, Gather<3>, Gather<4>,
      Gather<5>, Gather<6>, Gather<7>, Gather<8>,
  };
  kByCount[planeCount](planes, planeBytes, bytes);
}

void PlanesFromBytes(const std::uint8_t* bytes, std::uint8_t* planes, std::size_t planeBytes) {
  for (std::size_t i = 0; i < planeBytes; ++i) {
    std::uint64_t eight;
    std::memcpy(&eight, bytes + 8 * i, sizeof eight);
    for (unsigned k = 0; k < 8; ++k) {
      planes[k * planeBytes + i] =
          static_cast<std::uint8_t>(((eight >> k) & kLowestBits) * kCollect >> 56);
    }
  }
}

}  // namespace imx

/// The library-wide file byte order, and numbers packed into or out of bytes.
#pragma once

#include <cstdint>

namespace imx {

enum class ByteOrder { little, big };

/// Byte order that FileReader and FileWriter give 16- and 32-bit numbers. A codec sets it before
/// it reads or writes its first number. Little-endian at start.
void SetFileByteOrder(ByteOrder order);
ByteOrder FileByteOrder();

inline std::uint16_t LoadU16(const std::uint8_t* p, ByteOrder order) {
  return static_cast<std::uint16_t>(order == ByteOrder::big ? p[0] << 8 | p[1] : p[1] << 8 | p[0]);
}

inline std::uint32_t LoadU32(const std::uint8_t* p, ByteOrder order) {
  const auto at = [p](int i) { return std::uint32_t{p[i]}; };
  return order == ByteOrder::big ? at(0) << 24 | at(1) << 16 | at(2) << 8 | at(3)
                                 : at(3) << 24 | at(2) << 16 | at(1) << 8 | at(0);
}

inline void StoreU16(std::uint8_t* p, std::uint16_t value, ByteOrder order) {
  const int high = order == ByteOrder::big ? 0 : 1;
  p[high] = static_cast<std::uint8_t>(value >> 8);
  p[1 - high] = static_cast<std::uint8_t>(value);
}

inline void StoreU32(std::uint8_t* p, std::uint32_t value, ByteOrder order) {
  for (int i = 0; i < 4; ++i) {
    const int shift = order == ByteOrder::big ? 24 - 8 * i : 8 * i;
    p[i] = static_cast<std::uint8_t>(value >> shift);
  }
}

}  // namespace imx

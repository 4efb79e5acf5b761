/// Byte strings built field by field, for hand-made files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "imagelib/byte_order.h"

namespace imx::test {

using Bytes = std::vector<std::uint8_t>;

/// Appends fields in one byte order. Every call returns the builder, so that calls chain.
class ByteBuilder {
 public:
  explicit ByteBuilder(ByteOrder order) : order_(order) {}

  ByteBuilder& U8(std::uint32_t value);
  ByteBuilder& U16(std::uint32_t value);
  ByteBuilder& U32(std::uint32_t value);
  /// The characters alone, without a terminator.
  ByteBuilder& Text(std::string_view text);
  /// One byte each.
  ByteBuilder& List(std::initializer_list<int> values);
  /// Two bytes, or four, each.
  ByteBuilder& Words(std::initializer_list<std::int64_t> values);
  ByteBuilder& Longs(std::initializer_list<std::int64_t> values);
  ByteBuilder& Raw(const std::uint8_t* data, std::size_t count);
  ByteBuilder& Raw(const Bytes& more) { return Raw(more.data(), more.size()); }
  ByteBuilder& Repeat(std::uint32_t value, std::size_t count);

  /// Overwrites a number written before.
  ByteBuilder& PatchU32(std::size_t offset, std::uint32_t value);

  std::size_t size() const { return bytes_.size(); }
  const Bytes& bytes() const { return bytes_; }

 private:
  ByteOrder order_;
  Bytes bytes_;
};

inline ByteBuilder BigEndian() {
  return ByteBuilder(ByteOrder::big);
}
inline ByteBuilder LittleEndian() {
  return ByteBuilder(ByteOrder::little);
}

Bytes operator+(Bytes a, const Bytes& b);
/// `count` bytes (fewer at the end) from `at` on.
Bytes Part(const Bytes& bytes, std::size_t at, std::size_t count = SIZE_MAX);
/// The same with another byte at `at`.
Bytes WithByte(Bytes bytes, std::size_t at, int value);
/// Always the same bytes in no order, all below `limit`.
Bytes NoiseBytes(std::size_t count, std::uint32_t seed, unsigned limit = 256);

}  // namespace imx::test

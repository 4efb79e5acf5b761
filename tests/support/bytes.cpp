#include "tests/support/bytes.h"

#include <algorithm>

namespace imx::test {

ByteBuilder& ByteBuilder::U8(std::uint32_t value) {
  bytes_.push_back(static_cast<std::uint8_t>(value));
  return *this;
}

ByteBuilder& ByteBuilder::U16(std::uint32_t value) {
  std::uint8_t packed[2];
  StoreU16(packed, static_cast<std::uint16_t>(value), order_);
  return Raw(packed, sizeof packed);
}

ByteBuilder& ByteBuilder::U32(std::uint32_t value) {
  std::uint8_t packed[4];
  StoreU32(packed, value, order_);
  return Raw(packed, sizeof packed);
}

ByteBuilder& ByteBuilder::Text(std::string_view text) {
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  return *this;
}

ByteBuilder& ByteBuilder::List(std::initializer_list<int> values) {
  for (const int value : values) bytes_.push_back(static_cast<std::uint8_t>(value));
  return *this;
}

ByteBuilder& ByteBuilder::Words(std::initializer_list<std::int64_t> values) {
  for (const std::int64_t value : values) U16(static_cast<std::uint32_t>(value));
  return *this;
}

ByteBuilder& ByteBuilder::Longs(std::initializer_list<std::int64_t> values) {
  for (const std::int64_t value : values) U32(static_cast<std::uint32_t>(value));
  return *this;
}

ByteBuilder& ByteBuilder::Raw(const std::uint8_t* data, std::size_t count) {
  bytes_.insert(bytes_.end(), data, data + count);
  return *this;
}

ByteBuilder& ByteBuilder::Repeat(std::uint32_t value, std::size_t count) {
  bytes_.insert(bytes_.end(), count, static_cast<std::uint8_t>(value));
  return *this;
}

ByteBuilder& ByteBuilder::PatchU32(std::size_t offset, std::uint32_t value) {
  StoreU32(&bytes_.at(offset), value, order_);
  return *this;
}

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes Part(const Bytes& bytes, std::size_t at, std::size_t count) {
  const std::size_t start = std::min(at, bytes.size());
  const std::uint8_t* first = bytes.data() + start;
  return Bytes(first, first + std::min(count, bytes.size() - start));
}

Bytes WithByte(Bytes bytes, std::size_t at, int value) {
  bytes.at(at) = static_cast<std::uint8_t>(value);
  return bytes;
}

Bytes NoiseBytes(std::size_t count, std::uint32_t seed, unsigned limit) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>((seed >> 16) % limit);
  }
  return bytes;
}

}  // namespace imx::test

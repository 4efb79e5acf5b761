/// A fuzzer's bytes as choices; past their end every choice is the first.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "tests/support/bytes.h"

namespace imx::test {

class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  bool ended() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t byte = rest_.front();
    rest_ = rest_.subspan(1);
    return byte;
  }
  bool Bit() { return (Byte() & 1) != 0; }
  /// 0 .. count-1, of at most 65536
  int Choice(int count) {
    const int low = Byte();
    return (count > 256 ? low | Byte() << 8 : low) % count;
  }
  std::uint32_t Word() {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) word = word << 8 | Byte();
    return word;
  }
  /// Any bits at all, also those of no number.
  float Float() {
    const std::uint32_t word = Word();
    float value;
    std::memcpy(&value, &word, sizeof value);
    return value;
  }
  Bytes Rest() { return Taken(rest_.size()); }
  /// What comes before the next `end`, or all.
  Bytes Before(std::uint8_t end) {
    const auto at = std::find(rest_.begin(), rest_.end(), end);
    const Bytes bytes = Taken(static_cast<std::size_t>(at - rest_.begin()));
    Byte();
    return bytes;
  }

 private:
  Bytes Taken(std::size_t count) {
    const Bytes bytes(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(count));
    rest_ = rest_.subspan(count);
    return bytes;
  }

  std::span<const std::uint8_t> rest_;
};

}  // namespace imx::test

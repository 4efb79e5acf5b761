/// Variable-width LZW with clear and end codes, as GIF packs it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imagelib/guards.h"

namespace imx {

/// The next index (0..255), -1 at the end, or another negative number as an error.
using LzwNextPixel = std::int32_t (*)(void* context);
/// 0, or an error number that ends the encoding.
using LzwPutByte = std::int32_t (*)(void* context, std::uint8_t byte);

/// Writes the code size, the codes in sub-blocks of 254 bytes, and a zero-length block.
/// 0 on success; -3 when the code size is outside 1..9; -2 when the code table cannot be had; else
/// the error of a callable.
std::int32_t LzwEncode(std::int32_t codeSize, LzwNextPixel nextPixel, LzwPutByte putByte,
                       void* context);

/// The decoder's strings: each code is its prefix's string and one more byte.
class LzwStrings {
 public:
  static constexpr std::int32_t kNone = -1;
  static constexpr std::int32_t kMostCodes = 4096;

  /// False when memory runs out.
  bool Allocate();

  /// Empties the table for `codeSize` (1..11) bits.
  void Reset(std::int32_t codeSize);

  /// Whether a code has a string.
  bool IsDefined(std::int32_t code) const {
    return code < roots_ || (code >= roots_ + 2 && code < next_);
  }
  /// Adds the string of `prefix` and `last`; dropped when the table is full.
  void Add(std::int32_t prefix, std::uint8_t last) {
    if (next_ >= kMostCodes) return;
    const Entry& from = table_[Index(prefix)];
    table_[Index(next_++)] = {static_cast<std::uint16_t>(prefix),
                              static_cast<std::uint16_t>(from.length + 1), last, from.first};
  }
  std::int32_t Next() const { return next_; }
  std::uint8_t First(std::int32_t code) const { return table_[Index(code)].first; }
  std::size_t Length(std::int32_t code) const { return table_[Index(code)].length; }
  /// Writes the Length(code) bytes of the code's string.
  void Copy(std::int32_t code, std::uint8_t* out) const {
    const Entry* entry = &table_[Index(code)];
    for (std::size_t i = entry->length; i-- > 0; entry = &table_[entry->prefix]) {
      out[i] = entry->last;
    }
  }

 private:
  struct Entry {
    std::uint16_t prefix;
    std::uint16_t length;
    std::uint8_t last;
    std::uint8_t first;
  };
  static std::size_t Index(std::int32_t code) { return static_cast<std::size_t>(code); }

  TrackedArray<Entry> table_;
  std::int32_t roots_ = 0;
  std::int32_t next_ = 0;
};

}  // namespace imx

/// The block code of TRIM streams: a run of bytes in up to four levels of bit fields.
///
/// docs/trim.md describes the layout.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

/// Most values of a block.
inline constexpr std::size_t kTrimBlockValues = 256;

/// A coded stream being written.
struct TrimOutput {
  std::uint8_t* data;        ///< with room for all blocks and kTrimOutputSlack bytes more
  std::size_t position = 0;  ///< bytes written
  std::uint64_t held = 0;    ///< its lowest heldBits bits are not written yet
  unsigned heldBits = 0;     ///< 0 between blocks
};

/// A block takes at most one byte more than it has values; writing touches some bytes behind it.
inline constexpr std::size_t kTrimOutputSlack = 16;

/// Writes `count` (1 .. kTrimBlockValues) values as the smallest block. Returns its bytes.
std::size_t TrimEncodeBlock(TrimOutput& out, const std::uint8_t* values, std::size_t count);

/// A coded stream being read.
struct TrimInput {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t position = 0;  ///< of the next block, at most `size`

  bool ended() const { return position >= size; }
};

/// Reads a block of `count` (1 .. kTrimBlockValues) values. Bits past the end of the stream are 0,
/// and a field of more than 8 bits counts as one of 8.
void TrimDecodeBlock(TrimInput& in, std::uint8_t* values, std::size_t count);

}  // namespace imx

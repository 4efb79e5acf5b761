/// Samples of TIFF rows, of any width, as bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

enum class SampleKind {
  integer,      ///< unsigned, 1 to 32 bits, scaled to 0..255 and rounded
  highByte,     ///< 16 bits, of which the upper eight count
  floatNumber,  ///< 16, 32 or 64 bits; 0..1 is scaled, what lies outside is clamped
};

/// Turns `count` samples of `bits` bits each, as libtiff gives them, into bytes.
void SamplesToBytes(const std::uint8_t* samples, std::size_t count, unsigned bits, SampleKind kind,
                    std::uint8_t* bytes);

/// The same without scaling: the low eight bits of integers, for indices.
void IndicesToBytes(const std::uint8_t* samples, std::size_t count, unsigned bits,
                    std::uint8_t* bytes);

}  // namespace imx

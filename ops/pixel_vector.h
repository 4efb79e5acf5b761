/// The four channels of a pixel as one vector of floats, on which arithmetic is elementwise.
#pragma once

#include <cstdint>
#include <cstring>

namespace imx {

using Channels = float __attribute__((vector_size(16)));

namespace detail {

using ChannelInts = std::int32_t __attribute__((vector_size(16)));
using ChannelWords = std::uint16_t __attribute__((vector_size(16)));
using ChannelBytes = std::uint8_t __attribute__((vector_size(16)));

/// The bytes at even places, twice.
inline ChannelBytes EvenBytes(ChannelBytes v) {
  return __builtin_shufflevector(v, v, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}

}  // namespace detail

// Compilers convert four single bytes one by one; these shuffles are one instruction each.

inline Channels LoadPixel(const std::uint8_t* pixel) {
  std::int32_t word;
  std::memcpy(&word, pixel, sizeof word);
  const auto packed = reinterpret_cast<detail::ChannelBytes>(detail::ChannelInts{word});
  const auto words = reinterpret_cast<detail::ChannelWords>(__builtin_shufflevector(
      packed, detail::ChannelBytes{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
  const auto ints = reinterpret_cast<detail::ChannelInts>(
      __builtin_shufflevector(words, detail::ChannelWords{}, 0, 8, 1, 9, 2, 10, 3, 11));
  return __builtin_convertvector(ints, Channels);
}

/// Truncates each channel, all of them within 0 .. 255, to a byte.
inline void StorePixel(std::uint8_t* pixel, Channels value) {
  const auto whole = __builtin_convertvector(value, detail::ChannelInts);
  const detail::ChannelBytes bytes =
      detail::EvenBytes(detail::EvenBytes(reinterpret_cast<detail::ChannelBytes>(whole)));
  std::memcpy(pixel, &bytes, 4);
}

}  // namespace imx

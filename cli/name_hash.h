/// A hash of names that is the same everywhere and for good: shards go by it.
#pragma once

#include <cstdint>
#include <string_view>

namespace imx {

/// FNV-1a, 64 bits, with the bits mixed at the end so that remainders of any divisor are even.
inline std::uint64_t NameHash(std::string_view name) {
  std::uint64_t hash = 14695981039346656037u;
  for (const char c : name) hash = (hash ^ static_cast<std::uint8_t>(c)) * 1099511628211u;
  hash = (hash ^ (hash >> 33)) * 1099511628211u;
  return hash ^ (hash >> 29);
}

}  // namespace imx

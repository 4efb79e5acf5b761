/// Conversion between bit planes and bytes, for whole rows.
///
/// A plane row holds one bit per pixel, most significant first; the rows of the planes lie one
/// behind the other. Plane k is bit k of the bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

/// Makes 8 * planeBytes bytes of `planeCount` (at most 8) plane rows of `planeBytes` bytes each.
void BytesFromPlanes(const std::uint8_t* planes, std::size_t planeBytes, std::size_t planeCount,
                     std::uint8_t* bytes);

/// The reverse for all 8 planes.
void PlanesFromBytes(const std::uint8_t* bytes, std::uint8_t* planes, std::size_t planeBytes);

}  // namespace imx

/// Renders in grey, and in black and white.
///
/// They need no lookups: an index follows from the grey value by arithmetic, and they neither use
/// nor change what is mapped. 256 greys show every value as it is; 16 and 2 diffuse the error as
/// the colour renders do, with one error row.
#pragma once

#include <cstdint>

#include "imagelib/image.h"
#include "render/serpentine.h"

namespace imx {

/// Weighted grey of a colour.
std::uint8_t GreyValue(std::uint8_t r, std::uint8_t g, std::uint8_t b);

// All write one index byte per pixel, rows top-down without padding, and the palette's first
// entries. `errors` holds a zero per column.

/// 256 greys without a dither. Writes the entries below `entries`.
void RenderGrey8(const ImageRecord& image, std::int32_t entries, Palette& palette,
                 std::uint8_t* indices);

/// 16 greys with error diffusion. Writes the entries below `entries`; from 16 on their values wrap.
void RenderGrey4(const ImageRecord& image, std::int32_t entries, std::int32_t strength,
                 Palette& palette, TrackedArray<std::int16_t>& errors, std::uint8_t* indices);

/// Index 0 black and 1 white with error diffusion. Writes these two entries.
void RenderBlackWhite(const ImageRecord& image, std::int32_t strength, Palette& palette,
                      TrackedArray<std::int16_t>& errors, std::uint8_t* indices);

}  // namespace imx

/// Ordered dither onto an 8-bit colour palette.
#pragma once

#include <cstdint>

#include "imagelib/image.h"
#include "render/diffusion.h"

namespace imx {

/// Writes one index byte per pixel, rows top-down without padding, onto the first `entries` palette
/// entries: the default palette for ColourMatch::cube, else the palette that was mapped last. False
/// when memory runs out.
bool OrderColour(const ImageRecord& image, const Palette& palette, ColourMatch match,
                 std::int32_t entries, std::int32_t strength, std::uint8_t* indices);

}  // namespace imx

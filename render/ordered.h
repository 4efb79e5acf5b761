/// Ordered dither onto an 8-bit colour palette.
///
/// No error is carried: a pixel's place decides, through small matrices of thresholds, whether it
/// is rounded up or down. On the default palette that is a matter of levels, channel by channel,
/// with a matrix of another shape for each so that their patterns do not coincide.
///
/// A palette of any other kind has no levels to round to. For each of its entries the *directions*
/// are found first: which entry a colour reaches when it leaves this one along a channel, upwards
/// and downwards. A pixel then starts at its own entry and goes one step along red, from there
/// along green and from there along blue, where the part of the way that it lies towards the
/// neighbour exceeds the threshold. Finding the directions asks the lookups for many colours, and
/// cells that are settled by it stay settled for the pixels.
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

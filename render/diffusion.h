/// Error diffusion onto a colour palette.
#pragma once

#include <cstdint>

#include "imagelib/image.h"
#include "render/serpentine.h"

namespace imx {

/// Which entry stands for a colour.
enum class ColourMatch {
  cube,     ///< the default palette
  fixed16,  ///< the 16 fixed colours
  nearest,  ///< the palette that was mapped last
};

/// Writes one index byte per pixel, rows top-down without padding. `rows` hold a zero per column.
void DiffuseColour(const ImageRecord& image, const Palette& palette, ColourMatch match,
                   std::int32_t strength, ErrorRows& rows, std::uint8_t* indices);

}  // namespace imx

/// Error diffusion onto a colour palette.
///
/// What a pixel's colour misses its entry by is handed on twice: to the next pixel of the row, and,
/// through the error rows, to the one below. Each takes half of the two errors that reach it, so no
/// error is lost or doubled on the whole. The walk turns at the end of every row, so that errors do
/// not all drift to one side.
///
/// Errors make colours that the image does not have. They are looked up one after another, which is
/// why a cell's answer can depend on the pixels before it, and why rows cannot be done side by
/// side.
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

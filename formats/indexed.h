/// An image reduced to palette indices for a paletted saver.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imagelib/guards.h"
#include "imagelib/image.h"
#include "render/render.h"

namespace imx {

/// One index byte per pixel, rows top-down without padding, and the palette they point into.
struct IndexedImage {
  Palette palette;
  TrackedBytes indices;
  std::size_t width = 0;

  const std::uint8_t* Row(std::int32_t y) const {
    return indices.data() + static_cast<std::size_t>(y) * width;
  }
};

/// The colour request for 8 or 4 bits, black and white for 1.
RenderCode RenderCodeForDepth(std::int32_t bits);

/// Renders with the library's current settings; in mode 4 to the image's own palette. False when
/// memory runs out.
bool RenderIndexed(const ImageRecord& image, RenderCode code, IndexedImage* indexed);

}  // namespace imx

/// Pictures to save, and their comparison. Everything is the same in every run.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "imagelib/guards.h"
#include "imagelib/image.h"

namespace imx::test {

struct Rgba {
  std::uint8_t r, g, b, a;
  bool operator==(const Rgba&) const = default;
};

Rgba PixelAt(const ImageRecord& image, std::int32_t x, std::int32_t y);
void SetPixel(ImageRecord& image, std::int32_t x, std::int32_t y, Rgba value);

/// width * height pixels in rows, as a record.
ImageGuard FromPixels(std::int32_t width, std::int32_t height, std::span<const Rgba> pixels);

/// Smooth shades with edges and noise over them; alpha 255 throughout, the alpha flag clear.
ImageGuard PhotoLike(std::int32_t width, std::int32_t height, std::uint32_t seed = 1);
/// Flat shapes in 16 colours, long equal runs; alpha 255, the alpha flag clear.
ImageGuard Drawing(std::int32_t width, std::int32_t height);
/// Colour and alpha ramps that take every alpha value on a wide picture; the alpha flag set.
ImageGuard AlphaGradient(std::int32_t width, std::int32_t height);
/// One colour; the alpha flag set when its alpha is below 255.
ImageGuard Solid(std::int32_t width, std::int32_t height, Rgba colour);

/// What of the pixels a format keeps.
enum class Channels { rgba, rgb };

/// The first difference of sizes or pixels in words; empty when there is none.
std::string Difference(const ImageRecord& wanted, const ImageRecord& got,
                       Channels channels = Channels::rgba);

/// The rows' pixels as R, G, B, A bytes without the record.
std::string PixelBytes(const ImageRecord& image, Channels channels = Channels::rgba);

}  // namespace imx::test

#include "tests/support/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace imx::test {
namespace {

ImageGuard Blank(std::int32_t width, std::int32_t height) {
  ImageGuard image(AllocImage(width, height, "picture", nullptr));
  if (!image) throw std::runtime_error("no memory for a picture");
  return image;
}

template <typename Colour>
ImageGuard Paint(std::int32_t width, std::int32_t height, Colour&& colour) {
  ImageGuard image = Blank(width, height);
  for (std::int32_t y = 0; y < height; ++y) {
    for (std::int32_t x = 0; x < width; ++x) SetPixel(*image, x, y, colour(x, y));
  }
  return image;
}

std::uint8_t Byte(double value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

std::uint32_t NextRandom(std::uint32_t& state) {
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  return state;
}

/// 0..255 over the positions 0..size-1.
std::uint8_t Ramp(std::int32_t position, std::int32_t size) {
  return static_cast<std::uint8_t>(size > 1 ? std::int64_t{255} * position / (size - 1) : 200);
}

}  // namespace

Rgba PixelAt(const ImageRecord& image, std::int32_t x, std::int32_t y) {
  const std::uint8_t* p = PixelRow(image, y) + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

void SetPixel(ImageRecord& image, std::int32_t x, std::int32_t y, Rgba value) {
  std::memcpy(PixelRow(image, y) + 4 * x, &value, sizeof value);
}

ImageGuard FromPixels(std::int32_t width, std::int32_t height, std::span<const Rgba> pixels) {
  return Paint(width, height, [&](std::int32_t x, std::int32_t y) {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  });
}

ImageGuard PhotoLike(std::int32_t width, std::int32_t height, std::uint32_t seed) {
  std::uint32_t random = seed * 2654435761u | 1u;
  const double scale = 6.0 / std::max({width, height, 1});
  return Paint(width, height, [&](std::int32_t x, std::int32_t y) {
    const double u = x * scale;
    const double v = y * scale;
    const double sky = 150 + 60 * std::sin(u * 1.3) + 40 * std::cos(v * 1.7 + u);
    const bool disc = (u - 2) * (u - 2) + (v - 2) * (v - 2) < 1.5;
    const double noise = static_cast<double>(NextRandom(random) % 9) - 4;
    return Rgba{Byte(sky + noise + (disc ? 70 : 0)), Byte(sky * 0.8 + 20 * v + noise),
                Byte(sky * 0.5 + 15 * u - noise - (disc ? 40 : 0)), 255};
  });
}

ImageGuard Drawing(std::int32_t width, std::int32_t height) {
  return Paint(width, height, [&](std::int32_t x, std::int32_t y) {
    if ((x + y) % 11 == 0) return Rgba{0, 0, 0, 255};
    const int colour = (x / 7 + 3 * (y / 5)) % 16;
    const auto channel = [&](int bit) {
      const int low = colour < 8 ? 0 : 17;
      return static_cast<std::uint8_t>(colour & bit ? 255 - 4 * low : low);
    };
    return Rgba{channel(1), channel(2), channel(4), 255};
  });
}

ImageGuard AlphaGradient(std::int32_t width, std::int32_t height) {
  ImageGuard image = Paint(width, height, [&](std::int32_t x, std::int32_t y) {
    return Rgba{Ramp(x, width), Ramp(y, height), static_cast<std::uint8_t>(x * 5 + y * 3),
                static_cast<std::uint8_t>(255 - Ramp(x, width))};
  });
  image->flags |= kFlagAlpha;
  return image;
}

ImageGuard Solid(std::int32_t width, std::int32_t height, Rgba colour) {
  ImageGuard image = Paint(width, height, [&](std::int32_t, std::int32_t) { return colour; });
  if (colour.a < 255) image->flags |= kFlagAlpha;
  return image;
}

std::string Difference(const ImageRecord& wanted, const ImageRecord& got, Channels channels) {
  std::ostringstream words;
  if (wanted.width != got.width || wanted.height != got.height) {
    words << "wanted " << wanted.width << 'x' << wanted.height << ", got " << got.width << 'x'
          << got.height;
    return words.str();
  }
  const std::string a = PixelBytes(wanted, channels);
  const std::string b = PixelBytes(got, channels);
  const auto differs = std::mismatch(a.begin(), a.end(), b.begin());
  if (differs.first == a.end()) return {};
  const auto channel = differs.first - a.begin();
  const auto pixel = channel / (channels == Channels::rgba ? 4 : 3);
  words << "at " << pixel % wanted.width << ',' << pixel / wanted.width << " wanted the byte "
        << (*differs.first & 255) << ", got " << (*differs.second & 255);
  return words.str();
}

std::string PixelBytes(const ImageRecord& image, Channels channels) {
  std::string bytes;
  for (std::int32_t y = 0; y < image.height; ++y) {
    for (std::int32_t x = 0; x < image.width; ++x) {
      const auto* pixel = reinterpret_cast<const char*>(PixelRow(image, y)) + 4 * x;
      bytes.append(pixel, channels == Channels::rgba ? 4 : 3);
    }
  }
  return bytes;
}

}  // namespace imx::test

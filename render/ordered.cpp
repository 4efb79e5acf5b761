#include "render/ordered.h"

#include <cstdlib>

#include "render/fixed_palettes.h"
#include "render/nearest.h"

namespace imx {
namespace {

// Thresholds, row by row.
constexpr std::uint8_t kMatrix[4 * 4] = {
    0,  13, 4,  8,  //
    12, 5,  1,  9,  //
    6,  14, 10, 3,  //
    7,  11, 2,  15,
};
constexpr std::uint8_t kRedMatrix[3 * 7] = {
    16, 18, 7,  12, 3,  9,  2,   //
    17, 5,  13, 10, 4,  11, 19,  //
    8,  14, 20, 3,  16, 6,  1,
};
constexpr std::uint8_t kGreenMatrix[6 * 3] = {
    7,  12, 3,   //
    18, 9,  2,   //
    5,  13, 17,  //
    10, 4,  11,  //
    8,  14, 3,   //
    16, 6,  1,
};
// The last row repeats the first values of kMatrix, on purpose.
constexpr std::uint8_t kBlueMatrix[8 * 6] = {
    23, 12, 22, 9,  19, 17,  //
    29, 13, 31, 4,  11, 21,  //
    14, 17, 34, 40, 6,  16,  //
    35, 7,  28, 37, 3,  20,  //
    32, 2,  25, 41, 5,  30,  //
    38, 10, 24, 27, 39, 8,   //
    26, 33, 3,  18, 1,  36,  //
    0,  13, 4,  8,  12, 5,
};

/// Entries next to each entry along one channel, the other two held.
struct ChannelDirections {
  TrackedBytes up;
  TrackedBytes down;
};

struct Directions {
  ChannelDirections red = {{kPaletteSize, "render15"}, {kPaletteSize, "render18"}};
  ChannelDirections green = {{kPaletteSize, "render16"}, {kPaletteSize, "render19"}};
  ChannelDirections blue = {{kPaletteSize, "render17"}, {kPaletteSize, "render20"}};

  bool Complete() const {
    return red.up && red.down && green.up && green.down && blue.up && blue.down;
  }
};

/// Finds both neighbours of entry i along a channel on which it stands at `start`: the first index
/// other than i on the way to the channel's end, or the one at the end. `lookup` takes the
/// channel's value.
template <typename Lookup>
void FindNeighbours(ChannelDirections& directions, std::uint32_t i, std::int32_t start,
                    const Lookup& lookup) {
  const auto walk = [&](std::int32_t end, std::int32_t step) {
    std::int32_t value = start;
    std::uint32_t index = lookup(static_cast<std::uint32_t>(value));
    while (index == i && value != end) {
      value += step;
      index = lookup(static_cast<std::uint32_t>(value));
    }
    return static_cast<std::uint8_t>(index);
  };
  directions.up[i] = walk(255, 1);
  directions.down[i] = walk(0, -1);
}

template <typename Lookup>
void SetDirections(const Palette& palette, std::int32_t entries, Directions& directions,
                   const Lookup& lookup) {
  const ProgressScope progress("Setting Quantization Directions", entries, 4, StopButton::none);
  for (std::int32_t i = 0; i < entries; ++i) {
    ProgressUpdate(i);
    const std::uint8_t r = palette.red[i];
    const std::uint8_t g = palette.green[i];
    const std::uint8_t b = palette.blue[i];
    const auto entry = static_cast<std::uint32_t>(i);
    FindNeighbours(directions.red, entry, r, [&](std::uint32_t v) { return lookup(v, g, b); });
    FindNeighbours(directions.green, entry, g, [&](std::uint32_t v) { return lookup(r, v, b); });
    FindNeighbours(directions.blue, entry, b, [&](std::uint32_t v) { return lookup(r, g, v); });
  }
}

/// The level of the cube that a channel value takes at a place with this threshold. Only 255 stands
/// on the top level, and nothing exceeds it.
std::uint32_t CubeLevel(const CubeStep& step, std::uint8_t threshold) {
  return step.below + (threshold < step.excess ? 1u : 0u);
}

/// The same for the grey ramp.
std::uint32_t RampIndex(std::uint32_t grey, std::uint32_t threshold) {
  const std::uint32_t step = grey * kRampTop / 255;
  const std::uint32_t excess = (grey - step * 255 / kRampTop) / 2;
  return kRampStart + step + (threshold < excess ? 1u : 0u);
}

void OrderOntoCube(const ImageRecord& image, std::uint8_t* indices) {
  ForEachRenderedRow("Color Render", image.height, [&](std::int32_t row) {
    const auto y = static_cast<std::uint32_t>(row);
    const auto width = static_cast<std::uint32_t>(image.width);
    const std::uint8_t* p = PixelRow(image, row);
    for (std::uint32_t x = 0; x < width; ++x, p += 4) {
      std::uint32_t index;
      if (((p[0] ^ p[1]) | (p[1] ^ p[2])) >> 2 == 0) {
        index = RampIndex(p[1], (y / 4 + x) % 4 * ((x / 4 + y) % 5));
      } else {
        const std::uint8_t red = kRedMatrix[(y / 2 + x) % 7 + (x / 3 + y) % 3 * 7];
        const std::uint8_t green = kGreenMatrix[(y / 3 + x) % 3 + (x / 2 + y) % 6 * 3];
        const std::uint8_t blue = kBlueMatrix[(y / 4 + x) % 6 + (x / 5 + y) % 8 * 6];
        index = CubeIndex(CubeLevel(kCubeRed[p[0]], red), CubeLevel(kCubeGreen[p[1]], green),
                          CubeLevel(kCubeBlue[p[2]], blue));
      }
      *indices++ = static_cast<std::uint8_t>(index);
    }
  });
}

/// Moves a pixel to its entry's neighbour towards the channel value when the way there, in
/// sixteenths scaled to the strength, exceeds the threshold.
class NeighbourStep {
 public:
  NeighbourStep(const ChannelDirections& directions, const std::uint8_t* channel,
                std::int64_t sixteenths)
      : up_(directions.up.data()),
        down_(directions.down.data()),
        channel_(channel),
        sixteenths_(sixteenths) {}

  std::uint32_t operator()(std::uint32_t index, std::uint8_t value, std::uint8_t threshold) const {
    const std::int32_t distance = value - channel_[index];
    if (distance == 0) return index;
    const std::uint32_t candidate = distance > 0 ? up_[index] : down_[index];
    // distance * sixteenths / way > threshold, without the division; a neighbour with the same
    // channel value is no way at all.
    const std::int64_t way = std::abs(channel_[candidate] - channel_[index]);
    if (way == 0) return index;
    return std::abs(distance) * sixteenths_ >= (threshold + 1) * way ? candidate : index;
  }

 private:
  const std::uint8_t* up_;
  const std::uint8_t* down_;
  const std::uint8_t* channel_;
  std::int64_t sixteenths_;
};

template <typename Lookup>
void OrderOntoNearest(const ImageRecord& image, const Palette& palette, std::int32_t strength,
                      const Directions& directions, std::uint8_t* indices, const Lookup& lookup) {
  const std::int64_t sixteenths = std::abs(std::int64_t{strength} * 16 / 100);
  const NeighbourStep red(directions.red, palette.red, sixteenths);
  const NeighbourStep green(directions.green, palette.green, sixteenths);
  const NeighbourStep blue(directions.blue, palette.blue, sixteenths);
  ForEachRenderedRow("Color Render", image.height, [&](std::int32_t y) {
    const std::uint8_t* pixels = PixelRow(image, y);
    // Serpentine although no error is carried: a lookup can settle its cell for the ones after it.
    ForEachColumn(y, image.width, [&](std::ptrdiff_t column) {
      const std::uint8_t* p = pixels + 4 * column;
      const auto x = static_cast<std::int32_t>(column);
      std::uint32_t index = lookup(p[0], p[1], p[2]);
      index = red(index, p[0], kMatrix[(x & 3) + (y & 3) * 4]);
      index = green(index, p[1], kMatrix[((y + 1 + x) & 3) + ((y - 1) & 3) * 4]);
      index = blue(index, p[2], kMatrix[((x - 2) & 3) + ((x + y) & 3) * 4]);
      indices[column] = static_cast<std::uint8_t>(index);
    });
    indices += image.width;
  });
}

}  // namespace

bool OrderColour(const ImageRecord& image, const Palette& palette, ColourMatch match,
                 std::int32_t entries, std::int32_t strength, std::uint8_t* indices) {
  Directions directions;
  if (!directions.Complete()) return false;
  if (match == ColourMatch::cube) {
    SetDirections(palette, entries, directions, NearestCubeIndex);
    OrderOntoCube(image, indices);
    return true;
  }
  const auto order = [&](const auto& lookup) {
    SetDirections(palette, entries, directions, lookup);
    OrderOntoNearest(image, palette, strength, directions, indices, lookup);
  };
  if (ExactLookups()) {
    order(NearestLookup<true>());
  } else {
    order(NearestLookup<false>());
  }
  return true;
}

}  // namespace imx

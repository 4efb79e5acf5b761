#include "render/palette_build.h"

#include <algorithm>
#include <cstring>

#include "render/renderer_state.h"

// The palette grows greedily while a distance threshold shrinks: a pass over the image enters every
// colour that is further from all entries so far than the threshold of the pass. No cell's distance
// is ever below 8, so the passes with a threshold below 9 ask for the exact colour instead, and
// fill what is left of the palette with the first colours that have no entry of their own.

namespace imx {
namespace {

constexpr std::int32_t kExactThreshold = 9;
constexpr std::int32_t kLastThreshold = 3;

std::int32_t NextThreshold(std::int32_t threshold) {
  return threshold < 5 ? threshold - 1 : 4 * threshold / 5;
}

struct Colour {
  std::uint8_t r, g, b;
};

/// The record being filled and the entry to fill next.
struct Growth {
  PaletteRecord& record;
  std::int32_t wanted;
  std::int32_t next;

  /// Whether the entry to come is taken from the image.
  bool WantsColour() const {
    return next < wanted && renderer.mapping.entryLocks[next] == kLockFree;
  }
  void Enter(Colour colour) {
    record.colours.red[next] = colour.r;
    record.colours.green[next] = colour.g;
    record.colours.blue[next] = colour.b;
    AddPaletteEntry(colour.r, colour.g, colour.b, next);
    next += 1;
  }
};

/// The first colour of every cell that the image has pixels in, in storage order: all that a pass
/// above the exact threshold can enter, as it decides by the cell alone and an entry takes its own
/// cell out of the running.
class CellColours {
 public:
  explicit CellColours(const ImageRecord& image)
      : colours_(std::min(image.pixelCount, kCellCount), "render21") {
    if (colours_) Collect(image);
  }
  explicit operator bool() const { return static_cast<bool>(colours_); }

  /// One pass. Colours that no later pass can want are dropped: distances never grow.
  void Pass(std::int32_t threshold, Growth& growth) {
    const std::uint8_t* distances = Cells().cellDistance;
    std::size_t kept = 0;
    std::size_t i = 0;
    for (; i < count_ && growth.WantsColour(); ++i) {
      const Colour colour = colours_[i];
      const std::int32_t distance = distances[CellOf(colour.r, colour.g, colour.b)];
      if (distance > threshold) {
        growth.Enter(colour);
      } else if (distance > kExactThreshold) {
        colours_[kept++] = colour;
      }
    }
    while (i < count_) colours_[kept++] = colours_[i++];
    count_ = kept;
  }

 private:
  void Collect(const ImageRecord& image) {
    std::uint64_t seen[kCellCount / 64] = {};
    for (std::int32_t y = 0; y < image.height; ++y) {
      const std::uint8_t* p = PixelRow(image, y);
      for (std::int32_t x = 0; x < image.width; ++x, p += 4) {
        const std::uint32_t cell = CellOf(p[0], p[1], p[2]);
        std::uint64_t& word = seen[cell / 64];
        const std::uint64_t bit = std::uint64_t{1} << cell % 64;
        if (word & bit) continue;
        word |= bit;
        colours_[count_++] = {p[0], p[1], p[2]};
      }
    }
  }

  TrackedArray<Colour> colours_;
  std::size_t count_ = 0;
};

/// Enters every colour that has no entry. True when it came to the image's end, with none left.
bool ExactPass(const ImageRecord& image, Growth& growth) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* p = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, p += 4) {
      if (x > 0 && std::memcmp(p, p - 4, 3) == 0) continue;
      if (ExactIndex(p[0], p[1], p[2]) != kExactAbsent) continue;
      growth.Enter({p[0], p[1], p[2]});
      if (!growth.WantsColour()) return false;
    }
  }
  return true;
}

void Grow(const ImageRecord& image, CellColours& colours, Growth& growth) {
  std::int32_t threshold = 4 * DistanceBase(growth.wanted);
  while (growth.next < growth.wanted && threshold >= kLastThreshold) {
    const std::int32_t i = growth.next;
    const Palette& given = growth.record.colours;
    switch (renderer.mapping.entryLocks[i]) {
      case kLockReserved:
        growth.next += 1;
        continue;
      case kLockFixed:
        growth.Enter({given.red[i], given.green[i], given.blue[i]});
        continue;
      default:
        break;
    }
    if (threshold >= kExactThreshold) {
      colours.Pass(threshold, growth);
    } else if (ExactPass(image, growth)) {
      return;  // the passes to come would find nothing
    }
    threshold = NextThreshold(threshold);
  }
}

}  // namespace

std::int32_t BuildPaletteFromImage(const ImageRecord& image, PaletteRecord& record, std::int32_t n,
                                   bool keepEntryZero) {
  // Before the cells are emptied: those of the palette that is mapped must outlast a failure.
  CellColours colours(image);
  if (!colours || !BeginMapping(n, "render8", "render9")) return -1;
  Growth growth = {record, n, 0};
  if (!keepEntryZero) growth.Enter({0, 0, 0});
  Grow(image, colours, growth);
  record.count = growth.next;
  renderer.mapping.mirror = record;
  SetLastMapped(record);
  return 0;
}

}  // namespace imx

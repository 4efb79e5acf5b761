/// The palette entry nearest to a colour, from a cache of 64 x 64 x 64 colour cells.
///
/// A search through 256 entries for every pixel would be most of a render's time. Instead each
/// entry, when it is entered, is offered to all cells within a radius of its own; a cell keeps the
/// nearest offer, the first of equal ones. The smaller the palette, the further apart its colours
/// will lie, and the larger the radius. What lies beyond every radius is searched for once, when
/// the first pixel asks, and the answer is kept by the cell.
///
/// A cell is 4 levels wide in each channel, so its answer is right for the cell and only nearly so
/// for a colour: two colours of one cell get one entry, and after a full search that of the pixel
/// which came first. The exact tree is asked before the cells for this reason: a colour that is in
/// the palette gets itself.
///
/// Distances between cells come from a table by steps in each channel, as they are the same
/// wherever the cells lie. One red and two green steps more than there are count, on purpose: no
/// distance is below 8, and growth asks for exact colours where its threshold falls below that.
#pragma once

#include <cstdint>

#include "render/exact_tree.h"
#include "render/render.h"

namespace imx {

/// Locks of the palette entries.
enum EntryLock : std::uint8_t {
  kLockFree = 0,      ///< filled from the image
  kLockFixed = 1,     ///< taken from the record as it is
  kLockReserved = 2,  ///< left alone, and never matched while the render is adaptive
};

inline constexpr std::uint32_t kCellCount = 64 * 64 * 64;
inline constexpr std::uint8_t kCellUnknown = 255;   ///< no entry near this cell
inline constexpr std::uint8_t kCellSearched = 254;  ///< the entry comes from a full search

/// The cells, two bytes each: distance to the nearest entry entered near the cell, and its index.
struct ColourCells {
  std::uint8_t* cellDistance;
  std::uint8_t* cellIndex;
};

/// Cell of a colour: each channel without its low two bits.
constexpr std::uint32_t CellOf(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  return (r >> 2) << 12 | (g >> 2) << 6 | b >> 2;
}

/// The cells; null pointers while they are not allocated.
ColourCells Cells();

/// Makes sure of the cells. False, neither left allocated, when memory runs out.
bool EnsureCells(const char* distanceLabel, const char* indexLabel);

/// Makes a palette of `entries` colours the current one: exact lookups off, the distance table and
/// the cells there and empty. False when memory runs out.
bool BeginMapping(std::int32_t entries, const char* distanceLabel, const char* indexLabel);

/// First threshold base of a palette of `entries` colours: 12 for 60 and more, growing to 28.
std::int32_t DistanceBase(std::int32_t entries);

/// Enters the colour as entry `index` (0..255) of the mirror palette and into the cells around it.
/// Between BeginMapping and the next failure of it only.
void AddPaletteEntry(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::int32_t index);

/// Remembers the record and the locks as what the cells stand for.
void SetLastMapped(const PaletteRecord& record);

/// Prepares lookups for the record's first `count` entries; returns at once when they are what was
/// mapped last. 0 when done, -1 when memory runs out.
std::int32_t MapPalette(const PaletteRecord& record);

/// Index of the entry for a colour: its exact one while exact lookups are on, else the one of its
/// cell, else the nearest of all, which the cell then keeps. 0 before any palette was mapped.
std::uint8_t NearestIndex(std::uint8_t r, std::uint8_t g, std::uint8_t b);

/// Searches the whole mirror palette and has the colour's cell keep the winner.
std::uint8_t SearchPalette(std::uint32_t r, std::uint32_t g, std::uint32_t b);

/// NearestIndex for inner loops, with the pointers at hand. Good until the next BeginMapping.
template <bool kExact>
class NearestLookup {
 public:
  NearestLookup() : tree_(ExactLookups()), cells_(Cells()) {}

  std::uint32_t operator()(std::uint32_t r, std::uint32_t g, std::uint32_t b) const {
    if constexpr (kExact) {
      const std::int32_t index = tree_->Find(r, g, b);
      if (index != kExactAbsent) return static_cast<std::uint32_t>(index);
    }
    const std::uint32_t cell = CellOf(r, g, b);
    if (cells_.cellDistance[cell] != kCellUnknown) return cells_.cellIndex[cell];
    return SearchPalette(r, g, b);
  }

 private:
  const ExactTree* tree_;
  ColourCells cells_;
};

}  // namespace imx

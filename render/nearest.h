/// The palette entry nearest to a colour, from a cache of 64 x 64 x 64 colour cells.
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

/// What the palette functions share beyond the cells.
struct MappingState {
  /// The entries entered so far; colours[0..count-1] are what searches match against.
  PaletteRecord mirror;
  std::uint8_t entryLocks[kPaletteSize];
  bool renderAdaptive;  ///< kLockReserved entries are skipped
};

MappingState& Mapping();

/// Whether searches pass over entry i.
inline bool EntrySkipped(const MappingState& state, std::int32_t i) {
  return state.renderAdaptive && state.entryLocks[i] == kLockReserved;
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

/// Puts the shared state as it is at start; the cells and the table are to be freed or made anew.
void ResetMapping();
/// Releases the cells and the distance table.
void FreeMapping();

}  // namespace imx

#include "render/nearest.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "render/renderer_state.h"

namespace imx {
namespace {

// The distance table has a row for every pair of red and green steps, 32 each, by blue step. A row
// is kept mirrored, so that the distances along a run of blue cells on both sides of the new entry
// stand in a row.
constexpr std::int32_t kSteps = 32;
constexpr std::size_t kRowSize = 64;
constexpr std::size_t kRowCentre = 32;
constexpr std::int32_t kTableRows = kSteps * kSteps;
// At the largest radius the lookup goes one row past the table's end; that row repeats the table's
// last entry.
constexpr std::size_t kTableSize = (kTableRows + 1) * kRowSize;
constexpr std::int32_t kLargestRadius = 30;

/// Size of n steps of a 6-bit channel in 8 bits.
constexpr std::int32_t StepSize(std::int32_t n) {
  return n * 255 / 63;
}

/// The integer part of sqrt(x) - 0.5, and 0 for x = 0: the largest k with k * (k + 1) < x.
constexpr std::int32_t RoundedRoot(std::int32_t x) {
  std::int32_t low = 0;
  std::int32_t high = 512;
  while (high - low > 1) {
    const std::int32_t middle = (low + high) / 2;
    (middle * (middle + 1) < x ? low : high) = middle;
  }
  return low;
}

void FillDistanceTable(std::uint8_t* table) {
  for (std::int32_t row = 0; row < kTableRows; ++row) {
    std::uint8_t* centre = table + static_cast<std::size_t>(row) * kRowSize + kRowCentre;
    const std::int32_t red = StepSize(row / kSteps);
    const std::int32_t green = StepSize(row % kSteps);
    for (std::int32_t k = 0; k < kSteps; ++k) {
      const std::int32_t blue = StepSize(k);
      const std::int32_t distance = RoundedRoot(red * red + green * green + blue * blue);
      centre[k] = centre[-k] = static_cast<std::uint8_t>(std::min(distance, 255));
    }
  }
  std::memset(table + kTableRows * kRowSize, table[kTableRows * kRowSize - 1], kRowSize);
}

bool EnsureDistanceTable() {
  if (renderer.distanceTable) return true;
  if (!renderer.distanceTable.Ensure(kTableSize, "render5")) return false;
  FillDistanceTable(renderer.distanceTable.get());
  return true;
}

// Sixteen cells at once; the compilers of both targets turn this into SSE2.
constexpr std::int32_t kLanes = 16;
using CellVector = std::uint8_t __attribute__((vector_size(kLanes)));

CellVector LoadCells(const std::uint8_t* from) {
  CellVector value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

void StoreCells(std::uint8_t* to, CellVector value) {
  std::memcpy(to, &value, sizeof value);
}

/// Gives the 16 cells the entry where it is strictly nearer; an earlier entry keeps a tie.
void OfferEntry(std::uint8_t* distances, std::uint8_t* indices, const std::uint8_t* offered,
                CellVector entry) {
  const CellVector d = LoadCells(offered);
  const CellVector old = LoadCells(distances);
  const auto nearer = d < old;
  StoreCells(distances, nearer ? d : old);
  StoreCells(indices, nearer ? entry : LoadCells(indices));
}

/// Cells of one channel within the radius.
struct CellRange {
  CellRange(std::uint8_t channel, std::int32_t reach)
      : centre(channel / 4),
        first(std::max(centre - reach, 0)),
        last(std::min(centre + reach, 63)) {}
  std::int32_t centre;
  std::int32_t first;
  std::int32_t last;
};

bool IsMapped(const PaletteRecord& record, std::int32_t count) {
  const MappingState& mapping = renderer.mapping;
  if (!mapping.mapped || !renderer.cellDistance || !renderer.cellIndex) return false;
  const auto same = [n = static_cast<std::size_t>(count)](const std::uint8_t* a,
                                                          const std::uint8_t* b) {
    return std::memcmp(a, b, n) == 0;
  };
  const Palette& last = mapping.lastMapped.colours;
  return same(record.colours.red, last.red) && same(record.colours.green, last.green) &&
         same(record.colours.blue, last.blue) && same(mapping.entryLocks, mapping.lastLocks);
}

}  // namespace

ColourCells Cells() {
  return {renderer.cellDistance.get(), renderer.cellIndex.get()};
}

bool EnsureCells(const char* distanceLabel, const char* indexLabel) {
  if (renderer.cellDistance.Ensure(kCellCount, distanceLabel) &&
      renderer.cellIndex.Ensure(kCellCount, indexLabel)) {
    return true;
  }
  renderer.cellDistance.Free();
  renderer.cellIndex.Free();
  return false;
}

std::int32_t DistanceBase(std::int32_t entries) {
  return entries >= 60 ? 12 : 12 + (60 - entries) * 12 / 44;
}

bool BeginMapping(std::int32_t entries, const char* distanceLabel, const char* indexLabel) {
  MarkExactTreeStale();
  if (!EnsureDistanceTable() || !EnsureCells(distanceLabel, indexLabel)) return false;
  std::memset(renderer.cellDistance.get(), kCellUnknown, kCellCount);
  std::memset(renderer.cellIndex.get(), 0, kCellCount);
  renderer.mapping.radius = std::min(DistanceBase(entries) + 4, kLargestRadius);
  return true;
}

void AddPaletteEntry(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::int32_t index) {
  PaletteRecord& mirror = renderer.mapping.mirror;
  mirror.colours.red[index] = r;
  mirror.colours.green[index] = g;
  mirror.colours.blue[index] = b;
  mirror.count = index + 1;
  InsertExact(r, g, b, index);

  const std::int32_t radius = renderer.mapping.radius;
  const std::uint8_t* const table = renderer.distanceTable.get();
  const ColourCells cells = Cells();
  const CellRange reds(r, radius);
  const CellRange greens(g, radius);
  const CellRange blues(b, radius);
  const CellVector entry = CellVector{} + static_cast<std::uint8_t>(index);
  // The radius is 16 at least, so a run never has fewer than 16 cells and its last 16 may overlap
  // the ones before: offering an entry twice changes nothing.
  const std::int32_t lastStart = blues.last - kLanes + 1;
  for (std::int32_t red = reds.first; red <= reds.last; ++red) {
    for (std::int32_t green = greens.first; green <= greens.last; ++green) {
      // One step more in red and two in green than there are, on purpose: no distance is below 8.
      // 30 steps of green thereby fall into the next red step's first row.
      const std::int32_t row =
          (std::abs(red - reds.centre) + 1) * kSteps + std::abs(green - greens.centre) + 2;
      const std::uint8_t* offered =
          table + static_cast<std::size_t>(row) * kRowSize + kRowCentre - blues.centre;
      const std::int32_t cell = red * 64 * 64 + green * 64;
      std::uint8_t* distances = cells.cellDistance + cell;
      std::uint8_t* indices = cells.cellIndex + cell;
      for (std::int32_t blue = blues.first; blue < lastStart; blue += kLanes) {
        OfferEntry(distances + blue, indices + blue, offered + blue, entry);
      }
      OfferEntry(distances + lastStart, indices + lastStart, offered + lastStart, entry);
    }
  }
}

void SetLastMapped(const PaletteRecord& record) {
  MappingState& mapping = renderer.mapping;
  mapping.lastMapped = record;
  std::memcpy(mapping.lastLocks, mapping.entryLocks, sizeof mapping.lastLocks);
  mapping.mapped = true;
}

std::int32_t MapPalette(const PaletteRecord& record) {
  const std::int32_t count = std::clamp(record.count, 0, kPaletteSize);
  if (IsMapped(record, count)) return 0;
  if (!BeginMapping(count, "render6", "render7")) return -1;
  const Palette& colours = record.colours;
  for (std::int32_t i = 0; i < count; ++i) {
    if (renderer.mapping.entryLocks[i] == kLockReserved) continue;
    // The first call fills the exact tree, while the mirror palette is still the previous one: its
    // colours keep their old indices.
    ExactIndex(colours.red[i], colours.green[i], colours.blue[i]);
    AddPaletteEntry(colours.red[i], colours.green[i], colours.blue[i], i);
  }
  SetLastMapped(record);
  return 0;
}

std::uint8_t SearchPalette(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  const PaletteRecord& mirror = renderer.mapping.mirror;
  const Palette& colours = mirror.colours;
  const auto square = [](std::uint32_t a, std::uint8_t c) {
    const std::int32_t d = static_cast<std::int32_t>(a) - c;
    return d * d;
  };
  // Distances are compared as rounded roots: an entry is nearer when its square is at most `limit`,
  // the largest square of a smaller root.
  std::int32_t best = 0;
  std::int32_t limit = INT32_MAX;
  for (std::int32_t i = 0; i < mirror.count && limit > 0; ++i) {
    const std::int32_t squares =
        square(r, colours.red[i]) + square(g, colours.green[i]) + square(b, colours.blue[i]);
    if (squares > limit || EntrySkipped(i)) continue;
    const std::int32_t root = RoundedRoot(squares);
    best = i;
    limit = root * (root + 1);
  }
  if (const ColourCells cells = Cells(); cells.cellDistance && cells.cellIndex) {
    const std::uint32_t cell = CellOf(r, g, b);
    cells.cellDistance[cell] = kCellSearched;
    cells.cellIndex[cell] = static_cast<std::uint8_t>(best);
  }
  return static_cast<std::uint8_t>(best);
}

std::uint8_t NearestIndex(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  if (!renderer.cellDistance || !renderer.cellIndex) return SearchPalette(r, g, b);
  const std::uint32_t index =
      ExactLookups() ? NearestLookup<true>()(r, g, b) : NearestLookup<false>()(r, g, b);
  return static_cast<std::uint8_t>(index);
}

}  // namespace imx

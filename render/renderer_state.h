/// All that the renderer keeps between calls, in one place. render.h tells how the parts hang
/// together; what is computed here must not be kept anywhere else.
#pragma once

#include <cstdint>

#include "render/exact_tree.h"
#include "render/nearest.h"
#include "render/persistent.h"
#include "render/render.h"

namespace imx {

/// What lookups go by. The blocks in RendererState are this state's too: who empties one side
/// empties the other.
struct MappingState {
  /// The entries entered so far; colours[0..count-1] are what searches match against.
  PaletteRecord mirror;
  std::uint8_t entryLocks[kPaletteSize];
  bool renderAdaptive;  ///< kLockReserved entries are skipped
  std::int32_t radius;  ///< how far around an entry its cells reach
  /// Whether the cells stand for lastMapped under lastLocks.
  bool mapped;
  PaletteRecord lastMapped;
  std::uint8_t lastLocks[kPaletteSize];
};

struct ExactTreeState {
  bool stale = true;  ///< to be filled anew before it is asked
  bool lookupsOn = false;
  bool allocationFailed = false;  ///< it is not asked for again
  std::uint32_t rowsUsed = 0;     ///< of ExactTree::indices
};

struct RendererState {
  RenderSettings settings;  ///< the host's; a fresh start leaves them as they are
  MappingState mapping = {};
  ExactTreeState exact;

  // Made when first wanted, kept until the library shuts down.
  PersistentBuffer<PaletteRecord> renderPalette;
  PersistentBuffer<std::uint8_t> cellDistance;   ///< kCellCount
  PersistentBuffer<std::uint8_t> cellIndex;      ///< kCellCount
  PersistentBuffer<std::uint8_t> distanceTable;  ///< the same for every palette
  PersistentBuffer<ExactTree> exactTree;
};

/// The one of the process. A variable, since the inner loops read it.
inline constinit RendererState renderer;

/// Whether searches pass over entry i.
inline bool EntrySkipped(std::int32_t i) {
  return renderer.mapping.renderAdaptive && renderer.mapping.entryLocks[i] == kLockReserved;
}

}  // namespace imx

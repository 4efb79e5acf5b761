#include "render/exact_tree.h"

#include <cstring>

#include "render/renderer_state.h"

namespace imx {
namespace {

void Insert(ExactTree& tree, std::uint32_t r, std::uint32_t g, std::uint32_t b,
            std::int32_t index) {
  tree.reds[r] = static_cast<std::uint16_t>(r);
  std::uint16_t& row = tree.rows[r][g];
  if (row == ExactTree::kEmpty) {
    // A tree that still holds the previous palette can run out of rows; colours beyond are found
    // through their cells.
    std::uint32_t& used = renderer.exact.rowsUsed;
    if (used == ExactTree::kRows) return;
    row = static_cast<std::uint16_t>(used++);
  }
  std::uint16_t& slot = tree.indices[row][b];
  if (slot == ExactTree::kEmpty) slot = static_cast<std::uint16_t>(index);
}

bool Rebuild() {
  ExactTreeState& state = renderer.exact;
  if (state.allocationFailed) return false;
  if (!renderer.exactTree.Ensure(1, "render4")) {
    state.allocationFailed = true;
    return false;
  }
  ExactTree& tree = *renderer.exactTree.get();
  std::memset(&tree, 0xFF, sizeof tree);
  state.rowsUsed = 0;
  const PaletteRecord& mirror = renderer.mapping.mirror;
  const Palette& colours = mirror.colours;
  for (std::int32_t i = 0; i < mirror.count; ++i) {
    if (EntrySkipped(i)) continue;
    Insert(tree, colours.red[i], colours.green[i], colours.blue[i], i);
  }
  state.lookupsOn = true;
  state.stale = false;
  return true;
}

}  // namespace

void MarkExactTreeStale() {
  renderer.exact.stale = true;
  renderer.exact.lookupsOn = false;
}

const ExactTree* ExactLookups() {
  return renderer.exact.lookupsOn ? renderer.exactTree.get() : nullptr;
}

std::int32_t ExactIndex(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  if ((renderer.exact.stale || !renderer.exactTree) && !Rebuild()) return kExactUnavailable;
  return renderer.exactTree.get()->Find(r, g, b);
}

void InsertExact(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::int32_t index) {
  if (!renderer.exact.lookupsOn || !renderer.exactTree) return;
  Insert(*renderer.exactTree.get(), r, g, b, index);
}

}  // namespace imx

#include "render/exact_tree.h"

#include <cstring>

#include "render/nearest.h"
#include "render/persistent.h"

namespace imx {
namespace {

PersistentBuffer<ExactTree> buffer;
bool stale = true;
bool lookupsOn = false;
bool allocationFailed = false;
std::uint32_t rowsUsed = 0;

void Insert(ExactTree& tree, std::uint32_t r, std::uint32_t g, std::uint32_t b,
            std::int32_t index) {
  tree.reds[r] = static_cast<std::uint16_t>(r);
  std::uint16_t& row = tree.rows[r][g];
  if (row == ExactTree::kEmpty) {
    // A tree that still holds the previous palette can run out of rows; colours beyond are found
    // through their cells.
    if (rowsUsed == ExactTree::kRows) return;
    row = static_cast<std::uint16_t>(rowsUsed++);
  }
  std::uint16_t& slot = tree.indices[row][b];
  if (slot == ExactTree::kEmpty) slot = static_cast<std::uint16_t>(index);
}

bool Rebuild() {
  if (allocationFailed) return false;
  if (!buffer.Ensure(1, "render4")) {
    allocationFailed = true;
    return false;
  }
  ExactTree& tree = *buffer.get();
  std::memset(&tree, 0xFF, sizeof tree);
  rowsUsed = 0;
  const MappingState& state = Mapping();
  const Palette& colours = state.mirror.colours;
  for (std::int32_t i = 0; i < state.mirror.count; ++i) {
    if (EntrySkipped(state, i)) continue;
    Insert(tree, colours.red[i], colours.green[i], colours.blue[i], i);
  }
  lookupsOn = true;
  stale = false;
  return true;
}

}  // namespace

void MarkExactTreeStale() {
  stale = true;
  lookupsOn = false;
}

const ExactTree* ExactLookups() {
  return lookupsOn ? buffer.get() : nullptr;
}

std::int32_t ExactIndex(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  if ((stale || !buffer) && !Rebuild()) return kExactUnavailable;
  return buffer.get()->Find(r, g, b);
}

void InsertExact(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::int32_t index) {
  if (lookupsOn && buffer) Insert(*buffer.get(), r, g, b, index);
}

void ResetExactTree() {
  MarkExactTreeStale();
  allocationFailed = false;
}

void FreeExactTree() {
  buffer.Free();
}

}  // namespace imx

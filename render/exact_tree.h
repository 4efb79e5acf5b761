/// Palette entries by their exact colour: a three-level table from red over green to blue.
///
/// 16 million slots would be too many to clear for every palette; a palette has at most 256 pairs
/// of red and green, so the third level needs 256 rows. A lookup is three loads without a loop.
///
/// The tree is filled late: marking it stale costs nothing, and the first ExactIndex after that
/// fills it from the mirror palette as it stands. From then on it follows every entry that is
/// added. While it is stale lookups pass it over: a palette that was full before its growth came to
/// exact colours is looked up by cells alone.
#pragma once

#include <cstdint>

#include "render/render.h"

namespace imx {

inline constexpr std::int32_t kExactAbsent = -1;
/// ExactIndex when the tree cannot be had. Not kExactAbsent: nothing may conclude from it that a
/// colour has no entry.
inline constexpr std::int32_t kExactUnavailable = 65534;

/// Level 1 by red, level 2 by red and green, level 3 by row and blue. The rows of level 3 are
/// handed out in order, one for each pair of red and green.
struct ExactTree {
  static constexpr std::uint16_t kEmpty = 65535;
  static constexpr std::uint32_t kRows = 256;

  std::uint16_t reds[256];
  std::uint16_t rows[256][256];
  std::uint16_t indices[kRows][256];

  /// Index of the colour's entry or kExactAbsent.
  std::int32_t Find(std::uint32_t r, std::uint32_t g, std::uint32_t b) const {
    if (reds[r] == kEmpty) return kExactAbsent;
    const std::uint16_t row = rows[r][g];
    if (row == kEmpty) return kExactAbsent;
    const std::uint16_t index = indices[row][b];
    return index == kEmpty ? kExactAbsent : index;
  }
};

/// Switches exact lookups off; the next ExactIndex fills the tree anew.
void MarkExactTreeStale();

/// The tree while exact lookups are on, else null.
const ExactTree* ExactLookups();

/// Index of the first entry with this colour, kExactAbsent, or kExactUnavailable. A stale tree is
/// first filled from the mirror palette as it is now, which also switches exact lookups on.
std::int32_t ExactIndex(std::uint32_t r, std::uint32_t g, std::uint32_t b);

/// Enters the colour while exact lookups are on, unless it is there already.
void InsertExact(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::int32_t index);

}  // namespace imx

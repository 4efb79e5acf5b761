/// The renderer's rules written down once more, slowly and without tricks, as the truth that the
/// fast renderer is held against.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "imagelib/image.h"

namespace imx::test {

/// An array that plain numbers count.
template <typename T, std::size_t size>
struct List : std::array<T, size> {
  T& operator[](int i) { return this->data()[i]; }
  const T& operator[](int i) const { return this->data()[i]; }
};

/// Red, green, blue.
using Colour = List<int, 3>;
using Colours = List<Colour, 256>;
using Locks = List<std::uint8_t, 256>;

Colours ColoursOf(const Palette& palette);

struct RenderCall {
  int code;
  int mode;
  bool ordered;
  bool keep;
  int strength;
};

/// All that decides about the next render.
struct ReferenceRenderer {
  // Of the host.
  int renderBits = 8;
  bool treeAvailable = true;
  Colours renderPalette = {};
  int renderPaletteCount = 256;
  Locks locks = {};

  // Left by earlier renders.
  bool adaptive = false;
  Colours mirror = {};
  int mirrorCount = 0;
  bool mapped = false;
  Colours lastMapped = {};
  Locks lastLocks = {};
  int radius = 0;
  std::vector<int> cellDistance;
  std::vector<int> cellIndex;
  bool rebuild = true;
  bool exactOn = false;
  std::map<Colour, int> tree;
  std::set<std::pair<int, int>> treeRows;
};

/// The bytes that RenderImage owes the caller, without what its block holds behind them.
std::vector<std::uint8_t> RenderByReference(ReferenceRenderer& renderer, const ImageRecord& image,
                                            Colours& palette, RenderCall call);

}  // namespace imx::test
